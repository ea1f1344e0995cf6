#include "module/jobs/file_operation_manager.h"

#include <gtest/gtest.h>

#include <string>

#include "module/jobs/temp_folder.h"
#include "module/jobs/testing/own_temp_folder.h"
#include "module/jobs/upload_archive.h"

namespace {

using namespace orn::RemoteAccess;

TEST(FileOperationManager, DeletesAnArchiveWithItsFolderAndNothingOutsideOfTheRoot) {
  const OwnTempFolder temp;
  FileOperationManager jobs;
  const TestFolder elsewhere;
  elsewhere.File(L"b.txt");
  jobs.DeleteTmpUploadArchive(L"");
  jobs.DeleteTmpUploadArchive((elsewhere / L"a.zip").c_str());
  EXPECT_TRUE(Exists(elsewhere / L"b.txt"));

  auto archive = orn::GenerateTempFolder(L"", kArchiveTempRoot);
  const std::wstring folder = archive.c_str();
  archive += L"\\a.zip";
  jobs.DeleteTmpUploadArchive(archive);
  EXPECT_FALSE(Exists(folder));
  jobs.Uninit();
  EXPECT_FALSE(Exists(orn::TempRootFolder(kArchiveTempRoot).c_str()));
}

}  // namespace
