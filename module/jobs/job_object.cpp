#include "module/jobs/job_object.h"

#include "module/frame/log.h"

namespace orn {

UniqueHandle CreateKillOnCloseJob(const wchar_t* function) {
  UniqueHandle job(CreateJobObjectW(/*security=*/nullptr, /*name=*/nullptr));
  if (!job) {
    ORN_LOG(logging::kError, function, L"Could not create job object: %d", GetLastError());
    return job;
  }
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  if (!SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                               sizeof(limits))) {
    // The job is of use without the limit, too.
    ORN_LOG(logging::kError, function, L"SetInformationJobObject failed: %d", GetLastError());
  }
  return job;
}

}  // namespace orn
