#include "module/frame/log.h"

#include <cstdarg>
#include <cwchar>
#include <iterator>

#include "module/frame/log_dll.h"
#include "module/frame/windows.h"

// Its own header, timeapi.h, needs macros that module/frame/windows.h has taken back.
extern "C" __declspec(dllimport) DWORD WINAPI timeGetTime();

namespace {

constexpr uint16_t kSameDepth = 0;
constexpr uint16_t kEnter = 1;
constexpr uint16_t kLeave = 0xFFFF;

void WriteLine(uint16_t depth_change, logging::Level level, const wchar_t* function,
               const wchar_t* format, va_list arguments) {
  const DWORD error = GetLastError();
  {
    // The last reference elsewhere may go at any time.
    const logging::LogReference reference;
    reference.get()->Write(depth_change, level, function, format, arguments);
  }
  SetLastError(error);
}

void WriteTrace(uint16_t depth_change, const wchar_t* function, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  WriteLine(depth_change, logging::kTrace, function, format, arguments);
  va_end(arguments);
}

// Copies what fits into `size` characters with the terminator, and returns its length.
size_t CopyBounded(wchar_t* target, size_t size, const wchar_t* text) {
  const size_t length = wcsnlen(text, size - 1);
  wmemcpy(target, text, length);
  target[length] = 0;
  return length;
}

}  // namespace

namespace logging {

void Write(Level level, const wchar_t* function, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  WriteLine(kSameDepth, level, function, format, arguments);
  va_end(arguments);
}

}  // namespace logging

LogFunctionTrace::LogFunctionTrace(const wchar_t* function) noexcept : start_(timeGetTime()) {
  CopyBounded(function_, std::size(function_), function);
  const size_t length = CopyBounded(display_name_, std::size(display_name_) - 2, function);
  CopyBounded(display_name_ + length, 3, L"()");
  if (logging::IsOn()) WriteTrace(kEnter, function_, L"-> %s", display_name_);
}

LogFunctionTrace::~LogFunctionTrace() {
  if (!logging::IsOn()) return;
  WriteTrace(kLeave, function_, L"<- %s [%d]", display_name_, timeGetTime() - start_);
}
