#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "module/frame/string.h"
#include "module/frame/threadsafe_list.h"
#include "module/jobs/file_operation.h"
#include "module/jobs/packing_control.h"

namespace orn::RemoteAccess {

// Packs archives on a thread of its own, one after the other, and tells of each. The thread starts
// with the first task. Any thread, unless said otherwise.
//
// Locks: the current task's mutex, then that of the packing control. Neither is held while somebody
// is told of a task, nor while the queue is looked at.
class UploadArchiveWorker {
 public:
  // How a task is packed: CreateUploadArchive.
  using Pack = std::function<void(UploadArchiveTask& task, UploadArchiveMetadata& metadata,
                                  PackingControl& control)>;

  explicit UploadArchiveWorker(Pack pack);
  UploadArchiveWorker(const UploadArchiveWorker&) = delete;
  UploadArchiveWorker& operator=(const UploadArchiveWorker&) = delete;
  // Ends a thread that a task after Stop has started.
  ~UploadArchiveWorker();

  // Not owned, and must live until Stop and Cancel have returned; null: nobody is told.
  void SetEvents(FileOperationManagerEvents* events) { events_ = events; }

  // 170 where 30 tasks wait, and the one that is being packed does not count. Callers at the same
  // time may pass that by a few.
  uint32_t Prepare(const StringT<wchar_t>& jobId, const UploadArchiveInput& input);

  // 0 where the task was waiting, and was told of on this thread, or is being packed and will be on
  // the worker's: with the result 1223. 6 where there is no such task.
  uint32_t Cancel(const StringT<wchar_t>& jobId);

  // Not on the worker's own thread. What waits is told of as it is: with the result 0 and without
  // an archive. No effect where it is stopped already.
  void Stop();

 private:
  using Task = std::unique_ptr<UploadArchiveTask>;

  void Run();
  void SetCurrent(const StringT<wchar_t>& jobId);
  // Whether the task is the one that is being packed.
  bool CancelCurrent(const StringT<wchar_t>& jobId, const wchar_t* function);
  void CancelOngoing();
  void CancelWorker();
  void CancelPending();
  void Tell(const UploadArchiveTask& task, const UploadArchiveMetadata& metadata);

  const Pack pack_;
  std::atomic<FileOperationManagerEvents*> events_{nullptr};
  ThreadsafeList<Task> tasks_;  // the oldest first
  PackingControl control_;
  std::mutex worker_mutex_;  // held while the worker is started or joined
  std::thread worker_;       // Guarded by worker_mutex_.
  std::recursive_mutex current_mutex_;
  StringT<wchar_t> current_job_id_;  // Guarded by current_mutex_. Empty while nothing is packed.
};

}  // namespace orn::RemoteAccess
