#include "module/frame/directory_walk.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "module/frame/testing/test_folder.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class DirectoryWalk : public testing::Test {
 protected:
  // What is visited, below the folder, files with their sizes behind.
  uint32_t Walk(const std::wstring& folder, size_t limit = 1000) {
    seen_.clear();
    return orn::WalkDirectory(folder.c_str(), [&](const orn::DirectoryEntry& entry) {
      EXPECT_NE(entry.is_directory, entry.is_regular_file);
      EXPECT_TRUE(entry.path.starts_with(folder));
      std::wstring text = entry.path.substr(folder.size());
      if (entry.is_regular_file) text += L" " + std::to_wstring(entry.size);
      seen_.push_back(text);
      return seen_.size() < limit;
    });
  }

  const TestFolder folder_;
  std::vector<std::wstring> seen_;
};

TEST_F(DirectoryWalk, VisitsEachFolderBeforeWhatIsInItAndEndsWhenToldTo) {
  folder_.Folder(L"a");
  folder_.Folder(L"a\\empty");
  folder_.Folder(L"a\\\u0416");
  folder_.File(L"a\\\u0416\\deep.txt");
  EXPECT_EQ(Walk(folder_ / L""), 0u);
  EXPECT_THAT(seen_,
              UnorderedElementsAre(L"a", L"a\\empty", L"a\\\u0416", L"a\\\u0416\\deep.txt 0"));
  EXPECT_EQ(seen_.front(), L"a");
  EXPECT_EQ(Walk(folder_ / L"a\\\u0416"), 0u);
  EXPECT_THAT(seen_, ElementsAre(L"\\deep.txt 0"));
  EXPECT_EQ(Walk(folder_ / L"a", 1), 0u);
  EXPECT_EQ(seen_.size(), 1u);
}

TEST_F(DirectoryWalk, GoesBelowThePathsThatWindowsTakesByDefault) {
  std::wstring path = L"\\\\?\\" + (folder_ / L"deep");
  CreateDirectoryW(path.c_str(), nullptr);
  for (int i = 0; i < 3; ++i) {
    path += L"\\" + std::wstring(150, L'x');
    ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
  }
  EXPECT_EQ(Walk(folder_ / L"deep"), 0u);
  EXPECT_EQ(seen_.size(), 3u);
  for (; path.size() > (folder_ / L"deep").size() + 4; path.resize(path.rfind(L'\\')))
    EXPECT_TRUE(RemoveDirectoryW(path.c_str()));
}

TEST_F(DirectoryWalk, FolderThatCannotBeReadEndsItWithTheCode) {
  EXPECT_EQ(Walk(folder_ / L"missing"), DWORD{ERROR_PATH_NOT_FOUND});
  folder_.Folder(L"locked");
  folder_.File(L"locked\\file");
  const orn::UniqueFile lock(CreateFileW((folder_ / L"locked").c_str(), GENERIC_READ,
                                         /*share=*/0, /*security=*/nullptr, OPEN_EXISTING,
                                         FILE_FLAG_BACKUP_SEMANTICS, /*template=*/nullptr));
  ASSERT_TRUE(lock);
  EXPECT_EQ(Walk(folder_ / L""), DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_THAT(seen_, ElementsAre(L"locked")) << "it is visited, only not entered";
}

}  // namespace
