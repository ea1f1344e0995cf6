#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

namespace orn {

// The lock for global state that has to work before and after all static objects: it needs neither
// construction nor destruction, so declare it `constinit`. Held for moments only; who finds it
// taken sleeps a millisecond and tries again. Use with std::lock_guard; not re-entrant.
class SpinFlag {
 public:
  constexpr SpinFlag() noexcept = default;
  SpinFlag(const SpinFlag&) = delete;
  SpinFlag& operator=(const SpinFlag&) = delete;

  void lock() noexcept {
    while (taken_.exchange(1, std::memory_order_acquire) != 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  void unlock() noexcept { taken_.store(0, std::memory_order_release); }

 private:
  std::atomic<int32_t> taken_{0};
};

}  // namespace orn
