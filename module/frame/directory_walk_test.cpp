#include "module/frame/directory_walk.h"

#include "module/frame/testing/test_folder.h"

namespace {

TEST(DirectoryWalk, GoesBelowThePathsThatWindowsTakesByDefaultAndEndsWhenToldTo) {
  const TestFolder folder;
  std::wstring path = L"\\\\?\\" + (folder / L"deep");
  CreateDirectoryW(path.c_str(), nullptr);
  for (int i = 0; i < 3; ++i) {
    path += L"\\" + std::wstring(150, L'x');
    ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
  }
  for (const size_t limit : {2, 1000}) {
    size_t seen = 0;
    const auto visit = [&](const orn::DirectoryEntry& entry) {
      EXPECT_TRUE(entry.is_directory && !entry.is_regular_file);
      return ++seen < limit;
    };
    EXPECT_EQ(orn::WalkDirectory((folder / L"deep").c_str(), visit), 0u);
    EXPECT_EQ(seen, limit == 2 ? 2u : 3u);
  }
  for (; path.size() > (folder / L"deep").size() + 4; path.resize(path.rfind(L'\\')))
    EXPECT_TRUE(RemoveDirectoryW(path.c_str()));
}

}  // namespace
