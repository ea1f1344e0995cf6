#pragma once

#include <cstdint>
#include <mutex>

#include "module/frame/turnstile.h"

namespace orn {

// A mutex that is handed on in the order in which it was asked for: a thread that takes it in a
// loop cannot starve the others. Not re-entrant. For std::lock_guard and its like.
class FairMutex {
 public:
  FairMutex() = default;
  FairMutex(const FairMutex&) = delete;
  FairMutex& operator=(const FairMutex&) = delete;

  void lock() {
    std::unique_lock lock(mutex_);
    if (!held_) {
      held_ = true;
      return;
    }
    ++waiting_;
    queue_.Wait(lock);  // Who unlocked has left it held, for this thread.
  }

  bool try_lock() {
    std::lock_guard lock(mutex_);
    if (held_) return false;
    held_ = true;
    return true;
  }

  void unlock() {
    std::lock_guard lock(mutex_);
    if (waiting_ == 0) {
      held_ = false;
    } else {
      --waiting_;
      queue_.Admit(1);
    }
  }

 private:
  std::mutex mutex_;
  // Guarded by mutex_.
  Turnstile queue_;
  uint32_t waiting_ = 0;
  bool held_ = false;
};

}  // namespace orn
