#include "module/frame/path.h"

#include <gtest/gtest.h>

#include "module/frame/delete_path.h"
#include "module/frame/testing/test_folder.h"
#include "module/frame/utf.h"

namespace orn {
namespace {

using Path = PathStringT<260>;

// In a folder of its own; two.tmp and below are read-only.
constexpr const wchar_t* kFiles[] = {L"top\\keep.log", L"top\\one.tmp", L"top\\two.tmp",
                                     L"top\\below\\keep.log", L"top\\below\\three.tmp"};

class DeletionTest : public testing::Test {
 protected:
  DeletionTest() {
    folder_.Folder(L"top");
    folder_.Folder(L"top\\below");
    for (const wchar_t* name : kFiles)
      folder_.File(name);
    for (const wchar_t* name : {L"top\\two.tmp", L"top\\below"})
      SetFileAttributesW((folder_ / name).c_str(), FILE_ATTRIBUTE_READONLY);
  }

  bool Delete(std::function<bool(const Path&)> skip = nullptr) {
    return detail::DeletePath(top_.c_str(), reboot_needed_, all_deleted_, /*recursive=*/true,
                              std::move(skip), detail::kAskForAttributes, /*pattern=*/L"*",
                              /*use_pattern_below=*/false);
  }
  // What is left of the files, in that order.
  std::string Left() const {
    std::string left;
    for (const wchar_t* name : kFiles)
      left += Exists(folder_ / name) ? '+' : '-';
    return left;
  }

  const TestFolder folder_;
  Path top_{(folder_ / L"top").c_str()};
  bool reboot_needed_ = false;
  bool all_deleted_ = true;
};

TEST(PathTest, FoldersAreCreatedWithAllThatIsMissingAbove) {
  const TestFolder folder;
  for (const wchar_t* name : {L"a\\b\\c", L"d\\e\\", L"d\\e\\f\\g"}) {
    Path path((folder / name).c_str());
    EXPECT_TRUE(CreateFolderRecursively(path)) << GetLastError();
    EXPECT_TRUE(Exists(folder / name));
  }
  folder.File(L"file");
  Path path((folder / L"file\\below").c_str());
  EXPECT_FALSE(CreateFolderRecursively(path));
  path = L"Q:";  // There is no such drive.
  for (int i = 0; i < 4'000; ++i)
    path += L"\\x";
  EXPECT_FALSE(CreateFolderRecursively(path));
}

TEST(PathTest, NormalFormKeepsTheRootAndWhatSaysThatItIsAFolder) {
  static constexpr const wchar_t* kForms[][2] = {
      {L"", L""},
      {L"C:/a//.\\b/../c", L"C:\\a\\c"},
      {L"C:\\a\\b\\", L"C:\\a\\b\\"},
      {L"C:\\a\\b\\.", L"C:\\a\\b\\"},
      {L"C:\\a\\b\\..", L"C:\\a\\"},
      {L"C:\\..\\..\\a\\...", L"C:\\a\\..."},
      {L"C:\\a\\..", L"C:\\"},
      {L"C:a\\..\\..\\b", L"C:..\\b"},
      {L"C:.", L"C:"},
      {L"//server/share/../..", L"\\\\server\\"},
      {L"\\\\server", L"\\\\server"},
      {L"\\\\?\\C:\\a\\..\\b\\", L"\\\\?\\C:\\b\\"},
      {L"//./pipe/./x", L"\\\\.\\pipe\\x"},
      {L"\\??\\C:\\..\\..", L"\\??\\"},
      {L"\\\\\\a\\\\", L"\\a\\"},
      {L"..\\a\\..\\..\\", L"..\\.."},
      {L"a\\..\\", L"."},
      {L"./", L"."},
      {L"1:\\..\\a", L"a"},
  };
  for (const auto& [path, normal] : kForms) {
    Path it(path);
    NormalizePath(it);
    EXPECT_EQ(it, normal) << ToUtf8(path).c_str() << " gives " << ToUtf8(it.view()).c_str();
    NormalizePath(it);
    EXPECT_EQ(it, normal);
  }
}

TEST_F(DeletionTest, ReadOnlyEntriesGoAndALockedOneKeepsOnlyWhatIsAboveIt) {
  {
    const UniqueFile lock = folder_.File(L"top\\below\\keep.log");
    EXPECT_FALSE(DeleteFolderRecursively(top_));
    EXPECT_EQ(Left(), "---+-");
  }
  EXPECT_TRUE(DeleteFolderRecursively(top_));
  EXPECT_FALSE(Exists(folder_ / L"top"));
  EXPECT_EQ(top_, folder_ / L"top");
  folder_.File(L"file");
  top_ = (folder_ / L"file").c_str();
  EXPECT_FALSE(DeleteFolderRecursively(top_));
  EXPECT_TRUE(Exists(folder_ / L"file"));
}

TEST_F(DeletionTest, SkippedPathIsKeptWithTheFoldersAboveItAndALockedOneIsLeftToTheRestart) {
  EXPECT_TRUE(Delete([&](const Path& path) { return path == folder_ / L"top\\below\\keep.log"; }));
  EXPECT_FALSE(all_deleted_ || reboot_needed_);
  EXPECT_EQ(Left(), "---+-");

  const UniqueFile lock = folder_.File(L"top\\below\\keep.log");
  all_deleted_ = true;
  EXPECT_TRUE(Delete());
  EXPECT_TRUE(reboot_needed_ && all_deleted_);
  EXPECT_EQ(Left(), "---+-");
}

}  // namespace
}  // namespace orn
