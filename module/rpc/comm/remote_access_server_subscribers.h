#pragma once

#include "module/feature/remote_access.h"
#include "module/rpc/comm/remote_access_wire.h"
#include "module/rpc/server_subscriber.h"

namespace orn::RemoteAccess {

// A client's subscriptions as the feature sees them: observers that send what they hear to the
// client. They wait for nobody and always give 0. Any thread.

class StateEventServerSubscriber final : public messaging::rpc::server_subscriber,
                                         public IRemoteAccess::IStateEvent,
                                         public Comm::Base {
 public:
  uint32_t OnTerminalSessionStateChanged(
      const IRemoteAccess::IStateEvent::TerminalSessionState& state) override;
};

class FileOperationEventServerSubscriber final : public messaging::rpc::server_subscriber,
                                                 public IRemoteAccess::IFileOperationEvent,
                                                 public Comm::Base {
 public:
  uint32_t OnDownloadFinished(
      const IRemoteAccess::IFileOperationEvent::DownloadMetadata& metadata) override;
  uint32_t OnUploadFinished(
      const IRemoteAccess::IFileOperationEvent::UploadArchiveMetadata& metadata) override;
};

class ProcessOperationServerSubscriber final : public messaging::rpc::server_subscriber,
                                               public IRemoteAccess::IProcessOperationsEvent,
                                               public Comm::Base {
 public:
  uint32_t OnProcessFinished(
      const IRemoteAccess::IProcessOperationsEvent::ProcessExecutionMetadata& metadata) override;
};

}  // namespace orn::RemoteAccess
