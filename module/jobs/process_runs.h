#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "module/feature/enabled_setting.h"
#include "module/feature/remote_access.h"
#include "module/frame/handle.h"
#include "module/frame/id_hash.h"
#include "module/frame/observers.h"
#include "module/frame/path_string.h"
#include "module/frame/thread_pool.h"
#include "module/jobs/child_process.h"

namespace orn::RemoteAccess {

using ProcessObservers = SynchronyzedObjectContainer<IRemoteAccess::IProcessOperationsEvent*>;

// Runs command lines: starts the process in a job object that takes what it starts down with it,
// and lets a runner of the pool see it through to the one event that tells of its end. The time-out
// of a run begins when a runner is free.
//
// Nothing but the stop event ends a run from outside: runs under way end as "canceled" then, and
// those that still wait for a runner are dropped with the pool's queue, their processes with them
// and without an event.
class ProcessRuns {
 public:
  using StartUpload = std::function<uint32_t(const UploadArchiveInput&, OperationResponse&)>;

  // Everything is borrowed. `stop_event` and `runners` are set while no process is started, and may
  // be null; the runners have ended before this object does. `start_upload` is called on them.
  ProcessRuns(EnabledSetting& enabled, const UniqueHandle& stop_event,
              const std::unique_ptr<ThreadPool>& runners, ProcessObservers& observers,
              StartUpload start_upload)
      : enabled_(enabled),
        stop_event_(stop_event),
        runners_(runners),
        observers_(observers),
        start_upload_(std::move(start_upload)) {}
  ProcessRuns(const ProcessRuns&) = delete;
  ProcessRuns& operator=(const ProcessRuns&) = delete;

  // 1260 where the feature is off, which leaves `response.status` alone; 0 in all other cases, and
  // the code of the start is in `response.status`. An empty working folder means a fresh temporary
  // one. Any thread.
  uint32_t StartProcess(const ProcessExecutionInput& input, const UploadArchiveInput& upload,
                        ProcessExecutionResponse& response);

  // Deletes the temporary folders of all runs. While nothing runs.
  void CleanupTempRootFolder();

 private:
  using Execution = std::unique_ptr<ChildProcess<void*>>;

  // What a runner needs to know. Destroying it ends the processes of the run.
  struct WaitForProcessData {
    StringT<wchar_t> executionId;
    UniqueHandle job;
    uint32_t timeout = 0;  // seconds
    UploadArchiveInput upload;
    PathStringT<260> workingDir;
    PathStringT<260> outputPath;  // absolute, or empty
    StringT<wchar_t> runContext;
  };

  // Returns the code for `response.status`.
  uint32_t Start(const ProcessExecutionInput& input, const UploadArchiveInput& upload,
                 ProcessExecutionResponse& response);
  // The body of a runner.
  void WaitForProcess(const std::shared_ptr<WaitForProcessData>& data);
  Execution TakeExecution(const StringT<wchar_t>& execution_id);
  void StartUploadOfResults(const WaitForProcessData& data, ProcessExecutionMetadata& metadata);
  void TellObservers(const ProcessExecutionMetadata& metadata);

  EnabledSetting& enabled_;
  const UniqueHandle& stop_event_;
  const std::unique_ptr<ThreadPool>& runners_;
  ProcessObservers& observers_;
  const StartUpload start_upload_;

  std::mutex execution_mutex_;
  // Guarded by execution_mutex_. Started and not yet taken by a runner.
  std::unordered_map<StringT<wchar_t>, Execution, IdHash> executions_;
};

}  // namespace orn::RemoteAccess
