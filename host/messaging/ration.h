#pragma once

#include <algorithm>
#include <chrono>

namespace host::channels {

// So many at once, and then one per interval. One thread's at a time.
class Ration {
 public:
  using Clock = std::chrono::steady_clock;

  Ration(int at_once, std::chrono::milliseconds interval)
      : interval_(interval), ahead_(interval * (at_once - 1)) {}

  // Whether there is one; takes it.
  bool Try(Clock::time_point now = Clock::now()) {
    return next_ <= now + ahead_ && (Use(now), true);
  }
  // Takes one in any case; how long to wait until it is there.
  std::chrono::milliseconds Take(Clock::time_point now = Clock::now()) {
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(next_ - (now + ahead_));
    Use(now);
    return std::max(wait, std::chrono::milliseconds(0));
  }
  // Nothing of it is in use.
  bool IsFull(Clock::time_point now) const { return next_ <= now; }

 private:
  void Use(Clock::time_point now) { next_ = std::max(next_, now) + interval_; }

  std::chrono::milliseconds interval_;
  std::chrono::milliseconds ahead_;
  Clock::time_point next_{};  // When all of it will be there again.
};

}  // namespace host::channels
