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
  void WaitFor(const std::string& call) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return std::ranges::count(calls_, call) != 0; });
  }
  // Gives them and forgets them.
  std::vector<std::string> Take() {
    const std::lock_guard lock(mutex_);
    return std::move(calls_);
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> calls_;
};

}  // namespace orn::RemoteAccess
