#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace orn {

// Sleepers that are let through in the order in which they came, and none in another's stead. A
// lock built on it decides who may go and counts before it calls Admit: nobody can slip in before
// the woken one runs.
class Turnstile {
 public:
  Turnstile() = default;
  Turnstile(const Turnstile&) = delete;
  Turnstile& operator=(const Turnstile&) = delete;

  // Sleeps until admitted. `lock` is held on the mutex that guards this object, and again on
  // return.
  void Wait(std::unique_lock<std::mutex>& lock) {
    const uint64_t ticket = next_ticket_++;
    admission_.wait(lock, [&] { return ticket < admitted_; });
  }

  // Lets the `count` longest sleepers through; as many have to be asleep. With that mutex held.
  void Admit(uint32_t count) {
    admitted_ += count;
    admission_.notify_all();
  }

 private:
  std::condition_variable admission_;
  uint64_t next_ticket_ = 0;
  uint64_t admitted_ = 0;
};

}  // namespace orn
