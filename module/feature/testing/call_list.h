#pragma once

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace orn::RemoteAccess {

// What happened, in order, told from any thread.
class CallList {
 public:
  void Add(const std::string& call) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
    changed_.notify_all();
  }
  // Waits as long as it takes.
  void WaitFor(const std::string& call, int count = 1) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return std::count(calls_.begin(), calls_.end(), call) >= count; });
  }
  int Count(const std::string& call) const {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(std::count(calls_.begin(), calls_.end(), call));
  }
  // Forgets them.
  std::vector<std::string> Take() {
    const std::lock_guard lock(mutex_);
    return std::move(calls_);
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> calls_;
};

}  // namespace orn::RemoteAccess
