#pragma once

#include <atomic>
#include <mutex>
#include <vector>

#include "module/feature/remote_access.h"
#include "module/frame/testing/semaphore.h"
#include "module/rpc/comm/testing/fake_plugin.h"

namespace orn::RemoteAccess {

// Keeps what it is given and answers what it is told to.
struct FakeRemoteAccess : FakePlugin<IRemoteAccess> {
  uint32_t status = 0;
  bool enabled = false;
  std::vector<TerminalSessionState> sessions;
  DownloadInput download;
  UploadArchiveInput upload;
  ProcessExecutionInput process;
  OperationResponse response;
  ProcessExecutionResponse started;
  StringT<wchar_t> job_id;
  StringT<wchar_t> message;
  std::atomic<int> calls{0};

  std::mutex mutex;
  // Guarded by mutex, where several threads register.
  std::vector<IStateEvent*> state_observers;
  std::vector<IFileOperationEvent*> file_observers;
  std::vector<IProcessOperationsEvent*> process_observers;
  Semaphore registered;  // An observer came or went.

  uint32_t SetEnabled(bool on) override { return enabled = on, Called(); }
  uint32_t GetEnabled(bool* on) override { return *on = enabled, Called(); }
  uint32_t GetActiveTerminalSessions(List<TerminalSessionState>& list) override {
    for (const TerminalSessionState& session : sessions)
      list.PushBack(session);
    return Called();
  }
  uint32_t StartDownload(const DownloadInput& input, OperationResponse& output) override {
    return download = input, output = response, Called();
  }
  uint32_t CancelDownload(const StringT<wchar_t>& id, StringT<wchar_t>& text) override {
    return job_id = id, text = message, Called();
  }
  uint32_t StartUploadArchive(const UploadArchiveInput& input, OperationResponse& output) override {
    return upload = input, output = response, Called();
  }
  uint32_t CancelUpload(const StringT<wchar_t>& id, StringT<wchar_t>& text) override {
    return CancelDownload(id, text);
  }
  uint32_t StartProcess(const ProcessExecutionInput& input, const UploadArchiveInput& archive,
                        ProcessExecutionResponse& output) override {
    return process = input, upload = archive, output = started, Called();
  }
  uint32_t RegisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                          uint32_t) override {
    return Add(process_observers, observer);
  }
  uint32_t RegisterFileOperationEvent(IFileOperationEvent* observer, uint32_t, uint32_t) override {
    return Add(file_observers, observer);
  }
  uint32_t RegisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override {
    return Add(state_observers, observer);
  }
  uint32_t UnregisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                            uint32_t) override {
    return Remove(process_observers, observer);
  }
  uint32_t UnregisterFileOperationEvent(IFileOperationEvent* observer, uint32_t,
                                        uint32_t) override {
    return Remove(file_observers, observer);
  }
  uint32_t UnregisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override {
    return Remove(state_observers, observer);
  }

 private:
  using TerminalSessionState = RemoteAccess::TerminalSessionState;

  uint32_t Called() {
    ++calls;
    return status;
  }
  template <class T>
  uint32_t Add(std::vector<T*>& observers, T* observer) {
    const std::lock_guard lock(mutex);
    observers.push_back(observer);
    registered.Release();
    return 0;
  }
  template <class T>
  uint32_t Remove(std::vector<T*>& observers, T* observer) {
    const std::lock_guard lock(mutex);
    std::erase(observers, observer);
    registered.Release();
    return 0;
  }
};

}  // namespace orn::RemoteAccess
