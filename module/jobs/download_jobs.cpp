#include "module/jobs/download_jobs.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/frame/windows.h"
#include "module/jobs/job_id.h"
#include "module/jobs/reasons.h"

#include <shlwapi.h>

namespace orn::RemoteAccess {

namespace {

using Status = DownloadMetadata::Status;

bool HasFailed(const DownloadItemResult& item) {
  return item.errorCode != 0;
}

void DeleteArrivedFiles(const std::vector<DownloadItemResult>& items) {
  for (const DownloadItemResult& item : items) {
    if (HasFailed(item) || !PathFileExistsW(item.to.c_str())) continue;
    if (!DeleteFileW(item.to.c_str())) {
      ORN_LOG(logging::kError, L"orn::RemoteAccess::RemoteAccessAL::OnDownloadFinished",
              L"Failed to cleanup %s, error = %d", item.to.c_str(), GetLastError());
    }
  }
}

// What the storage says of the transfer as a whole plays no part: one good item is a success.
Status StatusOf(const std::vector<DownloadItemResult>& items) {
  return std::ranges::all_of(items, HasFailed) ? Status::kFailed : Status::kSuccess;
}

}  // namespace

uint32_t DownloadJobs::StartDownload(const DownloadInput& input, OperationResponse& response) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::StartDownload");
  response.runContext = input.runContext;
  const uint32_t refusal = Admit(input);
  response.message = DownloadReason(refusal);
  if (refusal != error::kSuccess) return refusal;

  DownloadInput request = input;
  for (DownloadItem& item : request.items)
    NormalizePath(item.to);
  auto job = std::make_shared<FileOperationJob>();
  const uint32_t result = storage_->Download(request, response, job->operationId);
  if (result != error::kSuccess) {
    ORN_LOG(logging::kError, trace.function(), L"Download failed: [%d]", result);
    telemetry_.ProcessToolRanEventForDownload("FailedToStart::CentralizedStorageError",
                                              static_cast<int32_t>(result));
    return result;
  }
  response.jobId = ChooseJobId(input.jobId);
  job->streamId = input.streamId;
  job->type = kDownloadJob;
  jobs_.AddJob(response.jobId, job);
  return error::kSuccess;
}

uint32_t DownloadJobs::Admit(const DownloadInput& input) {
  static constexpr wchar_t kFunction[] = L"orn::RemoteAccess::RemoteAccessAL::StartDownload";
  if (!enabled_.IsOn()) {
    ORN_LOG(logging::kWarning, kFunction, L"Feature is disabled");
    telemetry_.ProcessToolRanEventForDownload("FailedToStart::Disabled", error::kDisabled);
    return error::kDisabled;
  }
  if (!storage_) {
    ORN_LOG(logging::kError, kFunction, L"Plugin not available.");
    telemetry_.ProcessToolRanEventForDownload("FailedToStart::PluginMissing", error::kInternal);
    return error::kInternal;
  }
  const uint32_t code = ValidateDownloadInput(input);
  if (code != error::kSuccess) {
    ORN_LOG(logging::kWarning, kFunction, L"Invalid downloadInput.");
    telemetry_.ProcessToolRanEventForDownload("FailedToStart::InvalidInput",
                                              static_cast<int32_t>(code));
  }
  return code;
}

uint32_t DownloadJobs::ValidateDownloadInput(const DownloadInput& input) {
  return ValidateJobId(jobs_, input.jobId);
}

uint32_t DownloadJobs::CancelDownload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::CancelDownload");
  uint32_t result = error::kInternal;
  if (!storage_) {
    ORN_LOG(logging::kError, trace.function(), L"CentralizedStoragePlugin is not available.");
  } else if (const StringT<wchar_t> operation = jobs_.GetJobOperationId(jobId, kDownloadJob);
             !operation.empty()) {
    result = storage_->CancelDownload(operation);
  } else {
    ORN_LOG(logging::kWarning, trace.function(),
            L"Job id (%s) has no associated active download task", jobId.c_str());
    result = error::kInvalidHandle;
  }
  message = CancelReason(result);
  return result;
}

uint32_t DownloadJobs::OnDownloadFinished(const StringT<wchar_t>& downloadId,
                                          const DownloadMetadata& metadata) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::OnDownloadFinished");
  const auto found = jobs_.FindJobByOperationId(downloadId, kDownloadJob);
  if (!found) return error::kSuccess;
  ORN_LOG(logging::kInformation, trace.function(),
          L"Processing DownloadMetadata for downloadId: [%s]", downloadId.c_str());
  DownloadMetadata report{.items = metadata.items,
                          .runContext = metadata.runContext,
                          .centralizedStorage = metadata.centralizedStorage,
                          .jobId = found->jobId};
  if (report.centralizedStorage.error == static_cast<int32_t>(error::kAborted)) {
    report.status = Status::kAborted;
    DeleteArrivedFiles(report.items);
  } else {
    report.status = StatusOf(report.items);
  }
  ToolRanOnDownloadFinished(report);
  reports_.FireDownloadFinishedEvent(report, found->job->streamId);
  jobs_.RemoveJob(found->jobId);
  return error::kSuccess;
}

void DownloadJobs::ToolRanOnDownloadFinished(const DownloadMetadata& metadata) const {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::ToolRanOnDownloadFinished");
  switch (metadata.status) {
    case Status::kNone:
      return;
    case Status::kSuccess:
      telemetry_.ProcessToolRanEventForDownload("Success", error::kSuccess);
      return;
    case Status::kAborted:
      telemetry_.ProcessToolRanEventForDownload("Aborted", error::kAborted);
      return;
    case Status::kFailed: {
      const auto failed = std::ranges::find_if(metadata.items, HasFailed);
      telemetry_.ProcessToolRanEventForDownload(
          "Failed", failed == metadata.items.end() ? 0 : failed->errorCode);
      return;
    }
  }
}

}  // namespace orn::RemoteAccess
