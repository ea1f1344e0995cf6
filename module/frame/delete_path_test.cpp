#include "module/frame/delete_path.h"

#include <gtest/gtest.h>

#include "module/frame/testing/folder_link.h"
#include "module/frame/testing/test_folder.h"

namespace orn::detail {
namespace {

using Path = PathStringT<260>;

// top\{keep.log, one.tmp, two.tmp (read-only)}, top\below\{keep.log, three.tmp}
class DeletePathTest : public testing::Test {
 protected:
  DeletePathTest() {
    folder_.Folder(L"top");
    folder_.Folder(L"top\\below");
    for (const wchar_t* name :
         {L"top\\keep.log", L"top\\one.tmp", L"top\\below\\keep.log", L"top\\below\\three.tmp"}) {
      folder_.File(name);
    }
    folder_.File(L"top\\two.tmp", FILE_ATTRIBUTE_READONLY);
  }

  bool Delete(const wchar_t* pattern, bool recursive = true, bool use_pattern_below = false,
              std::function<bool(const Path&)> skip = nullptr) {
    return DeletePath((folder_ / L"top").c_str(), reboot_needed_, all_deleted_, recursive,
                      std::move(skip), kAskForAttributes, pattern, use_pattern_below);
  }
  bool IsThere(const wchar_t* name) const { return Exists(folder_ / name); }

  const TestFolder folder_;
  bool reboot_needed_ = false;
  bool all_deleted_ = true;
};

TEST_F(DeletePathTest, FolderGoesUnlessThePatternFindsNothing) {
  const std::wstring top = folder_ / L"top";
  for (const wchar_t* pattern : {L"", L"*.nothing"}) {
    EXPECT_TRUE(DeletePath(top.c_str(), reboot_needed_, nullptr, pattern));
    EXPECT_TRUE(IsThere(L"top\\one.tmp"));
  }
  EXPECT_TRUE(DeletePath(top.c_str(), reboot_needed_, nullptr, L"*"));
  EXPECT_FALSE(IsThere(L"top"));
  EXPECT_FALSE(DeletePath(top.c_str(), reboot_needed_, nullptr, L"*"));
  EXPECT_FALSE(Delete(L"*") || reboot_needed_);
}

TEST_F(DeletePathTest, PatternHoldsAtTheTopAndBelowWhereAskedFor) {
  {
    // Only names that match are entered, and below them all goes.
    EXPECT_TRUE(Delete(L"b*"));
    EXPECT_FALSE(IsThere(L"top\\below"));
    EXPECT_TRUE(IsThere(L"top\\keep.log") && IsThere(L"top\\one.tmp"));
    EXPECT_TRUE(reboot_needed_);  // The folder, which is not empty.
  }
  {
    reboot_needed_ = false;
    folder_.Folder(L"top\\below.tmp");
    folder_.File(L"top\\below.tmp\\x.log");
    folder_.File(L"top\\below.tmp\\x.tmp");
    EXPECT_TRUE(Delete(L"*.tmp", /*recursive=*/true, /*use_pattern_below=*/true));
    EXPECT_TRUE(IsThere(L"top\\below.tmp\\x.log") && IsThere(L"top\\keep.log"));
    EXPECT_FALSE(IsThere(L"top\\below.tmp\\x.tmp") || IsThere(L"top\\one.tmp"));
  }
}

TEST_F(DeletePathTest, FoldersStayWhereItIsNotRecursive) {
  EXPECT_TRUE(Delete(L"*", /*recursive=*/false));
  EXPECT_TRUE(IsThere(L"top\\below\\three.tmp"));
  EXPECT_FALSE(IsThere(L"top\\one.tmp") || IsThere(L"top\\two.tmp"));
}

TEST_F(DeletePathTest, SkippedPathIsKeptWithTheFoldersAboveIt) {
  EXPECT_TRUE(Delete(L"*", true, false,
                     [&](const Path& path) { return path == folder_ / L"top\\below\\keep.log"; }));
  EXPECT_FALSE(all_deleted_ || reboot_needed_);
  EXPECT_TRUE(IsThere(L"top\\below\\keep.log"));
  EXPECT_FALSE(IsThere(L"top\\keep.log") || IsThere(L"top\\below\\three.tmp"));
  all_deleted_ = true;
  EXPECT_TRUE(Delete(L"*", true, false, [](const Path&) { return true; }));
  EXPECT_FALSE(all_deleted_);
}

TEST_F(DeletePathTest, LockedFileIsLeftToTheRestart) {
  const UniqueFile lock = folder_.Lock(L"top\\below\\keep.log");
  EXPECT_TRUE(Delete(L"*"));
  EXPECT_TRUE(reboot_needed_ && all_deleted_);
  EXPECT_TRUE(IsThere(L"top\\below\\keep.log"));
  EXPECT_FALSE(IsThere(L"top\\below\\three.tmp") || IsThere(L"top\\one.tmp"));
}

TEST_F(DeletePathTest, WhatALinkLeadsToIsNotDeleted) {
  const FolderLink link(folder_ / L"top", L"link", L"below");
  ASSERT_TRUE(IsThere(L"top\\link\\three.tmp"));
  EXPECT_TRUE(Delete(L"li*"));
  EXPECT_TRUE(DeletePath((folder_ / L"top\\link").c_str(), reboot_needed_, nullptr, L"*"));
  EXPECT_TRUE(IsThere(L"top\\below\\three.tmp"));
}

}  // namespace
}  // namespace orn::detail
