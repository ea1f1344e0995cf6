#pragma once

#include <cstdarg>
#include <cstdint>
#include <string>
#include <string_view>

namespace host::log {

// The text of a message: wide printf as Windows programs know it, whatever C library we are built
// with. `%s` and `%c` take wide texts, `%S`, `%hs` and `%C` narrow ones in UTF-8; `%d %u %x %o %i`
// come with h, hh, l (32 bits), ll, I64, z, t and j (64 bits); `%p`; floating point. A null text is
// empty, `%n` writes nothing, an unknown conversion stands as it is, and the text ends after 32,768
// characters.
std::wstring FormatWide(const wchar_t* format, va_list args);

// One line of the log file, in UTF-8, without its end:
//
//   2026-01-31T12:00:00.123Z 1234:5678   INF Class::Function: message
//
// that is UTC, process:thread, two blanks per level of depth, the level. Control characters and
// line separators inside the message are escaped, so that an entry is always one line.
struct Line {
  int64_t unix_milliseconds = 0;
  uint32_t process = 0;
  uint32_t thread = 0;
  uint32_t depth = 0;
  uint32_t level = 0;
  std::wstring_view function;
  std::wstring_view message;
};
std::string FormatLine(const Line& line);

}  // namespace host::log
