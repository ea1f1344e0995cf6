#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace messaging::rpc {

// A reader-writer lock for readers that may stay for long, as a call that is served does, for
// std::shared_lock and std::unique_lock. Neither side keeps the other out for good: a writer who
// waits holds new readers back, so that those who read can come to their end, but for one turn
// only; then new ones pass for a turn, and so on. So next to a reader who stays, others wait no
// longer than a turn. Not re-entrant.
class rw_lock {
 public:
  rw_lock() = default;
  rw_lock(const rw_lock&) = delete;
  rw_lock& operator=(const rw_lock&) = delete;

  void lock();
  void unlock();
  void lock_shared();
  void unlock_shared();

 private:
  static constexpr std::chrono::milliseconds kTurn{20};

  bool is_free_locked() const { return readers_ == 0 && !writing_; }

  std::mutex mutex_;
  std::condition_variable free_;  // For writers.
  std::condition_variable open_;  // For readers.
  // Guarded by mutex_.
  uint32_t readers_ = 0;
  uint32_t waiting_writers_ = 0;
  bool writing_ = false;
  bool held_back_ = false;  // New readers are.
};

}  // namespace messaging::rpc
