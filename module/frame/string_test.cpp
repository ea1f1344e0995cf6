#include "module/frame/string.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <cstdlib>

#include "module/frame/path_string.h"
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
  void* Reallocate(void*, size_t) override {
    ++refused;
    return nullptr;
  }
  void Free(void* block) override {
    --blocks;
    SecureZeroMemory(block, _msize(block));  // The compiler leaves a memset before free out.
    std::free(block);
  }
  void Released() override { ++released; }

  size_t last_size = 0;
  int blocks = 0, refused = 0, released = 0;
};

TEST(StringTest, GrowsByItsPolicyAndKeepsTheText) {
  Wide text(L"kept");
  EXPECT_EQ(text.capacity(), 64U);
  text.reserve(65);
  EXPECT_EQ(text.capacity(), 128U);
  text.reserve(2000);
  EXPECT_EQ(text.capacity(), 2000U);
  text.append(std::wstring(1997, L'x'));
  EXPECT_EQ(text.capacity(), 3024U);
  EXPECT_EQ(text.view(), L"kept" + std::wstring(1997, L'x'));

  text.reserve(2);
  EXPECT_EQ(text, L"ke");
  EXPECT_EQ(text.capacity(), 3024U);
}

TEST(StringTest, BlockHasTheSettledSizeAndSurvivesAManagerThatCannotReallocate) {
  auto& manager = ManagerWithoutReallocate::Instance();
  manager.refused = manager.released = 0;
  {
    StringT<char, ManagerWithoutReallocate> text("kept");
    EXPECT_EQ(manager.last_size, 64U + 21);
    text.reserve(65);
    EXPECT_EQ(manager.last_size, 128U + 21);
    EXPECT_EQ(text, "kept");
    EXPECT_EQ(manager.refused, 1);
    EXPECT_EQ(manager.blocks, 2);  // Control record and characters.
  }
  EXPECT_EQ(manager.blocks, 0);
  EXPECT_EQ(manager.released, 3);
  const StringT<wchar_t, ManagerWithoutReallocate> wide(std::wstring(100, L'w'));
  EXPECT_EQ(manager.last_size, 2 * 100U + 22);
}

TEST(StringTest, TextLyingInTheStringItselfCanBeAppendedAndAssigned) {
  StringT<char, ManagerWithoutReallocate> text("0123456789");
  for (int i = 0; i < 5; ++i)
    text += text.view();  // Passes two reallocations.
  EXPECT_EQ(text.length(), 320U);
  EXPECT_TRUE(text.view().ends_with("0123456789"));
  text = text.view().substr(310, 4);
  EXPECT_EQ(text, "0123");
  text = text.data() + 2;
  EXPECT_EQ(text, "23");
}

TEST(StringTest, OrderIsThatOfCodeUnitsAndNullIsTheEmptyText) {
  EXPECT_LT(Narrow("z"), Narrow("\xC3\xA4"));
  EXPECT_LT(Wide(L"a"), L"ab");
  EXPECT_GT(Narrow("a\0b", 3), Narrow("a"));
  EXPECT_TRUE(MbsLess()("z", "\xC3\xA4"));
  const Narrow with_zero("a\0b", 3);
  EXPECT_FALSE(MbsLess()("a", with_zero) || MbsLess()(with_zero, "a"));
  EXPECT_FALSE(MbsLess()(nullptr, ""));

  Wide text(nullptr);
  text += nullptr;
  EXPECT_TRUE(text == nullptr && *text.c_str() == 0 && text.data() == nullptr);
}

TEST(StringTest, LengthIsTakenFromWhatACFunctionWrote) {
  Narrow text;
  text.reserve(64);
  std::strcpy(text.data(), "written");
  text.UpdateLength();
  EXPECT_EQ(text, "written");
  std::memset(text.data(), 'x', 65);  // Even the terminator's slot.
  text.UpdateLength();
  EXPECT_EQ(text, std::string(64, 'x'));
}

// NOLINTBEGIN(bugprone-use-after-move): what a move leaves behind is under test.
TEST(StringTest, PathIsCopiedByValueWhereverItsTextStands) {
  using Path = PathStringT<260>;
  const auto is_inside = [](Path& path) {
    const auto at = reinterpret_cast<const std::byte*>(path.data());
    const auto start = reinterpret_cast<const std::byte*>(&path);
    return at > start && at < start + sizeof(path);
  };
  for (const size_t length : {260U, 261U, 300U}) {
    const std::wstring text(length, L'p');
    Path path(text.c_str());
    EXPECT_EQ(is_inside(path), length == 260);
    Path copy(path);
    Wide moved(std::move(path));
    path = L"reused";
    EXPECT_EQ(copy.view(), text);
    EXPECT_EQ(moved, text);
    copy = Wide(L"short");
    EXPECT_EQ(copy, L"short");
    std::swap(path, copy);
    EXPECT_EQ(copy, L"reused");
    moved = std::move(path);
    EXPECT_EQ(moved, L"short");
    EXPECT_TRUE(path.empty() && path.data() != nullptr);
  }
}
// NOLINTEND(bugprone-use-after-move)

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
  expect_end(-1, [&] { Narrow() = text; });
  expect_end(-16, [&] { text.reserve(1); });
  expect_end(-13, [&] { text.~Narrow(); });
  PathStringT<260> path(L"guarded");
  EXPECT_EXIT((path.data()[261] = 0, path.clear()), ended_by_fast_fail, "");
  EXPECT_EXIT(text.reserve(SIZE_MAX / 8), ended_by_fast_fail, "");  // As much as exhausted memory.
}

}  // namespace
}  // namespace orn
