#pragma once

#include <atomic>
#include <memory>

#include "host/common/sync.h"
#include "host/plugins/integration/agent_table.h"
#include "host/plugins/integration/messages.h"
#include "host/plugins/link/outbox.h"
#include "module/frame/thread_pool.h"

namespace host::integration {

// The policy method calls that the server makes: 8 at a time, the others wait. Each is answered
// once, by its agent's own status or, where that does not come, by
//
//   8     the output is longer than a message may be
//   21    there is no agent, or the intake is closed
//   170   too many calls wait
//   1359  the agent returned without a status, or threw
class PolicyCalls {
 public:
  explicit PolicyCalls(AgentTable& agents) : agents_(agents) {}
  PolicyCalls(const PolicyCalls&) = delete;
  PolicyCalls& operator=(const PolicyCalls&) = delete;
  ~PolicyCalls() { Close(); }

  // Waits for nothing. One thread.
  void Post(PolicyMessage call, std::shared_ptr<link::Outbox> outbox);
  // Those that have not begun never will, nor are they answered.
  void DropQueued() { pool_.DropQueued(); }
  // Lets no call in any more, drops what waits and returns when the running ones have ended.
  // Closing twice has no effect.
  void Close();

 private:
  void Run(PolicyMessage& call, link::Outbox& outbox);

  AgentTable& agents_;
  std::atomic<size_t> waiting_ = 0;
  ThreadPool pool_{8};

  Mutex mutex_;
  bool closed_ = false;
};

}  // namespace host::integration
