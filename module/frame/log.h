#pragma once

#include <atomic>
#include <cstdint>

#include "module/frame/log_reference.h"

// All diagnostics of the module:
//
//   LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Init");
//   ORN_LOG(logging::kError, trace.function(), L"Failed to get %s plugin.", name);
//
// Without a log library nothing is written and nothing fails. `%s` takes a wide text, `%S` a narrow
// one.

namespace logging {

enum Level : uint32_t {
  kError = 2,         // an operation failed
  kWarning = 4,       // a refusal, or a failure that is worked around
  kNotice = 8,        // a default used, a stream problem
  kInformation = 16,  // a step of note
  kTrace = 32,        // entry, exit, and the steps of long sequences
};

// References on the shared logging object. This binding raises only the first count.
extern std::atomic<uint32_t> use_counts[2];

// Whether anybody holds a reference: while nobody does, a message costs this addition and test.
inline bool IsOn() noexcept {
  return use_counts[0].load(std::memory_order_relaxed) +
             use_counts[1].load(std::memory_order_relaxed) !=
         0;
}

// Writes one line through the log library, which gets `format` and the arguments as they are. Any
// thread. `function` is the qualified name of the function that logs. Keeps the calling thread's
// last Windows error, and holds a reference of its own meanwhile: the library stays loaded until
// the line is written.
void Write(Level level, const wchar_t* function, const wchar_t* format, ...);

}  // namespace logging

// The arguments are not evaluated while logging is off.
#define ORN_LOG(level, function, ...)                                          \
  do {                                                                         \
    if (::logging::IsOn()) ::logging::Write((level), (function), __VA_ARGS__); \
  } while (false)

// Marks entry ("-> %s") and exit ("<- %s [%d]", milliseconds) of a function, the exit on every way
// out. Allocates nothing. `function` must be a literal: the qualified name.
class LogFunctionTrace {
 public:
  explicit LogFunctionTrace(const wchar_t* function) noexcept;
  ~LogFunctionTrace();
  LogFunctionTrace(const LogFunctionTrace&) = delete;
  LogFunctionTrace& operator=(const LogFunctionTrace&) = delete;

  // The qualified name, for the lines between entry and exit.
  const wchar_t* function() const noexcept { return function_; }

 private:
  uint32_t start_;             // milliseconds
  wchar_t display_name_[261];  // at most 258 characters, then "()"
  wchar_t function_[260];
};
