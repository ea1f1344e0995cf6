#include "module/jobs/upload_jobs.h"

#include <memory>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/frame/scope_guard.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"
#include "module/jobs/job_id.h"
#include "module/jobs/reasons.h"

#include <shlwapi.h>

namespace orn::RemoteAccess {

namespace {

using Status = UploadArchiveMetadata::Status;
using tsrsdk::Product::UploadData;
using tsrsdk::Product::UploadRequest;
using tsrsdk::Product::UploadStarted;

constexpr wchar_t kOwner[] = L"RemoteAccess";
constexpr size_t kOperationIdLength = 64;  // what is reserved for one

UploadData MakeUploadData(const UploadArchiveInput& input) {
  return {
      .timeout = input.timeout,
      .postItems = {},
      .items = {{.name = ToUtf8(input.name.view()), .path = input.name}},
  };
}

UploadRequest MakeUploadRequest(const UploadArchiveTask& task) {
  const UploadArchiveInput& input = task.input;
  return {
      .timeout = input.timeout,
      .postItems = input.postItems,
      .items = {{.name = ToUtf8(input.name.view()), .path = task.archivePath}},
      .profile = input.profile,
      .runContext = input.runContext,
      .owner = kOwner,
  };
}

// Whether a file of that name could be there, in the temporary folder.
bool IsFileName(const StringT<wchar_t>& name) {
  PathStringT<260> path;
  GetTempFolder(path);
  AppendPath(path, name.view());
  if (!PathFileExistsW(path.c_str())) {
    const DWORD code = GetLastError();
    if (code == ERROR_BAD_PATHNAME || code == ERROR_INVALID_NAME) return false;
  }
  return name.view().find_first_of(L"\\/") == std::wstring_view::npos;
}

Status StatusOf(int32_t storage_error) {
  if (storage_error == static_cast<int32_t>(error::kAborted)) return Status::kAborted;
  return storage_error == 0 ? Status::kSuccess : Status::kUploadFailed;
}

}  // namespace

uint32_t UploadJobs::StartUploadArchive(const UploadArchiveInput& input,
                                        OperationResponse& response) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::StartUploadArchive");
  response.runContext = input.runContext;
  const uint32_t code = Start(input, response);
  response.message = UploadReason(code);
  return code;
}

uint32_t UploadJobs::Start(const UploadArchiveInput& input, OperationResponse& response) {
  static constexpr wchar_t kFunction[] = L"orn::RemoteAccess::RemoteAccessAL::StartUploadArchive";
  if (!enabled_.IsOn()) {
    ORN_LOG(logging::kWarning, kFunction, L"Feature is disabled");
    return Refuse("FailedToStart::Disabled", error::kDisabled);
  }
  if (!storage_) {
    ORN_LOG(logging::kError, kFunction, L"Plugin not available.");
    return Refuse("FailedToStart::PluginMissing", error::kInternal);
  }
  UploadArchiveInput request = input;
  for (UploadItem& item : request.items)
    NormalizePath(item.pattern);
  if (const uint32_t code = ValidateUploadArchiveInput(request); code != error::kSuccess) {
    ORN_LOG(logging::kWarning, kFunction, L"Invalid uploadArchiveInput.");
    return Refuse("FailedToStart::InvalidInput", code);
  }
  ORN_LOG(logging::kInformation, kFunction, L"Prevalidating the upload data.");
  if (const uint32_t code = storage_->PrevalidateUploadData(MakeUploadData(request));
      code != error::kSuccess) {
    ORN_LOG(logging::kError, kFunction, L"PrevalidateUploadData failed: [%d]", code);
    return Refuse("FailedToStart::CentralizedStoragePrevalidateError", code);
  }

  const StringT<wchar_t> job_id = ChooseJobId(request.jobId);
  auto job = std::make_shared<FileOperationJob>();
  job->streamId = request.streamId;
  job->type = kUploadJob;
  jobs_.AddJob(job_id, job);
  ScopeGuard remove_job([&] { jobs_.RemoveJob(job_id); });
  if (const uint32_t code = jobs_.PrepareUploadArchive(job_id, request); code != error::kSuccess) {
    ORN_LOG(logging::kWarning, kFunction, L"Failed to prepare upload archive: [%d]", code);
    return Refuse("FailedToStart::PrepareError", code);
  }
  remove_job.Dismiss();
  response.jobId = job_id;
  return error::kSuccess;
}

uint32_t UploadJobs::Refuse(const char* reason, uint32_t code) const {
  telemetry_.ProcessToolRanEventForUpload(reason, static_cast<int32_t>(code));
  return code;
}

uint32_t UploadJobs::ValidateUploadArchiveInput(const UploadArchiveInput& input) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::ValidateUploadArchiveInput");
  if (const uint32_t code = ValidateJobId(jobs_, input.jobId); code != error::kSuccess) {
    return code;
  }
  if (input.name.empty()) {
    ORN_LOG(logging::kWarning, trace.function(), L"Empty archive name.");
    return error::kInvalidName;
  }
  if (!IsFileName(input.name)) {
    ORN_LOG(logging::kWarning, trace.function(), L"Archive name is invalid.");
    return error::kInvalidName;
  }
  if (input.items.empty()) {
    ORN_LOG(logging::kWarning, trace.function(), L"Empty fileItems list.");
    return error::kEmptyInput;
  }
  return error::kSuccess;
}

uint32_t UploadJobs::CancelUpload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::CancelUpload");
  uint32_t result = error::kInternal;
  if (!storage_) {
    ORN_LOG(logging::kError, trace.function(), L"CentralizedStoragePlugin is not available.");
  } else if (jobs_.CancelUploadArchivePreparation(jobId) == error::kSuccess) {
    result = error::kSuccess;
  } else if (const StringT<wchar_t> operation = jobs_.GetJobOperationId(jobId, kUploadJob);
             !operation.empty()) {
    result = storage_->CancelUpload(operation);
  } else {
    ORN_LOG(logging::kWarning, trace.function(),
            L"Job id (%s) has no associated active upload task", jobId.c_str());
    result = error::kInvalidHandle;
  }
  message = CancelReason(result);
  return result;
}

void UploadJobs::OnUploadArchivePrepared(const UploadArchiveTask& task,
                                         const UploadArchiveMetadata& metadata) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::OnUploadArchivePrepared");
  UploadArchiveMetadata report = metadata;
  report.centralizedStorage.reason = L"N/A";
  report.centralizedStorage.error = -1;
  const std::shared_ptr<FileOperationJob> job = jobs_.FindJob(task.jobId);
  if (job == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"FileOperationJob not found for jobId: [%s]",
            task.jobId.c_str());
    return;
  }
  ScopeGuard delete_archive([&] { jobs_.DeleteTmpUploadArchive(task.archivePath); });
  ScopeGuard remove_job([&] { jobs_.RemoveJob(task.jobId); });

  if (task.result != error::kSuccess) {
    report.status = task.result == error::kAborted ? Status::kAborted : Status::kGatherItemsFailed;
  } else if (!storage_) {
    ORN_LOG(logging::kError, trace.function(), L"CentralizedStoragePlugin not available.");
    report.status = Status::kUploadFailed;
  } else {
    if (HandToStorage(task, report, *job)) {
      delete_archive.Dismiss();
      remove_job.Dismiss();
    }
    return;
  }
  reports_.FireUploadFinishedEvent(report, job->streamId);
}

bool UploadJobs::HandToStorage(const UploadArchiveTask& task, UploadArchiveMetadata& report,
                               const FileOperationJob& job) {
  const UploadRequest request = MakeUploadRequest(task);
  report.name = PathFindFileNameW(task.archivePath.c_str());
  const std::lock_guard lock(upload_report_mutex_);
  UploadStarted started;
  StringT<wchar_t> upload_id;
  upload_id.reserve(kOperationIdLength);
  const uint32_t code = storage_->Upload(request, started, upload_id);
  if (code != error::kSuccess) {
    ORN_LOG(logging::kError, L"orn::RemoteAccess::RemoteAccessAL::OnUploadArchivePrepared",
            L"Upload failed: [%d]", code);
    report.status = Status::kUploadFailed;
    reports_.FireUploadFinishedEvent(report, job.streamId);
    return false;
  }
  jobs_.AssignOperationIdToJob(task, upload_id);
  jobs_.AddUploadArchiveCache(task.jobId, {.archivePath = task.archivePath, .metadata = report});
  return true;
}

uint32_t UploadJobs::OnUploadFinished(const StringT<wchar_t>& uploadId,
                                      const UploadArchiveMetadata& metadata) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::OnUploadFinished");
  std::unique_lock lock(upload_report_mutex_);
  const auto found = jobs_.FindJobByOperationId(uploadId, kUploadJob);
  if (!found) return error::kSuccess;
  ORN_LOG(logging::kInformation, trace.function(), L"Processing UploadMetadata for uploadId: [%s]",
          uploadId.c_str());
  UploadArchiveCache cache;
  if (!jobs_.TakeUploadArchiveCache(found->jobId, cache)) {
    ORN_LOG(logging::kError, trace.function(),
            L"Could not find the corresponding UploadArchiveCache for jobId: [%s]",
            found->jobId.c_str());
    jobs_.RemoveJob(found->jobId);
    return error::kSuccess;
  }
  cache.metadata.centralizedStorage = metadata.centralizedStorage;
  cache.metadata.status = StatusOf(metadata.centralizedStorage.error);
  jobs_.RemoveJob(found->jobId);
  lock.unlock();

  ToolRanOnUploadFinished(cache.metadata);
  reports_.FireUploadFinishedEvent(cache.metadata, found->job->streamId);
  jobs_.DeleteTmpUploadArchive(cache.archivePath);
  return error::kSuccess;
}

void UploadJobs::ToolRanOnUploadFinished(const UploadArchiveMetadata& metadata) const {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::ToolRanOnUploadFinished");
  switch (metadata.status) {
    case Status::kNone:
    case Status::kGatherItemsFailed:
      return;
    case Status::kSuccess:
      telemetry_.ProcessToolRanEventForUpload("Success", error::kSuccess);
      return;
    case Status::kAborted:
      telemetry_.ProcessToolRanEventForUpload("Aborted", error::kAborted);
      return;
    case Status::kUploadFailed:
      telemetry_.ProcessToolRanEventForUpload("Failed", metadata.centralizedStorage.error);
      return;
  }
}

}  // namespace orn::RemoteAccess
