#pragma once

#include <string>

#include "module/feature/records_json.h"
#include "module/feature/remote_access.h"
#include "module/feature/testing/call_list.h"
#include "module/rpc/comm/json_data.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace messaging::testing {

// Observes everything, and keeps the records as their texts.
struct listener final
    : orn::RemoteAccess::IRemoteAccess::IStateEvent,
      orn::RemoteAccess::IRemoteAccess::IFileOperationEvent,
      orn::RemoteAccess::IRemoteAccess::IProcessOperationsEvent,
      orn::RemoteTerminal::IRemoteTerminalManager::IRemoteTerminalManagerNotifications {
  orn::RemoteAccess::CallList heard;

  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override {
    return heard.Add(rpc::ToJsonData(state), 1234);
  }
  uint32_t OnDownloadFinished(const DownloadMetadata& metadata) override {
    return heard.Add(rpc::ToJsonData(metadata), 1234);
  }
  uint32_t OnUploadFinished(const UploadArchiveMetadata& metadata) override {
    return heard.Add(rpc::ToJsonData(metadata), 1234);
  }
  uint32_t OnProcessFinished(const ProcessExecutionMetadata& metadata) override {
    return heard.Add(rpc::ToJsonData(metadata), 1234);
  }
  void OnTerminalClosed(const orn::StringT<char>& id) override {
    heard.Add(std::string(id.view()));
  }
};

}  // namespace messaging::testing
