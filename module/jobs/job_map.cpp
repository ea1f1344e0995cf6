#include "module/jobs/job_map.h"

namespace orn::RemoteAccess {

void JobMap::Add(const StringT<wchar_t>& jobId, const std::shared_ptr<FileOperationJob>& job) {
  const std::lock_guard lock(mutex_);
  jobs_.try_emplace(jobId, job);
}

void JobMap::Remove(const StringT<wchar_t>& jobId) {
  const std::lock_guard lock(mutex_);
  jobs_.erase(jobId);
}

std::shared_ptr<FileOperationJob> JobMap::Find(const StringT<wchar_t>& jobId) {
  const std::lock_guard lock(mutex_);
  const auto found = jobs_.find(jobId);
  return found == jobs_.end() ? nullptr : found->second;
}

std::optional<JobOfOperation> JobMap::FindByOperationId(const StringT<wchar_t>& operationId,
                                                        uint32_t type) {
  const std::lock_guard lock(mutex_);
  for (const auto& [jobId, job] : jobs_) {
    if (job->type == type && job->operationId == operationId) return JobOfOperation{jobId, job};
  }
  return std::nullopt;
}

StringT<wchar_t> JobMap::GetOperationId(const StringT<wchar_t>& jobId, uint32_t type) {
  const std::lock_guard lock(mutex_);
  const auto found = jobs_.find(jobId);
  if (found == jobs_.end() || found->second->type != type) return {};
  return found->second->operationId;
}

bool JobMap::AssignOperationId(const StringT<wchar_t>& jobId, const StringT<wchar_t>& operationId) {
  const std::lock_guard lock(mutex_);
  const auto found = jobs_.find(jobId);
  if (found == jobs_.end()) return false;
  found->second->operationId = operationId;
  return true;
}

}  // namespace orn::RemoteAccess
