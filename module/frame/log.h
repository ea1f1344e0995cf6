#pragma once

#include <cstdint>

#include "module/frame/log_reference.h"

// All diagnostics of the module:
//
//   LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Init");
//   ORN_LOG(logging::kError, trace.function(), L"Failed to get %s plugin.", name);
//
// Without a log library nothing is written and nothing fails. `%s` takes a wide text, `%S` a narrow one.

namespace logging {

enum Level : uint32_t {
  kError = 2,         // an operation failed
  kWarning = 4,       // a refusal, or a failure that is worked around
  kNotice = 8,        // a default used, a stream problem
  kInformation = 16,  // a step of note
  kTrace = 32,        // entry, exit, and the steps of long sequences
};

// Whether anybody holds a reference on the shared logging object; one addition and a test.
bool IsOn() noexcept;

// Writes one line through the log library. Any thread. `function` is the qualified name of the function
// that logs. Keeps the calling thread's last Windows error.
void Write(Level level, const wchar_t* function, const wchar_t* format, ...);

}  // namespace logging

// The arguments are not evaluated while logging is off.
#define ORN_LOG(level, function, ...)                                         \
  do {                                                                        \
    if (::logging::IsOn()) ::logging::Write((level), (function), __VA_ARGS__); \
  } while (false)

// Marks entry ("-> %s") and exit ("<- %s [%d]", milliseconds) of a function, the exit on every way out.
// Allocates nothing. `function` must be a literal: the qualified name.
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
