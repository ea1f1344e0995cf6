#include "host/log/message_format.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cwchar>
#include <limits>

#include "module/frame/utf.h"

namespace host::log {
namespace {

constexpr size_t kLongestText = 32768;
constexpr int kWidest = 1024;
constexpr std::wstring_view kCut = L" [...]";

enum class Length { kNone, kChar, kShort, k32, k64 };

struct Conversion {
  std::string flags;
  int width = 0;
  int precision = -1;  // None given.
  Length length = Length::kNone;
  wchar_t type = 0;
};

class Formatter {
 public:
  Formatter(const wchar_t* format, va_list args) : next_(format) { va_copy(args_, args); }
  ~Formatter() { va_end(args_); }
  Formatter(const Formatter&) = delete;
  Formatter& operator=(const Formatter&) = delete;

  std::wstring Run() {
    while (*next_ != 0 && text_.size() <= kLongestText) {
      if (*next_ != L'%') {
        text_ += *next_++;
        continue;
      }
      const wchar_t* const start = next_++;
      if (!Convert(Parse())) text_.append(start, next_);
    }
    if (text_.size() > kLongestText) {
      text_.resize(kLongestText);
      text_ += kCut;
    }
    return std::move(text_);
  }

 private:
  Conversion Parse() {
    Conversion conversion;
    for (; *next_ != 0 && std::wcschr(L"-+ #0", *next_) != nullptr; ++next_) {
      if (conversion.flags.size() < 5) conversion.flags += static_cast<char>(*next_);
    }
    conversion.width = ParseNumber();
    if (conversion.width < 0) {
      conversion.flags += '-';
      conversion.width = -conversion.width;
    }
    if (*next_ == L'.') {
      ++next_;
      conversion.precision = ParseNumber();
    }
    conversion.length = ParseLength();
    conversion.type = *next_;
    if (*next_ != 0) ++next_;
    return conversion;
  }

  int ParseNumber() {
    int number = 0;
    if (*next_ == L'*') {
      ++next_;
      number = va_arg(args_, int);
    } else {
      for (; *next_ >= L'0' && *next_ <= L'9'; ++next_) {
        number = std::min(number * 10 + (*next_ - L'0'), kWidest);
      }
    }
    return std::clamp(number, -kWidest, kWidest);
  }

  bool Take(std::wstring_view prefix) {
    if (std::wcsncmp(next_, prefix.data(), prefix.size()) != 0) return false;
    next_ += prefix.size();
    return true;
  }

  Length ParseLength() {
    if (Take(L"hh")) return Length::kChar;
    if (Take(L"h")) return Length::kShort;
    if (Take(L"ll") || Take(L"I64") || Take(L"z") || Take(L"t") || Take(L"j")) return Length::k64;
    if (Take(L"l") || Take(L"I32") || Take(L"w")) return Length::k32;
    if (Take(L"I")) return Length::k64;
    return Length::kNone;
  }

  // False where the conversion is unknown.
  bool Convert(const Conversion& conversion) {
    switch (conversion.type) {
      case L'%':
        text_ += L'%';
        return true;
      case L'd':
      case L'i':
        AppendNumber(conversion, "lld", TakeSigned(conversion.length));
        return true;
      case L'u':
      case L'x':
      case L'X':
      case L'o': {
        const char type[] = {'l', 'l', static_cast<char>(conversion.type), 0};
        AppendNumber(conversion, type, TakeUnsigned(conversion.length));
        return true;
      }
      case L'e':
      case L'E':
      case L'f':
      case L'F':
      case L'g':
      case L'G':
      case L'a':
      case L'A': {
        const char type[] = {static_cast<char>(conversion.type), 0};
        AppendNumber(conversion, type, va_arg(args_, double));
        return true;
      }
      case L'p': {
        wchar_t digits[17];
        std::swprintf(digits, 17, L"%016llX", va_arg(args_, unsigned long long));
        AppendPadded(conversion, digits);
        return true;
      }
      case L's':
      case L'S':
        AppendText(conversion);
        return true;
      case L'c':
      case L'C': {
        const wchar_t character = static_cast<wchar_t>(va_arg(args_, int));
        AppendPadded(conversion, {&character, 1});
        return true;
      }
      case L'n':
        static_cast<void>(va_arg(args_, void*));
        return true;
      default:
        return false;
    }
  }

  int64_t TakeSigned(Length length) {
    if (length == Length::k64) return va_arg(args_, int64_t);
    const int value = va_arg(args_, int);
    if (length == Length::kChar) return static_cast<int8_t>(value);
    return length == Length::kShort ? static_cast<int16_t>(value) : value;
  }

  uint64_t TakeUnsigned(Length length) {
    if (length == Length::k64) return va_arg(args_, uint64_t);
    const unsigned value = va_arg(args_, unsigned);
    if (length == Length::kChar) return static_cast<uint8_t>(value);
    return length == Length::kShort ? static_cast<uint16_t>(value) : value;
  }

  template <class Number>
  void AppendNumber(const Conversion& conversion, const char* type, Number number) {
    const std::string format = "%" + conversion.flags + "*.*" + type;
    char digits[2 * kWidest];
// The format is made of checked pieces, and a double's digits and the widest width fit.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int length = std::snprintf(digits, sizeof(digits), format.c_str(), conversion.width,
                                     conversion.precision, number);
#pragma GCC diagnostic pop
    for (int i = 0; i < length; ++i)
      text_ += static_cast<wchar_t>(digits[i]);
  }

  void AppendText(const Conversion& conversion) {
    const bool narrow = conversion.length == Length::kShort ||
                        (conversion.type == L'S' && conversion.length != Length::k32);
    const size_t limit =
        conversion.precision < 0 ? kLongestText : static_cast<size_t>(conversion.precision);
    // No more is read than the precision allows: the text may be without an end.
    if (narrow) {
      const char* const text = va_arg(args_, const char*);
      if (text == nullptr) return AppendPadded(conversion, {});
      AppendPadded(conversion, orn::ToWide({text, strnlen(text, limit)}).view());
    } else {
      const wchar_t* const text = va_arg(args_, const wchar_t*);
      if (text == nullptr) return AppendPadded(conversion, {});
      AppendPadded(conversion, {text, wcsnlen(text, limit)});
    }
  }

  void AppendPadded(const Conversion& conversion, std::wstring_view text) {
    const size_t width = static_cast<size_t>(conversion.width);
    const size_t padding = width > text.size() ? width - text.size() : 0;
    const bool left = conversion.flags.find('-') != std::string::npos;
    if (!left) text_.append(padding, L' ');
    text_ += text;
    if (left) text_.append(padding, L' ');
  }

  const wchar_t* next_;
  va_list args_;
  std::wstring text_;
};

std::wstring Escape(std::wstring_view text) {
  std::wstring escaped;
  escaped.reserve(text.size());
  for (const wchar_t c : text) {
    if (c == L'\n') {
      escaped += L"\\n";
    } else if (c == L'\r') {
      escaped += L"\\r";
    } else if (c == L'\t') {
      escaped += L"\\t";
    } else if (c < 0x20 || (c >= 0x7f && c < 0xa0) || c == 0x2028 || c == 0x2029) {
      wchar_t code[8];
      std::swprintf(code, 8, L"\\u%04x", static_cast<unsigned>(c));
      escaped += code;
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string LevelName(uint32_t level) {
  switch (level) {
    case 2:
      return "ERR";
    case 4:
      return "WRN";
    case 8:
      return "NOT";
    case 16:
      return "INF";
    case 32:
      return "TRC";
    default:
      return std::to_string(level);
  }
}

std::string FormatTime(int64_t unix_milliseconds) {
  using namespace std::chrono;
  const sys_time<milliseconds> time{milliseconds{unix_milliseconds}};
  const auto day = floor<days>(time);
  const year_month_day date{day};
  const hh_mm_ss clock{time - day};
  char text[64];
  std::snprintf(text, sizeof(text), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", int{date.year()},
                unsigned{date.month()}, unsigned{date.day()},
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()),
                static_cast<int>(clock.subseconds().count()));
  return text;
}

}  // namespace

std::wstring FormatWide(const wchar_t* format, va_list args) {
  return format == nullptr ? std::wstring() : Formatter(format, args).Run();
}

std::string FormatLine(const Line& line) {
  std::string text = FormatTime(line.unix_milliseconds);
  text += ' ' + std::to_string(line.process) + ':' + std::to_string(line.thread) + ' ';
  text.append(2 * size_t{line.depth}, ' ');
  text += LevelName(line.level) + ' ';
  if (!line.function.empty()) {
    text += orn::ToUtf8(Escape(line.function)).view();
    text += ": ";
  }
  text += orn::ToUtf8(Escape(line.message)).view();
  return text;
}

}  // namespace host::log
