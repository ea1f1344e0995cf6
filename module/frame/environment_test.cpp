#include "module/frame/environment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace orn {
namespace {

using namespace std::string_literals;

// `expected` is a block without the zero that ends it.
void ExpectBlock(const std::wstring& block, const wchar_t* path, const std::wstring& expected,
                 size_t expected_replaced) {
  size_t replaced = 7;
  const std::unique_ptr<wchar_t, decltype(&std::free)> built(
      BuildBlockWithPath(block.c_str(), path, replaced), &std::free);
  EXPECT_EQ(std::wstring(built.get(), expected.size() + 1), expected + L'\0');
  EXPECT_EQ(replaced, expected_replaced);
}

TEST(EnvironmentTest, EveryPathEntryIsReplacedInItsPlaceAndNothingElse) {
  ExpectBlock(
      L"=C:=C:\\Windows\0PATH=short\0PATHEXT=.EXE\0path=a much longer one\0XPATH=x\0Path\0ORN_TSR_OLD_PATH=o\0"s,
      L"C:\\old;D:\\",
      L"=C:=C:\\Windows\0Path=C:\\old;D:\\\0PATHEXT=.EXE\0Path=C:\\old;D:\\\0XPATH=x\0Path\0ORN_TSR_OLD_PATH=o\0"s,
      2);
  ExpectBlock(L"PATH=x\0"s, L"", L"Path=\0"s, 1);
  ExpectBlock(L"=C:=C:\\\0A=1\0PATHS=\0"s, L"unused", L"=C:=C:\\\0A=1\0PATHS=\0"s, 0);
  ExpectBlock(L""s, L"unused", L""s, 0);
}

}  // namespace
}  // namespace orn
