#pragma once

#include <string>
#include <utility>

#include "module/feature/records_json.h"
#include "module/feature/remote_access.h"
#include "module/rpc/comm/json_data.h"
#include "module/rpc/testing/tales.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace messaging::testing {

// Observes everything, and keeps the records as their texts.
struct listener final
    : orn::RemoteAccess::IRemoteAccess::IStateEvent,
      orn::RemoteAccess::IRemoteAccess::IFileOperationEvent,
      orn::RemoteAccess::IRemoteAccess::IProcessOperationsEvent,
      orn::RemoteTerminal::IRemoteTerminalManager::IRemoteTerminalManagerNotifications {
  tales heard;

  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override {
    return hear(rpc::ToJsonData(state));
  }
  uint32_t OnDownloadFinished(const DownloadMetadata& metadata) override {
    return hear(rpc::ToJsonData(metadata));
  }
  uint32_t OnUploadFinished(const UploadArchiveMetadata& metadata) override {
    return hear(rpc::ToJsonData(metadata));
  }
  uint32_t OnProcessFinished(const ProcessExecutionMetadata& metadata) override {
    return hear(rpc::ToJsonData(metadata));
  }
  void OnTerminalClosed(const orn::StringT<char>& id) override { hear(std::string(id.view())); }

 private:
  uint32_t hear(std::string text) {
    heard.tell(std::move(text));
    return 1234;
  }
};

}  // namespace messaging::testing
