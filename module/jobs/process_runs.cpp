#include "module/jobs/process_runs.h"

#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/event.h"
#include "module/frame/guid.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/jobs/job_object.h"
#include "module/jobs/pipe_reader.h"
#include "module/jobs/temp_folder.h"

#include <shlwapi.h>

namespace orn::RemoteAccess {
namespace {

using Reason = ProcessExecutionMetadata::Reason;

constexpr wchar_t kStartProcess[] = L"orn::RemoteAccess::RemoteAccessAL::StartProcess";
constexpr wchar_t kTempRoot[] = L"Tessaro.{013D0CD6-1A80-4332-AC26-D4538ABF0971}";
constexpr DWORD kExitCodeUnknown = ERROR_GEN_FAILURE;

// `path` itself where it is absolute, else `path` in `folder`.
PathStringT<260> InFolder(const PathStringT<260>& folder, const StringT<wchar_t>& path) {
  if (!PathIsRelativeW(path.c_str())) return path;
  PathStringT<260> joined(folder);
  AppendPath(joined, path.view());
  return joined;
}

bool MakeFolder(PathStringT<260>& folder, const wchar_t* failure) {
  if (PathFileExistsW(folder.c_str()) || CreateFolderRecursively(folder)) return true;
  ORN_LOG(logging::kError, kStartProcess, failure, folder.c_str(), GetLastError());
  return false;
}

// Both store a path and return a Windows code.

uint32_t PrepareWorkingFolder(const StringT<wchar_t>& wanted, PathStringT<260>& folder) {
  if (wanted.empty()) {
    folder =
        GenerateTempFolder(L"orn::RemoteAccess::RemoteAccessAL::GenerateTempFolder", kTempRoot);
    return folder.empty() ? error::kInternal : error::kSuccess;
  }
  if (PathIsRelativeW(wanted.c_str())) {
    ORN_LOG(logging::kError, kStartProcess, L"Relative workingDir is not allowed: [%s]",
            wanted.c_str());
    return error::kBadArguments;
  }
  folder = wanted;
  return MakeFolder(folder, L"Failed CreateFolderRecursively of workingDir: [%s]. result = %d")
             ? error::kSuccess
             : error::kInternal;
}

uint32_t PrepareOutput(const StringT<wchar_t>& wanted, const PathStringT<260>& working_folder,
                       PathStringT<260>& output_path) {
  if (wanted.empty()) return error::kSuccess;
  output_path = InFolder(working_folder, wanted);
  PathStringT<260> folder(output_path);
  PathRemoveFileSpecW(folder.data());
  folder.UpdateLength();
  return MakeFolder(folder, L"Failed CreateFolderRecursively of outputFolder: [%s]. result = %d")
             ? error::kSuccess
             : error::kInternal;
}

UniqueHandle Duplicate(HANDLE handle, bool inheritable) {
  UniqueHandle duplicate;
  DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), duplicate.put(), /*access=*/0,
                  inheritable, DUPLICATE_SAME_ACCESS);
  return duplicate;
}

}  // namespace

// Start.

uint32_t ProcessRuns::StartProcess(const ProcessExecutionInput& input,
                                   const UploadArchiveInput& upload,
                                   ProcessExecutionResponse& response) {
  const LogFunctionTrace trace(kStartProcess);
  response.runContext = input.runContext;
  if (!enabled_.IsOn()) {
    ORN_LOG(logging::kWarning, trace.function(), L"Feature is disabled");
    return error::kDisabled;
  }
  response.status = static_cast<int32_t>(Start(input, upload, response));
  return error::kSuccess;
}

uint32_t ProcessRuns::Start(const ProcessExecutionInput& input, const UploadArchiveInput& upload,
                            ProcessExecutionResponse& response) {
  if (runners_ == nullptr) {
    ORN_LOG(logging::kError, kStartProcess, L"ThreadpoolProcRunners is not available.");
    return error::kInternal;
  }
  const auto data = std::make_shared<WaitForProcessData>();
  data->executionId = GenerateGuid();
  if (data->executionId.empty()) {
    ORN_LOG(logging::kError, kStartProcess, L"Could not generate executionId.");
    return error::kInternal;
  }
  uint32_t code = PrepareWorkingFolder(input.workingDir, data->workingDir);
  if (code != error::kSuccess) return code;
  code = PrepareOutput(input.outputPath, data->workingDir, data->outputPath);
  if (code != error::kSuccess) return code;

  ORN_LOG(logging::kInformation, kStartProcess, L"Command line (processed): [%s]",
          input.commandLine.c_str());
  data->job = CreateKillOnCloseJob(kStartProcess);
  if (!data->job) return error::kInternal;
  auto child = std::make_unique<ChildProcess<void*>>();
  code = child->Launch(input.commandLine, /*showWindow=*/false, /*redirectOutput=*/true,
                       data->workingDir, /*restorePath=*/true);
  if (code != error::kSuccess) {
    ORN_LOG(logging::kError, kStartProcess, L"Failed to create process, error = %d", code);
    return code;
  }
  response.pid = child->process_id();

  const UniqueHandle process = Duplicate(child->process(), /*inheritable=*/true);
  if (!AssignProcessToJobObject(data->job.get(), process.get())) {
    // It has ended already, or goes on unprotected.
    ORN_LOG(logging::kWarning, kStartProcess, L"Failed to assign process to job. [error = %d]",
            GetLastError());
  }
  {
    const std::lock_guard lock(execution_mutex_);
    executions_.insert_or_assign(data->executionId, std::move(child));
  }
  data->timeout = input.timeout;
  data->upload = upload;
  data->runContext = input.runContext;
  runners_->Post([this, data] { WaitForProcess(data); });
  return error::kSuccess;
}

void ProcessRuns::CleanupTempRootFolder() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::CleanupTempRootFolder");
  orn::CleanupTempRootFolder(trace.function(), kTempRoot);
}

// Wait.

void ProcessRuns::WaitForProcess(const std::shared_ptr<WaitForProcessData>& data) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::WaitForProcess");
  // The locals go in the reverse of this order: the job last, and with it what is left of the tree.
  const UniqueHandle job(std::move(data->job));
  ProcessExecutionMetadata metadata;
  metadata.exitCode = -1;
  metadata.reason = Reason::kError;
  metadata.runContext = data->runContext;
  metadata.upload.runContext = data->upload.runContext;
  metadata.uploadError = -1;
  const Execution child = TakeExecution(data->executionId);
  if (child == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"Could not find execution context with id = [%s]",
            data->executionId.c_str());
    return;
  }
  const UniqueHandle process = Duplicate(child->process(), /*inheritable=*/false);
  uint32_t read_result = error::kFailed;
  ReaderThread reader;
  ReadCancelEvent cancel_reading;
  if (!cancel_reading) {
    ORN_LOG(logging::kWarning, trace.function(), L"Failed to create readthreadCancelEvent: [%d]",
            GetLastError());
  }
  if (!data->outputPath.empty()) {
    reader.Start([&child, &data, &cancel_reading, &read_result] {
      ReadPipeThread(child->stdout_read(), data->outputPath, cancel_reading, &read_result);
    });
  }

  const auto end_run = [&](Reason reason, uint32_t exit_code) {
    cancel_reading.Set();
    TerminateJobObject(job.get(), exit_code);
    metadata.reason = reason;
  };
  const HANDLE ends[] = {process.get(), stop_event_.get()};
  switch (WaitForMultipleObjects(2, ends, /*all=*/FALSE, data->timeout * 1000)) {
    case WAIT_OBJECT_0:
      ORN_LOG(logging::kInformation, trace.function(), L"Process finished execution");
      metadata.reason = Reason::kCompleted;
      break;
    case WAIT_OBJECT_0 + 1:
      ORN_LOG(logging::kInformation, trace.function(), L"Stop was signaled");
      end_run(Reason::kCanceled, error::kAborted);
      break;
    case WAIT_TIMEOUT:
      ORN_LOG(logging::kWarning, trace.function(),
              L"Process execution did not finished in specified timeout (%d seconds)",
              data->timeout);
      end_run(Reason::kTimeout, error::kTimeout);
      metadata.exitCode = error::kTimeout;
      break;
    default:
      ORN_LOG(logging::kError, trace.function(), L"Unexpected failure");
      end_run(Reason::kError, error::kAborted);
      break;
  }

  if (!data->outputPath.empty()) {
    ORN_LOG(logging::kInformation, trace.function(), L"Waiting for readThread.");
    reader.Join();
    if (read_result != error::kSuccess) {
      ORN_LOG(logging::kWarning, trace.function(),
              L"Could not redirect the output to file. error=%d", read_result);
    }
  }
  if (metadata.reason == Reason::kCompleted) {
    DWORD exit_code = 0;
    if (!GetExitCodeProcess(process.get(), &exit_code)) {
      ORN_LOG(logging::kWarning, trace.function(), L"Failed to get process exit code, error = %d",
              GetLastError());
      exit_code = kExitCodeUnknown;
    }
    metadata.exitCode = static_cast<int32_t>(exit_code);
    StartUploadOfResults(*data, metadata);
  }
  TellObservers(metadata);
}

ProcessRuns::Execution ProcessRuns::TakeExecution(const StringT<wchar_t>& execution_id) {
  const std::lock_guard lock(execution_mutex_);
  auto taken = executions_.extract(execution_id);
  return taken ? std::move(taken.mapped()) : nullptr;
}

void ProcessRuns::StartUploadOfResults(const WaitForProcessData& data,
                                       ProcessExecutionMetadata& metadata) {
  constexpr auto kFunction = L"orn::RemoteAccess::RemoteAccessAL::WaitForProcess";
  ORN_LOG(logging::kInformation, kFunction, L"Starting the upload.");
  UploadArchiveInput upload = data.upload;
  upload.items.clear();
  for (const UploadItem& item : data.upload.items)
    upload.items.push_back({.pattern = InFolder(data.workingDir, item.pattern)});
  if (!data.outputPath.empty()) upload.items.push_back({.pattern = data.outputPath});
  const uint32_t code = start_upload_(upload, metadata.upload);
  metadata.uploadError = static_cast<int32_t>(code);
  if (code != error::kSuccess) {
    metadata.reason = Reason::kUploadFailed;
    ORN_LOG(logging::kError, kFunction, L"Could not StartUploadArchive, error = %d", code);
  }
}

void ProcessRuns::TellObservers(const ProcessExecutionMetadata& metadata) {
  Event<MemberFunction_1_args<IRemoteAccess::IProcessOperationsEvent, uint32_t,
                              const ProcessExecutionMetadata&,
                              &IRemoteAccess::IProcessOperationsEvent::OnProcessFinished>>
      finished(observers_);
  finished.Fire(metadata);
}

}  // namespace orn::RemoteAccess
