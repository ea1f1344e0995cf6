#include "module/frame/environment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace orn {
namespace {

using namespace std::string_literals;

struct Result {
  std::wstring block;  // Without the zero that ends it.
  bool updated;
};

Result Build(const std::wstring& block, const wchar_t* path) {
  Result result{.block = {}, .updated = true};
  const std::unique_ptr<wchar_t, decltype(&std::free)> built(
      BuildBlockWithPath(block.c_str(), path, result.updated), &std::free);
  const wchar_t* end = built.get();
  while (*end != L'\0')
    end += std::wstring_view(end).size() + 1;
  result.block = std::wstring(built.get(), static_cast<size_t>(end - built.get()));
  return result;
}

TEST(EnvironmentTest, EveryPathEntryIsReplacedInItsPlaceAndNothingElse) {
  const Result result = Build(
      L"=C:=C:\\Windows\0PATH=short\0PATHEXT=.EXE\0path=a much longer one\0XPATH=x\0Path\0ORN_TSR_OLD_PATH=o\0"s,
      L"C:\\old;D:\\");
  EXPECT_TRUE(result.updated);
  EXPECT_EQ(result.block,
            L"=C:=C:\\Windows\0Path=C:\\old;D:\\\0PATHEXT=.EXE\0Path=C:\\old;D:\\\0XPATH=x\0Path\0"
            L"ORN_TSR_OLD_PATH=o\0"s);
}

TEST(EnvironmentTest, BlockWithoutPathEntryStaysAsItIs) {
  for (const std::wstring& block : {L"=C:=C:\\\0A=1\0PATHS=\0"s, L""s}) {
    const Result result = Build(block, L"unused");
    EXPECT_FALSE(result.updated);
    EXPECT_EQ(result.block, block);
  }
  EXPECT_EQ(Build(L"PATH=x\0"s, L"").block, L"Path=\0"s);
}

}  // namespace
}  // namespace orn
