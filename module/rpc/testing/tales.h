#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "module/frame/testing/semaphore.h"

namespace messaging::testing {

// What several threads tell a test, in order.
class tales {
 public:
  void tell(std::string tale) {
    const std::lock_guard lock(mutex_);
    told_.push_back(std::move(tale));
    news_.Release();
  }

  // Waits until `count` were told, and takes those.
  std::vector<std::string> await(size_t count) {
    for (size_t i = 0; i < count; ++i)
      news_.Acquire();
    const std::lock_guard lock(mutex_);
    const auto end = told_.begin() + static_cast<ptrdiff_t>(count);
    std::vector<std::string> result(told_.begin(), end);
    told_.erase(told_.begin(), end);
    return result;
  }

 private:
  Semaphore news_;
  std::mutex mutex_;
  std::vector<std::string> told_;  // Guarded by mutex_.
};

}  // namespace messaging::testing
