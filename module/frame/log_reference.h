#pragma once

#include <atomic>
#include <cstdint>

namespace logging {

class CLogDLL;

// Keeps the shared logging object alive for as long as its holder lives. Long-lived objects own one
// as their first member, so that it goes last.
class LogReference {
 public:
  LogReference() { Acquire(); }
  ~LogReference() { Release(); }
  LogReference(const LogReference&) = delete;
  LogReference& operator=(const LogReference&) = delete;

  // May be called more than once: each call takes one more reference.
  void Acquire();
  // Gives back every reference that this holder took.
  void Release();

  CLogDLL* get() const noexcept { return log_; }

 private:
  CLogDLL* log_ = nullptr;
  std::atomic<int32_t> count_{0};
};

}  // namespace logging
