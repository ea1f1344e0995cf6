#pragma once

#include <chrono>
#include <mutex>

// A mutex and a condition that cost a quarter of the standard library's ones on this platform,
// which a key press on its way to a console and back would feel. Used with std::unique_lock and
// std::lock_guard.

namespace host {

class Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() noexcept;
  void unlock() noexcept;

 private:
  friend class Condition;
  void* state_ = nullptr;  // A slim reader-writer lock, used exclusively.
};

using Lock = std::unique_lock<Mutex>;
using Clock = std::chrono::steady_clock;

class Condition {
 public:
  Condition() = default;
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  void NotifyAll() noexcept;

  template <class Predicate>
  void Wait(Lock& lock, Predicate predicate) {
    while (!predicate())
      WaitOnce(lock, Clock::time_point::max());
  }

  // The predicate's last answer: false after the deadline.
  template <class Predicate>
  bool WaitUntil(Lock& lock, Clock::time_point deadline, Predicate predicate) {
    while (!predicate()) {
      if (!WaitOnce(lock, deadline)) return predicate();
    }
    return true;
  }

  // False once the deadline has passed. May wake for nothing.
  bool WaitOnce(Lock& lock, Clock::time_point deadline) noexcept;

 private:
  void* state_ = nullptr;
};

}  // namespace host
