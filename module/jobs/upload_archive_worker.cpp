#include "module/jobs/upload_archive_worker.h"

#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace orn::RemoteAccess {
namespace {

constexpr size_t kMaxWaiting = 30;

UploadArchiveMetadata MetadataOf(const UploadArchiveTask& task) {
  UploadArchiveMetadata metadata;
  metadata.jobId = task.jobId;
  metadata.runContext = task.input.runContext;
  metadata.name = task.input.name;
  for (const UploadItem& item : task.input.items) {
    metadata.items.push_back(
        {.pattern = item.pattern, .errorCode = error::kNotProcessed, .error = {}});
  }
  return metadata;
}

}  // namespace

UploadArchiveWorker::UploadArchiveWorker(Pack pack) : pack_(std::move(pack)) {}

UploadArchiveWorker::~UploadArchiveWorker() {
  control_.SetStopped(true);
  control_.SetCancelled();
  control_.AbortCompressor();
  CancelWorker();
}

uint32_t UploadArchiveWorker::Prepare(const StringT<wchar_t>& jobId,
                                      const UploadArchiveInput& input) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::FileOperationManager::PrepareUploadArchive");
  {
    const std::lock_guard lock(worker_mutex_);
    if (!worker_.joinable()) {
      ORN_LOG(logging::kInformation, trace.function(),
              L"Lazy init of the UploadArchiveTasksWorker.");
      // Before the thread runs: a Stop that comes right away must not be forgotten.
      control_.SetStopped(false);
      worker_ = std::thread([this] { Run(); });
    }
  }
  if (tasks_.Size() >= kMaxWaiting) {
    ORN_LOG(logging::kWarning, trace.function(), L"Too many tasks. Try later!");
    return error::kBusy;
  }
  tasks_.Push(std::make_unique<UploadArchiveTask>(
      UploadArchiveTask{.jobId = jobId, .input = input, .archivePath = {}, .result = 0}));
  ORN_LOG(logging::kInformation, trace.function(),
          L"UploadArchive task was scheduled for jobId: [%s]", jobId.c_str());
  return error::kSuccess;
}

void UploadArchiveWorker::Run() {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::FileOperationManager::UploadArchiveTasksWorker");
  SetThreadName(L"Upload archives");
  for (Task task; !control_.IsStopped() && tasks_.Pop(task); task.reset()) {
    SetCurrent(task->jobId);
    UploadArchiveMetadata metadata = MetadataOf(*task);
    pack_(*task, metadata, control_);
    Tell(*task, metadata);
    SetCurrent({});
  }
}

void UploadArchiveWorker::SetCurrent(const StringT<wchar_t>& jobId) {
  const std::lock_guard lock(current_mutex_);
  current_job_id_ = jobId;
}

void UploadArchiveWorker::Tell(const UploadArchiveTask& task,
                               const UploadArchiveMetadata& metadata) {
  FileOperationManagerEvents* const events = events_;
  if (events != nullptr) events->OnUploadArchivePrepared(task, metadata);
}

uint32_t UploadArchiveWorker::Cancel(const StringT<wchar_t>& jobId) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::FileOperationManager::CancelUploadArchivePreparation");
  if (CancelCurrent(jobId, trace.function())) return error::kSuccess;
  Task task;
  if (!tasks_.TakeIf([&](const Task& waiting) { return waiting->jobId == jobId; }, task)) {
    return error::kInvalidHandle;
  }
  if (events_ != nullptr) {
    const UploadArchiveMetadata metadata = MetadataOf(*task);
    task->result = error::kAborted;
    Tell(*task, metadata);
  }
  return error::kSuccess;
}

bool UploadArchiveWorker::CancelCurrent(const StringT<wchar_t>& jobId, const wchar_t* function) {
  const std::lock_guard lock(current_mutex_);
  if (jobId.empty() || jobId != current_job_id_) return false;
  control_.SetCancelled();
  if (!control_.AbortCompressor()) {
    ORN_LOG(logging::kWarning, function,
            L"Could not abort the current in-progress archive compression for jobId=[%s]",
            jobId.c_str());
  }
  return true;
}

void UploadArchiveWorker::Stop() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::FileOperationManager::Stop");
  if (control_.IsStopped()) return;
  CancelOngoing();
  control_.SetStopped(true);
  CancelWorker();
  CancelPending();
}

void UploadArchiveWorker::CancelOngoing() {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::FileOperationManager::CancelOngoingUploadArchivePreparation");
  StringT<wchar_t> jobId;
  {
    const std::lock_guard lock(current_mutex_);
    jobId = current_job_id_;
  }
  if (const uint32_t code = Cancel(jobId); code != error::kSuccess) {
    ORN_LOG(logging::kNotice, trace.function(),
            L"Could not cancel the ongoing archive preparation: [%d]", code);
  }
}

void UploadArchiveWorker::CancelWorker() {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::FileOperationManager::CancelUploadArchiveTasksWorker");
  tasks_.Stop();
  const std::lock_guard lock(worker_mutex_);
  if (worker_.joinable()) worker_.join();
}

void UploadArchiveWorker::CancelPending() {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::FileOperationManager::CancelPendingUploadArchiveTasks");
  ORN_LOG(logging::kInformation, trace.function(), L"Cancelling pending upload archive tasks.");
  while (tasks_.Size() != 0) {
    Task task;
    if (!tasks_.TryPop(task)) {
      ORN_LOG(logging::kNotice, trace.function(), L"UploadTask not available.");
      break;
    }
    Tell(*task, MetadataOf(*task));
  }
}

}  // namespace orn::RemoteAccess
