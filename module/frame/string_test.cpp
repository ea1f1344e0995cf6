#include "module/frame/string.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <cstdlib>

#include "module/frame/path_string.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

namespace orn {
namespace {

using Wide = StringT<wchar_t>;
using Narrow = StringT<char>;

// The C runtime's heap without its realloc. Keeps count, and wipes what was given back.
class ManagerWithoutReallocate final : public IMemMgr {
 public:
  static ManagerWithoutReallocate& Instance() {
    static ManagerWithoutReallocate manager;
    return manager;
  }
  void* Allocate(size_t size) override {
    last_size = size;
    ++blocks;
    return std::malloc(size);
  }
  void* Reallocate(void*, size_t) override { return nullptr; }
  void Free(void* block) override {
    --blocks;
    SecureZeroMemory(block, _msize(block));  // The compiler leaves a memset before free out.
    std::free(block);
  }
  void Released() override {}

  size_t last_size = 0;
  int blocks = 0;
};

TEST(StringTest, GrowsByItsPolicyAndKeepsTheTextWithoutReallocateToo) {
  auto& manager = ManagerWithoutReallocate::Instance();
  {
    StringT<char, ManagerWithoutReallocate> text("kept");
    EXPECT_EQ(manager.last_size, 64U + 21);
    text.reserve(65);
    EXPECT_EQ(manager.last_size, 128U + 21);
    text.reserve(2000);
    EXPECT_EQ(text.capacity(), 2000U);
    text.append(std::string(1997, 'x'));
    EXPECT_EQ(text.capacity(), 3024U);
    EXPECT_EQ(text.view(), "kept" + std::string(1997, 'x'));
    std::memset(text.data(), 'x', 3025);  // Even the terminator's slot.
    text.UpdateLength();
    EXPECT_EQ(text, std::string(3024, 'x'));
    text.reserve(2);
    EXPECT_EQ(text, "xx");
    EXPECT_EQ(manager.blocks, 2);  // Control record and characters.
  }
  EXPECT_EQ(manager.blocks, 0);
  const StringT<wchar_t, ManagerWithoutReallocate> wide(std::wstring(100, L'w'));
  EXPECT_EQ(manager.last_size, 2 * 100U + 22);
}

TEST(StringTest, TextLyingInTheStringItselfCanBeAppendedAndAssigned) {
  StringT<char, ManagerWithoutReallocate> text("0123456789");
  for (int i = 0; i < 5; ++i)
    text += text.view();  // Passes two reallocations.
  text = text.view().substr(310, 4);
  EXPECT_EQ(text, "0123");
}

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

TEST(StringTest, PathIsCopiedByValueWhereverItsTextStands) {
  using Path = PathStringT<260>;
  for (const size_t length : {260U, 261U, 300U}) {
    const std::wstring text(length, L'p');
    Path path(text.c_str());
    EXPECT_EQ(path.capacity() == 260, length == 260);
    Path copy(path);
    Wide moved(std::move(path));
    path = L"reused";
    EXPECT_EQ(copy.view(), text);
    EXPECT_EQ(moved, text);
    std::swap(path, copy);
    EXPECT_EQ(path.view(), text);
    moved = std::move(copy);
    EXPECT_EQ(moved, L"reused");
    EXPECT_TRUE(copy.empty() && copy.data() != nullptr);
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
