#include "module/frame/string.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "module/frame/path_string.h"

namespace orn {
namespace {

using Wide = StringT<wchar_t>;

// The C runtime's heap without its realloc. Keeps count.
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
  EXPECT_EQ(manager.last_size, sizeof(wchar_t) * 101 + 20);
}

TEST(StringTest, TextLyingInTheStringItselfCanBeAppendedAndAssigned) {
  StringT<char, ManagerWithoutReallocate> text("0123456789");
  for (int i = 0; i < 5; ++i)
    text += text.view();  // Passes two reallocations.
  text = text.view().substr(310, 4);
  EXPECT_EQ(text, "0123");
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

}  // namespace
}  // namespace orn
