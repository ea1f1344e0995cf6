#include "module/jobs/file_operation_manager.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "module/jobs/temp_folder.h"
#include "module/jobs/testing/own_temp_folder.h"
#include "module/jobs/upload_archive.h"

namespace {

using namespace orn::RemoteAccess;

std::shared_ptr<FileOperationJob> Job(uint32_t type, const wchar_t* operation) {
  auto job = std::make_shared<FileOperationJob>();
  job->type = type;
  job->operationId = operation;
  return job;
}

TEST(FileOperationManager, JobsAreFoundByEitherIdAndFirstComeStays) {
  FileOperationManager jobs;
  const auto upload = Job(kUploadJob, L"");
  jobs.AddJob(L"A", upload);
  jobs.AddJob(L"A", Job(kDownloadJob, L"1"));
  jobs.AddJob(L"a", Job(kDownloadJob, L"1"));
  EXPECT_TRUE(jobs.GetJobOperationId(L"a", kUploadJob).empty());
  EXPECT_FALSE(jobs.FindJobByOperationId(L"1", kUploadJob));
  EXPECT_EQ(jobs.FindJobByOperationId(L"", kUploadJob).value().job, upload) << "in preparation";
  UploadArchiveTask task;
  task.jobId = L"A";
  jobs.AssignOperationIdToJob(task, L"1");
  jobs.RemoveJob(L"A");
  jobs.AssignOperationIdToJob(task, L"2");
  EXPECT_EQ(upload->operationId, L"1");

  UploadArchiveCache cache;
  jobs.AddUploadArchiveCache(L"A", {.archivePath = L"first", .metadata = {}});
  jobs.AddUploadArchiveCache(L"A", {.archivePath = L"second", .metadata = {}});
  EXPECT_TRUE(jobs.TakeUploadArchiveCache(L"A", cache));
  EXPECT_EQ(cache.archivePath, L"first");
  EXPECT_FALSE(jobs.TakeUploadArchiveCache(L"A", cache));
}

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
