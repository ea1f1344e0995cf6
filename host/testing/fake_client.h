#pragma once

#include <cstdint>
#include <utility>

#include "module/frame/plugin_interfaces.h"
#include "module/rpc/client_handler.h"

namespace host::testing {

// The connection of a client of remote calls, told from outside.
class FakeClient : public IOrnBaseInterface, public messaging::rpc::client_handler {
 public:
  virtual ~FakeClient() = default;
  void* GetInterface(const InterfaceId& id) override {
    return id == client_handler::kInterfaceId ? static_cast<client_handler*>(this) : nullptr;
  }
  bool register_notifications(messaging::rpc::notifications* handler) override {
    return (handler_ = handler) != nullptr;
  }
  bool unregister_notifications(messaging::rpc::notifications*) override {
    return std::exchange(handler_, nullptr) != nullptr;
  }
  bool is_connected(uint32_t* pid) override {
    if (pid != nullptr) *pid = static_cast<uint32_t>(pid_);
    return pid_ != 0;
  }
  bool wait_for_connection(uint32_t) override { return pid_ != 0; }
  std::pair<int32_t, uint32_t> get_timeouts() override { return {}; }

  void Come(int pid) {
    pid_ = pid;
    if (handler_ != nullptr) handler_->on_server_connected(pid);
  }
  void Go() { handler_->on_server_disconnected(std::exchange(pid_, 0)); }

 private:
  messaging::rpc::notifications* handler_ = nullptr;
  int pid_ = 0;
};

}  // namespace host::testing
