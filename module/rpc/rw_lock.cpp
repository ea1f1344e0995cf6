#include "module/rpc/rw_lock.h"

namespace messaging::rpc {

void rw_lock::lock() {
  std::unique_lock lock(mutex_);
  const auto is_free = [this] { return is_free_locked(); };
  ++waiting_writers_;
  while (!is_free_locked()) {
    held_back_ = true;
    if (free_.wait_for(lock, kTurn, is_free)) break;
    held_back_ = false;
    open_.notify_all();
    free_.wait_for(lock, kTurn, is_free);
  }
  --waiting_writers_;
  writing_ = true;
}

void rw_lock::unlock() {
  const std::lock_guard lock(mutex_);
  writing_ = false;
  held_back_ = false;
  open_.notify_all();
  if (waiting_writers_ > 0) free_.notify_one();
}

void rw_lock::lock_shared() {
  std::unique_lock lock(mutex_);
  open_.wait(lock, [this] { return !writing_ && !held_back_; });
  ++readers_;
}

void rw_lock::unlock_shared() {
  const std::lock_guard lock(mutex_);
  if (--readers_ == 0 && waiting_writers_ > 0) free_.notify_one();
}

}  // namespace messaging::rpc
