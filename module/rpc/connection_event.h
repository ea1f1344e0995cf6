#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace messaging::rpc {

// A manual-reset event within this process, clear at first. Any thread.
class connection_event {
 public:
  void set() { change(true); }
  void reset() { change(false); }

  // False where it was not set within `timeout` milliseconds.
  bool wait(uint32_t timeout) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(timeout), [&] { return is_set_; });
  }

 private:
  void change(bool set) {
    const std::lock_guard lock(mutex_);
    is_set_ = set;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool is_set_ = false;  // Guarded by mutex_.
};

}  // namespace messaging::rpc
