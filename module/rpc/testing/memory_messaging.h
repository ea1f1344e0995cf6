#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "module/platform/messaging.h"
#include "module/rpc/testing/memory_message.h"
#include "module/rpc/testing/task_thread.h"

// The messaging library over memory: several processes in one, each with a process id of its own.
//
//   memory_bus bus;
//   memory_process& agent = bus.start(100);
//   memory_process& worker = bus.start(200);
//   channel_gateway* gateway = agent.create({.channel = "TsrComm.Test"});
//
// Requests reach processes that have announced a server on the channel, events the process that
// they name, and only from a process with a server; all other messages reach everybody else on the
// channel.
namespace messaging::testing {

class memory_bus;
class memory_gateway;

// One process, with a thread for messages and another for observers. Any thread may call.
class memory_process final : public channel_gateway_factory {
 public:
  memory_process(memory_bus& bus, int32_t pid) : bus_(bus), pid_(pid) {}
  memory_process(const memory_process&) = delete;
  memory_process& operator=(const memory_process&) = delete;

  channel_gateway* create(const gateway_settings& settings) override;
  void destroy(channel_gateway* gateway) override;

  int32_t pid() const { return pid_; }

  // What arrives meanwhile waits: messages, or the calls of observers.
  void block_messages(bool blocked) { messages_.pause(blocked); }
  void block_announcements(bool blocked) { announcements_.pause(blocked); }
  // Replies that are given here get lost while their askers go on waiting.
  void drop_replies(bool dropped) { drops_replies_ = dropped; }
  bool drops_replies() const { return drops_replies_; }

  // Cut off, a process and the others see each other's entries go, and what they have asked each
  // other ends. Connected again, they see them come.
  void disconnect();
  void reconnect();
  // As a process that was ended: cut off for ever, its entries gone.
  void kill();

 private:
  friend class memory_bus;
  friend class memory_gateway;

  memory_bus& bus_;
  const int32_t pid_;
  std::atomic<bool> drops_replies_{false};
  // Guarded by the bus's mutex.
  bool is_connected_ = true;
  bool is_dead_ = false;

  task_thread messages_;
  task_thread announcements_;
};

// Outlives all that uses its processes, channels and messages.
class memory_bus {
 public:
  memory_bus();
  memory_bus(const memory_bus&) = delete;
  memory_bus& operator=(const memory_bus&) = delete;
  ~memory_bus();

  // The id may be that of a process that was killed.
  memory_process& start(int32_t pid);

 private:
  friend class memory_process;
  friend class memory_gateway;

  struct announced {
    memory_process* process;
    memory_gateway* gateway;
    channel_subscriber entry;
  };
  enum class change { kAdded, kRemoved };

  // With mutex_ held, all of these.
  static bool can_see(const memory_process& one, const memory_process& other);
  void tell(memory_gateway& gateway, change what, const channel_subscriber& entry);
  void tell_all(const announced& changed, change what);
  // Shows the process and all others to each other, or hides them.
  void set_connected(memory_process& process, bool connected);
  bool has_server(const memory_process& process, const std::string& channel) const;
  std::vector<memory_gateway*> route(const memory_gateway& from, const message& sent) const;

  std::mutex mutex_;
  // Guarded by mutex_. Gateways stay to the end, since their channels stay callable.
  std::vector<std::unique_ptr<memory_process>> processes_;
  std::vector<std::unique_ptr<memory_gateway>> gateways_;
  std::vector<announced> entries_;
  std::vector<std::weak_ptr<pending_request>> pending_;
};

}  // namespace messaging::testing
