#include "host/plugins/link/outbox.h"

#include <utility>

namespace host::link {

Outbox::Outbox(const Limits& limits, std::function<void()> on_excess)
    : limits_(limits), on_excess_(std::move(on_excess)) {}

bool Outbox::Push(std::string message, Kind kind) {
  {
    const Lock lock(mutex_);
    if (!taking_) return false;
    const size_t bytes = uncredited_bytes_ + message.size();
    const bool fits =
        kind == Kind::kCredited ||
        bytes <= (kind == Kind::kAnswer ? limits_.answer_bytes : limits_.optional_bytes);
    if (fits) {
      if (kind != Kind::kCredited) uncredited_bytes_ = bytes;
      queue_.push_back({std::move(message), kind});
      changed_.NotifyAll();
      return true;
    }
    if (kind == Kind::kOptional) return false;
    taking_ = false;
  }
  on_excess_();
  return false;
}

bool Outbox::Pop(std::string& message) {
  Lock lock(mutex_);
  changed_.Wait(lock, [this] { return !queue_.empty() || !taking_; });
  if (queue_.empty()) {
    drained_ = true;
    changed_.NotifyAll();
    return false;
  }
  message = std::move(queue_.front().message);
  if (queue_.front().kind != Kind::kCredited) uncredited_bytes_ -= message.size();
  queue_.pop_front();
  return true;
}

void Outbox::Finish() {
  const Lock lock(mutex_);
  taking_ = false;
  changed_.NotifyAll();
}

void Outbox::WaitUntilDrained(Clock::time_point deadline) {
  Lock lock(mutex_);
  changed_.WaitUntil(lock, deadline, [this] { return drained_; });
}

void Outbox::Discard() {
  const Lock lock(mutex_);
  taking_ = false;
  queue_.clear();
  uncredited_bytes_ = 0;
  changed_.NotifyAll();
}

}  // namespace host::link
