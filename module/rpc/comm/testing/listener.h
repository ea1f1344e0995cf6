#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "module/feature/records_json.h"
#include "module/feature/remote_access.h"
#include "module/frame/testing/semaphore.h"
#include "module/rpc/comm/json_data.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace messaging::rpc::testing {

// Observes everything, and keeps the records as their texts.
struct listener final
    : orn::RemoteAccess::IRemoteAccess::IStateEvent,
      orn::RemoteAccess::IRemoteAccess::IFileOperationEvent,
      orn::RemoteAccess::IRemoteAccess::IProcessOperationsEvent,
      orn::RemoteTerminal::IRemoteTerminalManager::IRemoteTerminalManagerNotifications {
  std::vector<std::string> heard;  // To be read when nothing more comes.

  void await(size_t count) {
    for (size_t i = 0; i < count; ++i)
      heard_one_.Acquire();
  }

  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override {
    return hear(ToJsonData(state));
  }
  uint32_t OnDownloadFinished(const DownloadMetadata& metadata) override {
    return hear(ToJsonData(metadata));
  }
  uint32_t OnUploadFinished(const UploadArchiveMetadata& metadata) override {
    return hear(ToJsonData(metadata));
  }
  uint32_t OnProcessFinished(const ProcessExecutionMetadata& metadata) override {
    return hear(ToJsonData(metadata));
  }
  void OnTerminalClosed(const orn::StringT<char>& id) override { hear(std::string(id.view())); }

 private:
  uint32_t hear(std::string text) {
    const std::lock_guard lock(mutex_);
    heard.push_back(std::move(text));
    heard_one_.Release();
    return 1234;
  }

  std::mutex mutex_;
  Semaphore heard_one_;
};

}  // namespace messaging::rpc::testing
