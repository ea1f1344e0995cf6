#include "host/framework/worker_pool.h"

#include <algorithm>

#include "module/frame/scope_guard.h"

namespace host {

uint32_t WorkerPool::Open(uint32_t most_threads, PTP_TIMER_CALLBACK on_timer, void* context) {
  orn::ScopeGuard undo([this] { Close(); });
  pool_ = CreateThreadpool(/*reserved=*/nullptr);
  if (pool_ == nullptr) return GetLastError();
  SetThreadpoolThreadMaximum(pool_, most_threads);
  // Kept when there is nothing to do, so that a call out of the blue need not wait for a thread.
  constexpr uint32_t kThreadsKept = 2;
  if (!SetThreadpoolThreadMinimum(pool_, std::min(kThreadsKept, most_threads))) {
    return GetLastError();
  }
  callbacks_ = CreateThreadpoolCleanupGroup();
  if (callbacks_ == nullptr) return GetLastError();
  InitializeThreadpoolEnvironment(&environment_);
  SetThreadpoolCallbackPool(&environment_, pool_);
  SetThreadpoolCallbackCleanupGroup(&environment_, callbacks_, /*on_cancel=*/nullptr);
  SetThreadpoolCallbackRunsLong(&environment_);
  timer_ = CreateThreadpoolTimer(on_timer, context, &environment_);
  if (timer_ == nullptr) return GetLastError();
  undo.Dismiss();
  return ERROR_SUCCESS;
}

void WorkerPool::Close() {
  if (timer_ != nullptr) SetThreadpoolTimer(timer_, /*due=*/nullptr, 0, 0);
  if (callbacks_ != nullptr) {
    // The timer belongs to the group and goes with it.
    CloseThreadpoolCleanupGroupMembers(callbacks_, /*cancelPending=*/FALSE, /*context=*/nullptr);
    CloseThreadpoolCleanupGroup(callbacks_);
    DestroyThreadpoolEnvironment(&environment_);
  }
  if (pool_ != nullptr) CloseThreadpool(pool_);
  timer_ = nullptr;
  callbacks_ = nullptr;
  pool_ = nullptr;
}

uint32_t WorkerPool::Submit(PTP_SIMPLE_CALLBACK callback, void* context) {
  return TrySubmitThreadpoolCallback(callback, context, &environment_) ? ERROR_SUCCESS
                                                                       : GetLastError();
}

void WorkerPool::SetTimer(std::chrono::milliseconds delay) {
  constexpr int64_t kTicksPerMillisecond = 10'000;
  ULARGE_INTEGER due;
  // Below zero it counts from now; zero is at once.
  due.QuadPart = static_cast<ULONGLONG>(-delay.count() * kTicksPerMillisecond);
  FILETIME time = {due.LowPart, due.HighPart};
  SetThreadpoolTimer(timer_, &time, /*period=*/0, /*window=*/0);
}

}  // namespace host
