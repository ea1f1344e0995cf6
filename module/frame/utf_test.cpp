#include "module/frame/utf.h"

#include <gtest/gtest.h>

#include <string>

namespace orn {
namespace {

TEST(UtfTest, TextSurvivesBothWays) {
  const std::wstring wide(L"z\u00E4\u20AC\U0001F600\0end\0", 10);
  const std::string narrow("z\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\0end\0", 15);
  EXPECT_EQ(ToUtf8(wide).view(), narrow);
  EXPECT_EQ(ToWide(narrow).view(), wide);
  EXPECT_TRUE(ToWide({}).empty() && ToUtf8({}).empty());
}

TEST(UtfTest, WhatIsNoTextBecomesReplacementCharacters) {
  EXPECT_EQ(ToUtf8(std::wstring{L'a', wchar_t{0xD800}, L'b'}),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(ToUtf8(std::wstring{wchar_t{0xDC00}}), "\xEF\xBF\xBD");
  EXPECT_EQ(ToWide("a\xFF"
                   "b"),
            L"a\uFFFDb");
  EXPECT_TRUE(ToWide("cut \xE2\x82").view().ends_with(L"\uFFFD"));
  // A surrogate and an overlong slash in bytes are no text either.
  for (const char* bytes : {"\xED\xA0\x80", "\xC0\xAF"}) {
    EXPECT_EQ(ToWide(bytes).view().find_first_not_of(L'\uFFFD'), std::wstring_view::npos);
  }
}

}  // namespace
}  // namespace orn
