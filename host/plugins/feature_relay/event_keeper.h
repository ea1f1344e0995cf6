#pragma once

#include <algorithm>
#include <chrono>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "module/frame/error_codes.h"

namespace host {

// Passes events on to observers, and keeps them while there is none: the process that reports them
// may be on its way back. It may also have gone with an event in its hands, so those of its last
// moments are told again to who comes next. An event is told at least once and in order, and twice
// only around such a loss.
//
//   EventKeeper<IFileOperationEvent> events;
//   events.Tell([metadata](IFileOperationEvent& observer) { observer.OnUploadFinished(metadata);
//   });
//
// Any thread. Observers are called with the mutex held, and must not call back.
template <class Observer>
class EventKeeper {
 public:
  using Clock = std::chrono::steady_clock;
  using Delivery = std::function<void(Observer&)>;

  struct Limits {
    size_t kept = 1024;  // the oldest go first
    // How young an event is that is told again: longer than a process on a busy machine takes to
    // keep it.
    std::chrono::milliseconds again{15000};
  };

  explicit EventKeeper(const Limits& limits = {}) : limits_(limits) {}

  // Tells the observer what was kept, before this returns. 87 for null, 1627 for one that is there.
  uint32_t Register(Observer* observer) {
    if (observer == nullptr) return error::kBadParameter;
    const std::lock_guard lock(mutex_);
    if (std::find(observers_.begin(), observers_.end(), observer) != observers_.end()) {
      return error::kFailed;
    }
    observers_.push_back(observer);
    for (Delivery& deliver : std::exchange(kept_, {}))
      TellLocked(std::move(deliver));
    return error::kSuccess;
  }

  // 87 for null, 1627 for one that is not there. The observer is called no more.
  uint32_t Unregister(Observer* observer) {
    if (observer == nullptr) return error::kBadParameter;
    const std::lock_guard lock(mutex_);
    if (std::erase(observers_, observer) == 0) return error::kFailed;
    if (!observers_.empty()) return error::kSuccess;
    const auto oldest = Clock::now() - limits_.again;
    for (auto& [time, deliver] : std::exchange(told_, {})) {
      if (time >= oldest) KeepLocked(std::move(deliver));
    }
    return error::kSuccess;
  }

  void Tell(Delivery deliver) {
    const std::lock_guard lock(mutex_);
    if (observers_.empty()) {
      KeepLocked(std::move(deliver));
    } else {
      TellLocked(std::move(deliver));
    }
  }

 private:
  void KeepLocked(Delivery deliver) {
    if (kept_.size() == limits_.kept) kept_.pop_front();
    kept_.push_back(std::move(deliver));
  }

  void TellLocked(Delivery deliver) {
    for (Observer* const observer : observers_)
      deliver(*observer);
    const auto now = Clock::now();
    while (!told_.empty() &&
           (told_.size() == limits_.kept || told_.front().first < now - limits_.again)) {
      told_.pop_front();
    }
    told_.emplace_back(now, std::move(deliver));
  }

  const Limits limits_;

  std::mutex mutex_;
  // Guarded by mutex_.
  std::vector<Observer*> observers_;  // Not owned.
  std::deque<Delivery> kept_;
  std::deque<std::pair<Clock::time_point, Delivery>> told_;
};

}  // namespace host
