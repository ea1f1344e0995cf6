#include "module/frame/log_reference.h"

#include <mutex>

#include "module/frame/log.h"
#include "module/frame/log_dll.h"
#include "module/frame/spin_flag.h"

namespace logging {

// Static objects log and take references, so all of this is there before them and after them.
constinit std::atomic<uint32_t> use_counts[2] = {};

namespace {

constinit orn::SpinFlag state_flag;
constinit CLogDLL* shared_log = nullptr;  // Guarded by state_flag.

// Binding and unbinding the library are no operations of the caller's: its last error stays.
class LastErrorKeeper {
 public:
  LastErrorKeeper() noexcept : error_(GetLastError()) {}
  ~LastErrorKeeper() { SetLastError(error_); }
  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

 private:
  DWORD error_;
};

}  // namespace

void LogReference::Acquire() {
  const LastErrorKeeper keeper;
  std::lock_guard lock(state_flag);
  if (!IsOn()) {
    delete shared_log;
    shared_log = nullptr;
    shared_log = new CLogDLL;
  }
  ++use_counts[0];
  log_ = shared_log;
  ++count_;
}

void LogReference::Release() {
  const LastErrorKeeper keeper;
  log_ = nullptr;
  for (; count_ > 0; --count_) {
    std::lock_guard lock(state_flag);
    if (use_counts[0] > 0) {
      --use_counts[0];
    } else if (use_counts[1] > 0) {
      use_counts[1] = 0;
    }
    if (shared_log != nullptr && !IsOn()) {
      delete shared_log;
      shared_log = nullptr;
    }
  }
}

}  // namespace logging
