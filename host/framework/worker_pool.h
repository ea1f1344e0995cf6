#pragma once

#include <chrono>
#include <cstdint>

#include "module/frame/windows.h"

namespace host {

// Threads of Windows' own thread pool, and one timer on them. A thread is started whenever all of
// them are at work, up to the number given: callbacks may block.
class WorkerPool {
 public:
  WorkerPool() = default;
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;
  ~WorkerPool() { Close(); }

  // Returns 0 or why there can be no pool. `on_timer` is called with `context`, possibly by several
  // threads at once.
  uint32_t Open(uint32_t most_threads, PTP_TIMER_CALLBACK on_timer, void* context);
  // Returns when every callback has returned, its last instruction included. Nothing is submitted
  // any more by then. Not from a callback.
  void Close();

  // Any thread from Open to Close. Returns 0; or a failure, and there will be no call.
  uint32_t Submit(PTP_SIMPLE_CALLBACK callback, void* context);
  // Any thread from Open to Close. The timer fires once, `delay` from now; an earlier setting is
  // forgotten.
  void SetTimer(std::chrono::milliseconds delay);

 private:
  TP_CALLBACK_ENVIRON environment_ = {};
  PTP_POOL pool_ = nullptr;
  PTP_CLEANUP_GROUP callbacks_ = nullptr;
  PTP_TIMER timer_ = nullptr;
};

}  // namespace host
