// With the real 7z.dll.

#include "module/jobs/upload_archive.h"

#include <gmock/gmock.h>

#include <string>

#include "module/jobs/testing/own_temp_folder.h"

namespace {

using namespace orn::RemoteAccess;
using testing::ElementsAre;

orn::UniqueFile Lock(const std::wstring& path) {
  return orn::UniqueFile(CreateFileW(path.c_str(), GENERIC_READ, /*share=*/0, nullptr,
                                     OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

class UploadArchive : public testing::Test {
 protected:
  // The items' codes with their words.
  std::vector<std::wstring> Create(const std::vector<std::wstring>& paths) {
    UploadArchiveMetadata metadata;
    for (const std::wstring& path : paths)
      metadata.items.push_back({.pattern = path.c_str(), .errorCode = 995, .error = {}});
    CreateUploadArchive(task_, metadata, control_);
    std::vector<std::wstring> results;
    for (const UploadItemResult& item : metadata.items)
      results.push_back(std::to_wstring(item.errorCode) + L" " + item.error.c_str());
    return results;
  }

  const OwnTempFolder temp_;
  const TestFolder folder_;
  UploadArchiveTask task_;
  PackingControl control_;
};

TEST_F(UploadArchive, EachItemGetsItsCodeAndWordAndTheOthersArePacked) {
  folder_.File(L"a.txt");
  for (const wchar_t* const name :
       {L"empty", L"hollow", L"hollow\\x", L"partly", L"torn", L"torn\\sealed"})
    folder_.Folder(name);
  folder_.File(L"partly\\free");
  folder_.File(L"partly\\locked");
  const orn::UniqueFile locked = Lock(folder_ / L"partly\\locked");
  const orn::UniqueFile sealed = Lock(folder_ / L"torn\\sealed");
  task_.input.name = L"report";
  EXPECT_THAT(
      Create({folder_ / L"a.txt", folder_ / L"missing", L"a.txt", L"", folder_ / L"empty",
              folder_ / L"hollow", folder_ / L"partly", folder_ / L"torn", folder_ / L"a.txt"}),
      ElementsAre(L"0 success", L"2 path not found", L"267 relative path", L"161 bad path name",
                  L"232 empty directory", L"0 success", L"996 incomplete packing",
                  L"1359 internal error", L"0 success"));
  EXPECT_EQ(task_.result, 0u);
  EXPECT_TRUE(task_.archivePath.view().ends_with(L"\\report.zip"));
  EXPECT_TRUE(Exists(task_.archivePath.c_str()));

  task_.input.name = L"report.x";
  EXPECT_THAT(Create({folder_ / L"hollow"}), ElementsAre(L"0 success"));
  EXPECT_EQ(task_.result, 0u) << "of no file, but the item counts";
  EXPECT_TRUE(task_.archivePath.view().ends_with(L"\\report.x"));
  Create({folder_ / L"empty", folder_ / L"torn"});
  EXPECT_EQ(task_.result, 1627u);
  EXPECT_FALSE(Exists(task_.archivePath.c_str()));
}

TEST_F(UploadArchive, WishToEndIsMetBeforeTheNextItemAndForgotten) {
  folder_.File(L"a.txt");
  task_.input.name = L"report";
  control_.SetStopped(true);
  EXPECT_THAT(Create({folder_ / L"a.txt", folder_ / L"a.txt"}),
              ElementsAre(L"995 not processed", L"995 "));
  EXPECT_EQ(task_.result, 1627u) << "nothing was packed by then";
  control_.SetStopped(false);
  task_.archivePath.clear();
  control_.SetCancelled();
  EXPECT_THAT(Create({folder_ / L"a.txt"}), ElementsAre(L"995 "));
  EXPECT_EQ(task_.result, 1223u);
  EXPECT_TRUE(task_.archivePath.empty());
  EXPECT_THAT(Create({folder_ / L"a.txt"}), ElementsAre(L"0 success"));
  EXPECT_EQ(task_.result, 0u);
}

}  // namespace
