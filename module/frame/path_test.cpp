#include "module/frame/path.h"

#include <gtest/gtest.h>

#include "module/frame/testing/folder_link.h"
#include "module/frame/testing/test_folder.h"

namespace orn {
namespace {

using Path = PathStringT<260>;

TEST(PathTest, JoinPutsOneSeparatorBetween) {
  const std::wstring long_name(300, L'n');
  const struct {
    std::wstring left, right, joined;
  } cases[] = {
      {L"C:\\a\\", L"\\b", L"C:\\a\\b"},
      {L"C:\\a", L"b", L"C:\\a\\b"},
      {L"C:/a/", L"//\\b/", L"C:/a/b/"},
      {L"a", L"", L"a"},
      {L"", L"\\b", L"b"},
      {L"a", L"\\", L"a\\"},
      {L"C:\\" + long_name, long_name, L"C:\\" + long_name + L"\\" + long_name},
  };
  for (const auto& [left, right, joined] : cases) {
    Path path(left.c_str());
    AppendPath(path, right);
    EXPECT_EQ(path.view(), joined);
  }
}

TEST(PathTest, FoldersOfTheMachineEndInABackslash) {
  Path path;
  ASSERT_TRUE(GetTempFolder(path));
  EXPECT_TRUE(path.view().ends_with(L'\\') && Exists(std::wstring(path.view())));
  wchar_t program[1000];
  GetModuleFileNameW(nullptr, program, 1000);
  ASSERT_TRUE(GetModuleFolder(path));
  const std::wstring_view name(program);
  EXPECT_EQ(path.view(), name.substr(0, name.rfind(L'\\') + 1));
}

TEST(PathTest, FoldersAreCreatedWithAllThatIsMissingAbove) {
  const TestFolder folder;
  for (const wchar_t* name : {L"a\\b\\c", L"d\\e\\", L"d\\e\\f\\g"}) {
    Path path((folder / name).c_str());
    EXPECT_TRUE(CreateFolderRecursively(path)) << GetLastError();
    EXPECT_TRUE(CreateFolderRecursively(path));
    EXPECT_TRUE(Exists(folder / name));
  }
  const std::wstring file = folder.File(L"file");
  Path path(file.c_str());
  EXPECT_TRUE(CreateFolderRecursively(path));
  path = (file + L"\\below").c_str();
  EXPECT_FALSE(CreateFolderRecursively(path));

  path = L"Q:\\on\\no\\drive";
  EXPECT_FALSE(CreateFolderRecursively(path));
  path = L"Q:";
  for (int i = 0; i < 4'000; ++i)
    path += L"\\x";
  EXPECT_FALSE(CreateFolderRecursively(path));
}

TEST(PathTest, ReadOnlyFilesAndFoldersAreDeleted) {
  const TestFolder folder;
  const std::wstring top = folder.Folder(L"top");
  folder.File(L"top\\read-only", FILE_ATTRIBUTE_READONLY);
  folder.Folder(L"top\\below");
  folder.File(L"top\\below\\hidden", FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY);
  SetFileAttributesW((folder / L"top\\below").c_str(), FILE_ATTRIBUTE_READONLY);
  SetFileAttributesW(top.c_str(), FILE_ATTRIBUTE_READONLY);
  Path path(top.c_str());
  EXPECT_TRUE(DeleteFolderRecursively(path));
  EXPECT_FALSE(Exists(top));
  EXPECT_EQ(path.view(), top);

  EXPECT_FALSE(DeleteFolderRecursively(path));
  path = folder.File(L"file").c_str();
  EXPECT_FALSE(DeleteFolderRecursively(path));
  EXPECT_TRUE(Exists(folder / L"file"));
}

TEST(PathTest, DeletionGoesOnAroundALockedFile) {
  const TestFolder folder;
  Path path(folder.Folder(L"top").c_str());
  folder.Folder(L"top\\below");
  for (const wchar_t* name :
       {L"top\\a", L"top\\below\\a", L"top\\below\\locked", L"top\\below\\z", L"top\\z"}) {
    folder.File(name);
  }
  {
    const UniqueFile lock = folder.Lock(L"top\\below\\locked");
    EXPECT_FALSE(DeleteFolderRecursively(path));
  }
  EXPECT_TRUE(Exists(folder / L"top\\below\\locked"));
  for (const wchar_t* name : {L"top\\a", L"top\\below\\a", L"top\\below\\z", L"top\\z"}) {
    EXPECT_FALSE(Exists(folder / name)) << name;
  }
  EXPECT_TRUE(DeleteFolderRecursively(path));
}

TEST(PathTest, WhatALinkLeadsToIsNotDeleted) {
  const TestFolder folder;
  folder.Folder(L"target");
  const std::wstring kept = folder.File(L"target\\kept");
  const FolderLink link(folder.path(), L"link", L"target");
  ASSERT_TRUE(Exists(folder / L"link\\kept"));
  Path path((folder / L"link").c_str());
  const bool deleted = DeleteFolderRecursively(path);
  EXPECT_TRUE(Exists(kept));
  EXPECT_EQ(deleted, !IsWine());  // Wine takes a link for a folder that is not empty.
}

}  // namespace
}  // namespace orn
