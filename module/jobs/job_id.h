#pragma once

#include <cstdint>

#include "module/frame/string.h"
#include "module/jobs/file_operation_manager.h"

namespace orn::RemoteAccess {

// Whether a caller may give this id to a new job: 0; 8348 where it has more than 50 UTF-16 units;
// 1375 where a job has it. An empty id asks for one to be chosen. What passes here is not reserved:
// of two starts with one id at the same moment both may pass.
uint32_t ValidateJobId(FileOperationManager& jobs, const StringT<wchar_t>& jobId);

// The id that a new job gets: the caller's or a new GUID.
StringT<wchar_t> ChooseJobId(const StringT<wchar_t>& jobId);

}  // namespace orn::RemoteAccess
