#include "module/jobs/file_operation_manager.h"

#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/jobs/temp_folder.h"
#include "module/jobs/upload_archive.h"

#include <shlwapi.h>

namespace orn::RemoteAccess {

FileOperationManager::FileOperationManager() : worker_(CreateUploadArchive) {}

void FileOperationManager::SetEvents(FileOperationManagerEvents* events) {
  worker_.SetEvents(events);
}

// Jobs.

void FileOperationManager::AddJob(const StringT<wchar_t>& jobId,
                                  const std::shared_ptr<FileOperationJob>& job) {
  jobs_.Add(jobId, job);
}

void FileOperationManager::RemoveJob(const StringT<wchar_t>& jobId) {
  jobs_.Remove(jobId);
}

std::shared_ptr<FileOperationJob> FileOperationManager::FindJob(const StringT<wchar_t>& jobId) {
  return jobs_.Find(jobId);
}

std::optional<JobOfOperation> FileOperationManager::FindJobByOperationId(
    const StringT<wchar_t>& operationId, uint32_t type) {
  return jobs_.FindByOperationId(operationId, type);
}

StringT<wchar_t> FileOperationManager::GetJobOperationId(const StringT<wchar_t>& jobId,
                                                         uint32_t type) {
  return jobs_.GetOperationId(jobId, type);
}

void FileOperationManager::AssignOperationIdToJob(const UploadArchiveTask& task,
                                                  const StringT<wchar_t>& operationId) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::FileOperationManager::AssignOperationIdToJob");
  if (!jobs_.AssignOperationId(task.jobId, operationId)) {
    ORN_LOG(logging::kWarning, trace.function(), L"No FileOperationJob found for jobId=[%s].",
            task.jobId.c_str());
  }
}

// Uploads that the storage has taken.

void FileOperationManager::AddUploadArchiveCache(const StringT<wchar_t>& jobId,
                                                 const UploadArchiveCache& cache) {
  const std::lock_guard lock(cache_mutex_);
  cache_.try_emplace(jobId, cache);
}

bool FileOperationManager::TakeUploadArchiveCache(const StringT<wchar_t>& jobId,
                                                  UploadArchiveCache& out) {
  const std::lock_guard lock(cache_mutex_);
  const auto found = cache_.find(jobId);
  if (found == cache_.end()) return false;
  out = found->second;
  cache_.erase(found);
  return true;
}

// Archives.

uint32_t FileOperationManager::PrepareUploadArchive(const StringT<wchar_t>& jobId,
                                                    const UploadArchiveInput& input) {
  return worker_.Prepare(jobId, input);
}

uint32_t FileOperationManager::CancelUploadArchivePreparation(const StringT<wchar_t>& jobId) {
  return worker_.Cancel(jobId);
}

void FileOperationManager::DeleteTmpUploadArchive(const PathStringT<260>& archivePath) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::FileOperationManager::DeleteTmpUploadArchive");
  if (PathFileExistsW(archivePath.c_str()) && !DeleteFileW(archivePath.c_str())) {
    ORN_LOG(logging::kWarning, trace.function(), L"Could not delete archive: [%s] [%d]",
            archivePath.c_str(), GetLastError());
  }
  PathStringT<260> folder(archivePath);
  PathRemoveFileSpecW(folder.data());
  folder.UpdateLength();
  const PathStringT<260> root = TempRootFolder(kArchiveTempRoot);
  if (folder.empty() || root.empty() ||
      folder.view().find(root.view()) == std::wstring_view::npos) {
    ORN_LOG(logging::kWarning, trace.function(), L"Unsafe delete of archive temp folder: [%s]",
            folder.c_str());
    return;
  }
  if (!DeleteFolderRecursively(folder)) {
    ORN_LOG(logging::kWarning, trace.function(), L"Could not delete archive temp folder: [%s] [%d]",
            folder.c_str(), GetLastError());
  }
}

void FileOperationManager::Stop() {
  worker_.Stop();
}

void FileOperationManager::Uninit() {
  CleanupTempRootFolder(L"orn::RemoteAccess::FileOperationManager::CleanupTempRootFolder",
                        kArchiveTempRoot);
}

}  // namespace orn::RemoteAccess
