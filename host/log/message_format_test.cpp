#include "host/log/message_format.h"

#include <gtest/gtest.h>

namespace host::log {
namespace {

std::wstring Format(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  std::wstring text = FormatWide(format, args);
  va_end(args);
  return text;
}

TEST(MessageFormat, WidePrintfTakesWideTextsForSmallSAndUtf8ForLargeS) {
  const char* const none = nullptr;
  const wchar_t* const wide_none = nullptr;
  EXPECT_EQ(Format(L"%s|%S|%hs|%ls|%lS", L"w\u00e4", "n\xC3\xA4", "h", L"l", L"L"),
            L"w\u00e4|n\u00e4|h|l|L");
  EXPECT_EQ(Format(L"[%s][%S][%5s][%.3s]", wide_none, none, wide_none, none), L"[][][     ][]");
  EXPECT_EQ(Format(L"%-4s|%4S|%.2s|%.*s|%*s", L"a", "b", L"cut", 1, L"xy", -3, L"z"),
            L"a   |   b|cu|x|z  ");
  // The precision bounds what is read, not only what is written.
  const wchar_t unended[2] = {L'o', L'k'};
  EXPECT_EQ(Format(L"%.2s", unended), L"ok");
  EXPECT_EQ(Format(L"%S", "\xff\xfe"), L"\ufffd\ufffd");
}

TEST(MessageFormat, NumbersComeInTheSizesThatWindowsProgramsUse) {
  EXPECT_EQ(Format(L"%d %u %ld %lu", -1, -1, -2L, 4294967295UL), L"-1 4294967295 -2 4294967295");
  EXPECT_EQ(Format(L"%lld %llu %I64d %zu %zd %I64u", -1LL, ~0ULL, INT64_MIN, SIZE_MAX,
                   ptrdiff_t{-5}, 7ULL),
            L"-1 18446744073709551615 -9223372036854775808 18446744073709551615 -5 7");
  EXPECT_EQ(Format(L"%f", 1e308).size(), 316u);
}

TEST(MessageFormat, HostileFormatsNeitherWriteNorOverrun) {
  int64_t target = 7;
  EXPECT_EQ(Format(L"a%nb%%", &target), L"ab%");
  EXPECT_EQ(target, 7);
  EXPECT_EQ(Format(L"%"), L"%");
  EXPECT_EQ(Format(L"%99999999999d", 1).size(), 1024u);
  const std::wstring flood(100000, L'x');
  EXPECT_EQ(Format(L"%s%s", flood.c_str(), flood.c_str()), std::wstring(32768, L'x') + L" [...]");
}

TEST(MessageFormat, AnEntryIsOneLineWhateverItsMessageHolds) {
  EXPECT_EQ(FormatLine({.unix_milliseconds = 1769860800123,
                        .process = 12,
                        .thread = 34,
                        .depth = 2,
                        .level = 16,
                        .function = L"A::B",
                        .message = L"a\r\nb\tc\x1b\u2028\u0085\u00e4 C:\\d"}),
            "2026-01-31T12:00:00.123Z 12:34     INF A::B: "
            "a\\r\\nb\\tc\\u001b\\u2028\\u0085\xC3\xA4 C:\\d");
}

}  // namespace
}  // namespace host::log
