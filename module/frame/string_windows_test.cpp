#include <gtest/gtest.h>

#include "module/frame/path_string.h"
#include "module/frame/string.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

// What of strings is Windows' own: the units of wide texts, and how the process ends.

namespace orn {
namespace {

using Narrow = StringT<char>;

TEST(StringTest, ConversionKeepsZerosAndSurrogatePairsAndReplacesWhatIsNoText) {
  const std::wstring wide(L"z\u00E4\U0001F600\0end\0", 9);
  const std::string narrow("z\xC3\xA4\xF0\x9F\x98\x80\0end\0", 12);
  EXPECT_EQ(ToUtf8(wide).view(), narrow);
  EXPECT_EQ(ToWide(narrow).view(), wide);
  EXPECT_EQ(ToUtf8(std::wstring{L'a', wchar_t{0xD800}}), "a\xEF\xBF\xBD");
  for (const char* bytes : {"\xFF", "\xE2\x82", "\xED\xA0\x80", "\xC0\xAF"}) {
    EXPECT_EQ(ToWide(bytes).view().find_first_not_of(L'\uFFFD'), std::wstring_view::npos);
  }
}

using StringDeathTest = testing::Test;

TEST(StringDeathTest, DamagedGuardEndsTheProcessPastAllHandlers) {
  const auto ended_by_fast_fail = [](int code) {
    return static_cast<unsigned>(code) == 0xC0000409;
  };
  const auto exit_quietly = [](EXCEPTION_POINTERS*) -> LONG { ExitProcess(0); };
  const auto damage = [&](Narrow& text, ptrdiff_t offset) {
    AddVectoredExceptionHandler(/*first=*/TRUE, exit_quietly);
    text.data()[offset] ^= 1;
  };
  Narrow text("guarded");
  const auto expect_end = [&](ptrdiff_t damaged, const auto& use) {
    EXPECT_EXIT((damage(text, damaged), use()), ended_by_fast_fail, "");
  };
  expect_end(65, [&] { Narrow(text) += 'x'; });
  expect_end(68, [&] { text += 'x'; });
  expect_end(-16, [&] { text.reserve(1); });
  expect_end(-13, [&] { text.~Narrow(); });
  PathStringT<260> path(L"guarded");
  EXPECT_EXIT((path.data()[261] = 0, path.clear()), ended_by_fast_fail, "");
  EXPECT_EXIT(text.reserve(SIZE_MAX / 8), ended_by_fast_fail, "");  // As much as exhausted memory.
}

}  // namespace
}  // namespace orn
