#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "module/frame/id_hash.h"
#include "module/jobs/file_operation.h"

namespace orn::RemoteAccess {

struct JobOfOperation {
  StringT<wchar_t> jobId;
  std::shared_ptr<FileOperationJob> job;
};

// The jobs that run, by their id. Any thread; nothing else is locked or called under its mutex.
class JobMap {
 public:
  // An id that is there already keeps its job.
  void Add(const StringT<wchar_t>& jobId, const std::shared_ptr<FileOperationJob>& job);
  void Remove(const StringT<wchar_t>& jobId);
  // Null where there is none.
  std::shared_ptr<FileOperationJob> Find(const StringT<wchar_t>& jobId);
  // An empty id finds an upload that is still being prepared.
  std::optional<JobOfOperation> FindByOperationId(const StringT<wchar_t>& operationId,
                                                  uint32_t type);
  // Empty where there is no such job of that type.
  StringT<wchar_t> GetOperationId(const StringT<wchar_t>& jobId, uint32_t type);
  // False where the job has gone.
  bool AssignOperationId(const StringT<wchar_t>& jobId, const StringT<wchar_t>& operationId);

 private:
  std::mutex mutex_;
  // Guarded by mutex_.
  std::unordered_map<StringT<wchar_t>, std::shared_ptr<FileOperationJob>, IdHash> jobs_;
};

}  // namespace orn::RemoteAccess
