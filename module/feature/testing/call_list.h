#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace orn::RemoteAccess {

using Calls = std::vector<std::string>;

// What happened, in order, told from any thread.
class CallList {
 public:
  // Returns `answer`, for those that are called.
  uint32_t Add(const std::string& call, uint32_t answer = 0) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
    changed_.notify_all();
    return answer;
  }
  void WaitFor(const std::string& call) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return std::ranges::count(calls_, call) != 0; });
  }
  // All, once there are so many.
  Calls WaitFor(size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return calls_.size() >= count; });
    return calls_;
  }
  // Gives them and forgets them.
  Calls Take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(calls_, {});
  }
  // Only the first ones, once there are so many.
  Calls Take(size_t count) {
    WaitFor(count);
    const std::lock_guard lock(mutex_);
    const auto end = calls_.begin() + static_cast<ptrdiff_t>(count);
    Calls first(calls_.begin(), end);
    calls_.erase(calls_.begin(), end);
    return first;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  Calls calls_;
};

}  // namespace orn::RemoteAccess
