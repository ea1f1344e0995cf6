#pragma once

#include <cstdint>
#include <utility>

#include "module/frame/interface_id.h"

namespace messaging::rpc {

// Hears of the server's comings and goings, in order. Called on a thread of the messaging library;
// it must not register or unregister from inside a call.
struct notifications {
  // `pid` is the process id of the server.
  virtual void on_server_connected(int pid) = 0;
  virtual void on_server_disconnected(int pid) = 0;

 protected:
  ~notifications() = default;
};

// The connection of a client, for those who want to know more of it than what calls return. Any
// thread.
struct client_handler {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{2BA20000-AFC0-4AAB-D1B3-62CE40C987B2}");
  static constexpr const wchar_t* kTypeName = L"messaging::rpc::client_handler";

  // False for null. `handler` is borrowed until unregister_notifications has returned.
  virtual bool register_notifications(notifications* handler) = 0;
  // False where it is not registered.
  virtual bool unregister_notifications(notifications* handler) = 0;
  // Whether a server is there. `*server_pid`, which may be missing, is the last one's process id,
  // also when it has gone.
  virtual bool is_connected(uint32_t* server_pid) = 0;
  // True when a server is there, or comes within `timeout` milliseconds.
  virtual bool wait_for_connection(uint32_t timeout) = 0;
  // How long the first call waits for a server, and how long a call for its answer where it does
  // not say. Milliseconds.
  virtual std::pair<int32_t, uint32_t> get_timeouts() = 0;

 protected:
  ~client_handler() = default;
};

}  // namespace messaging::rpc
