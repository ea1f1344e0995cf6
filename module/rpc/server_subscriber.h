#pragma once

#include <cstdint>
#include <string>

#include "module/platform/messaging.h"
#include "module/rpc/parameter_list.h"

namespace messaging::rpc {

// A client's subscription, as the server has it. A concrete one is an observer of the target's, and
// carries what it hears to its client:
//
//   class StateSubscriber : public server_subscriber, public IRemoteAccess::IStateEvent {
//     uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override {
//       ParameterList event;
//       event.AddBytes(kState, ToJson(state));
//       send_event(kStateChanged, event);
//       return 0;
//     }
//   };
//
// It is made by server_base, which fills it in before anybody else sees it, and destroyed when the
// target calls it no more.
class server_subscriber {
 public:
  server_subscriber(const server_subscriber&) = delete;
  server_subscriber& operator=(const server_subscriber&) = delete;
  virtual ~server_subscriber() = default;

 protected:
  server_subscriber() = default;

  // Posts the event to the client, without waiting for it; whether it gets there is not told. Any
  // thread.
  void send_event(int32_t method_id, const ParameterList& event) const;

 private:
  friend class server_base;

  // Fixed once filled in; none of the pointers is owned.
  channel_factory* message_factory = nullptr;
  messaging::channel* channel_object = nullptr;
  channel_subscriber entry;  // With an empty id where that was made up.
  int32_t interface_id = 0;
  std::string id;
  const std::string* client_id = nullptr;  // The owning server's.
};

}  // namespace messaging::rpc
