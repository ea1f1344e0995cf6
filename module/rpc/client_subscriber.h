#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "module/rpc/parameter_list.h"

namespace messaging::rpc {

// One subscription of a client: an event interface's handler, and what it is announced as.
class client_subscriber_base {
 public:
  client_subscriber_base() = default;
  client_subscriber_base(const client_subscriber_base&) = delete;
  client_subscriber_base& operator=(const client_subscriber_base&) = delete;

  // Hands one event on to the handler. The result and `output` go back where the server waits for
  // them. One call at a time, on a thread of the event queue, but where the server has asked for
  // events without order.
  virtual int32_t handle(int32_t method_id, const ParameterList& input, ParameterList& output) = 0;
  virtual ~client_subscriber_base() = default;

 private:
  friend class client_base;
  template <class E>
  friend class client_subscriber;

  // Fixed once filled in by the client.
  void* handler = nullptr;  // An `E*`, not owned.
  uint32_t pid = 0;
  std::string channel;
  std::string id;
  std::map<std::string, std::string> properties;
  int32_t interface_id = 0;
};

// Base of those for the event interface `E`.
template <class E>
class client_subscriber : public client_subscriber_base {
 protected:
  E* target() const { return static_cast<E*>(handler); }
};

// How the event interface `E` travels, said beside its subscriber's class:
//
//   template <>
//   struct event_interface<IStateEvent> {
//     static constexpr int32_t kNumber = 1;
//     using subscriber = StateEventClientChannel;  // a client_subscriber<IStateEvent>
//   };
template <class E>
struct event_interface;

}  // namespace messaging::rpc
