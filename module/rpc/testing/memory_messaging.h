#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/messaging/message.h"
#include "host/plugins/common/task_thread.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/messaging.h"

// The messaging library over memory: several processes in one, each with a process id of its own.
//
//   memory_bus bus;
//   memory_process& agent = bus.start(100);
//   channel_gateway* gateway = agent.create({.channel = "TsrComm.Test"});
//
// Requests reach processes that have announced a server on the channel, events the process that
// they name, and only from a process with a server; all other messages reach nobody.
namespace messaging::testing {

class memory_bus;
class memory_gateway;

// One process, with a thread for messages and another for observers. Any thread may call.
class memory_process final : public IOrnBaseInterface, public channel_gateway_factory {
 public:
  memory_process(memory_bus& bus, int32_t pid);

  void* GetInterface(const InterfaceId& id) override {
    return id == channel_gateway_factory::kInterfaceId ? static_cast<channel_gateway_factory*>(this)
                                                       : nullptr;
  }
  channel_gateway* create(const gateway_settings& settings) override;
  void destroy(channel_gateway* gateway) override;

 private:
  friend class memory_bus;
  friend class memory_gateway;

  memory_bus& bus_;
  const int32_t pid_;
  host::TaskThread messages_;
  host::TaskThread announcements_;
};

// Outlives all that uses its processes, channels and messages.
class memory_bus {
 public:
  memory_bus();
  memory_bus(const memory_bus&) = delete;
  memory_bus& operator=(const memory_bus&) = delete;
  ~memory_bus();

  memory_process& start(int32_t pid);

 private:
  friend class memory_process;
  friend class memory_gateway;

  struct announced {
    memory_gateway* gateway;
    channel_subscriber entry;
  };

  // With mutex_ held, all of these.
  void tell_all(const channel_subscriber& entry, bool is_added);
  bool has_server(const memory_process& process, const std::string& channel) const;
  bool reaches(const memory_gateway& from, const memory_gateway& to, const message& sent) const;
  void deliver(const memory_gateway& from, const message& sent,
               const std::shared_ptr<host::channels::ReplyTarget>& target) const;

  std::mutex mutex_;
  // Guarded by mutex_. Gateways stay to the end, since their channels stay callable.
  std::vector<std::unique_ptr<memory_process>> processes_;
  std::vector<std::unique_ptr<memory_gateway>> gateways_;
  std::vector<announced> entries_;
};

}  // namespace messaging::testing
