#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "module/frame/id_hash.h"
#include "module/frame/path_string.h"
#include "module/frame/string.h"
#include "module/jobs/file_operation.h"
#include "module/jobs/job_map.h"
#include "module/jobs/upload_archive_worker.h"

namespace orn::RemoteAccess {

// The file jobs by id, and the one worker that packs the archives of uploads, one at a time, with
// at most 30 waiting. Any thread, unless said otherwise.
class FileOperationManager {
 public:
  FileOperationManager();
  FileOperationManager(const FileOperationManager&) = delete;
  FileOperationManager& operator=(const FileOperationManager&) = delete;
  ~FileOperationManager() = default;

  // Not owned, and must live until Stop and the cancels have returned; null: nobody is told.
  void SetEvents(FileOperationManagerEvents* events);

  // Jobs. An id that is there already keeps its job.
  void AddJob(const StringT<wchar_t>& jobId, const std::shared_ptr<FileOperationJob>& job);
  void RemoveJob(const StringT<wchar_t>& jobId);
  std::shared_ptr<FileOperationJob> FindJob(const StringT<wchar_t>& jobId);
  std::optional<JobOfOperation> FindJobByOperationId(const StringT<wchar_t>& operationId,
                                                     uint32_t type);
  // Empty where there is no such job of that type.
  StringT<wchar_t> GetJobOperationId(const StringT<wchar_t>& jobId, uint32_t type);
  // Only logs where the job has gone.
  void AssignOperationIdToJob(const UploadArchiveTask& task, const StringT<wchar_t>& operationId);

  // Uploads that the storage has taken. An id that is there already keeps its entry.
  void AddUploadArchiveCache(const StringT<wchar_t>& jobId, const UploadArchiveCache& cache);
  bool TakeUploadArchiveCache(const StringT<wchar_t>& jobId, UploadArchiveCache& out);

  // Archives. 170 where too many tasks wait already.
  uint32_t PrepareUploadArchive(const StringT<wchar_t>& jobId, const UploadArchiveInput& input);
  // 0 where the task was waiting or being packed: its end is told with the result 1223. 6 where
  // there is no such task.
  uint32_t CancelUploadArchivePreparation(const StringT<wchar_t>& jobId);
  // Deletes the archive with the folder that was made for it, and nothing outside of the root of
  // such folders.
  void DeleteTmpUploadArchive(const PathStringT<260>& archivePath);

  // Ends the packing and the worker, and hands out what waits. It takes no tasks afterwards.
  void Stop();
  // After Stop: removes the root of the temporary folders.
  void Uninit();

 private:
  JobMap jobs_;
  UploadArchiveWorker worker_;
  std::mutex cache_mutex_;  // Nothing else is locked or called under it.
  // Guarded by cache_mutex_.
  std::unordered_map<StringT<wchar_t>, UploadArchiveCache, IdHash> cache_;
};

}  // namespace orn::RemoteAccess
