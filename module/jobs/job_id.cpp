#include "module/jobs/job_id.h"

#include "module/frame/error_codes.h"
#include "module/frame/guid.h"
#include "module/frame/log.h"

namespace orn::RemoteAccess {

namespace {

constexpr size_t kLongestJobId = 50;

}  // namespace

uint32_t ValidateJobId(FileOperationManager& jobs, const StringT<wchar_t>& jobId) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::ValidateJobId");
  if (jobId.length() > kLongestJobId) {
    ORN_LOG(logging::kWarning, trace.function(), L"Too long jobId.");
    return error::kJobIdTooLong;
  }
  if (jobs.FindJob(jobId) != nullptr) {
    ORN_LOG(logging::kWarning, trace.function(), L"JobId already in use.");
    return error::kJobIdInUse;
  }
  return error::kSuccess;
}

StringT<wchar_t> ChooseJobId(const StringT<wchar_t>& jobId) {
  return jobId.empty() ? GenerateGuid() : jobId;
}

}  // namespace orn::RemoteAccess
