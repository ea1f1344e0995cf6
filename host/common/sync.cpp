#include "host/common/sync.h"

#include <algorithm>

#include "module/frame/windows.h"

namespace host {

// The members are void pointers so that windows.h stays out of the header.
static_assert(sizeof(SRWLOCK) == sizeof(void*) && sizeof(CONDITION_VARIABLE) == sizeof(void*));

namespace {

SRWLOCK* AsLock(void** state) {
  return reinterpret_cast<SRWLOCK*>(state);
}
CONDITION_VARIABLE* AsCondition(void** state) {
  return reinterpret_cast<CONDITION_VARIABLE*>(state);
}

constexpr std::chrono::hours kLongest{24};

}  // namespace

void Mutex::lock() noexcept {
  AcquireSRWLockExclusive(AsLock(&state_));
}

void Mutex::unlock() noexcept {
  ReleaseSRWLockExclusive(AsLock(&state_));
}

void Condition::NotifyAll() noexcept {
  WakeAllConditionVariable(AsCondition(&state_));
}

bool Condition::WaitOnce(Lock& lock, Clock::time_point deadline) noexcept {
  DWORD milliseconds = INFINITE;
  if (deadline != Clock::time_point::max()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    milliseconds = static_cast<DWORD>(std::min<std::chrono::milliseconds>(left, kLongest).count());
  }
  SleepConditionVariableSRW(AsCondition(&state_), AsLock(&lock.mutex()->state_), milliseconds,
                            /*Flags=*/0);
  return true;
}

}  // namespace host
