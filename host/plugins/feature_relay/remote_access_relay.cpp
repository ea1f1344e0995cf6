#include "host/plugins/feature_relay/remote_access_relay.h"

#include "module/frame/error_codes.h"

namespace host {

void* RemoteAccessRelay::GetInterface(const InterfaceId& id) {
  if (id == IRemoteAccess::kInterfaceId) return static_cast<IRemoteAccess*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t RemoteAccessRelay::Init(IServMain* main) {
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  return feature_.GetPlugin(manager) != nullptr ? 0
                                                : static_cast<int32_t>(error::kMissingDependency);
}

void RemoteAccessRelay::UnInit() {
  feature_.Release();
}

int32_t RemoteAccessRelay::Start() {
  uint32_t status = feature_->RegisterFileOperationEvent(this, 0, 0);
  if (status != 0) return static_cast<int32_t>(status);
  status = feature_->RegisterProcessOperationsEvent(this, 0, 0);
  if (status != 0) feature_->UnregisterFileOperationEvent(this, 0, 0);
  return static_cast<int32_t>(status);
}

void RemoteAccessRelay::Stop() {
  feature_->UnregisterProcessOperationsEvent(this, 0, 0);
  feature_->UnregisterFileOperationEvent(this, 0, 0);
}

uint32_t RemoteAccessRelay::OnDownloadFinished(const FileEvents::DownloadMetadata& metadata) {
  file_events_.Tell([metadata](FileEvents& observer) { observer.OnDownloadFinished(metadata); });
  return error::kSuccess;
}

uint32_t RemoteAccessRelay::OnUploadFinished(const FileEvents::UploadArchiveMetadata& metadata) {
  file_events_.Tell([metadata](FileEvents& observer) { observer.OnUploadFinished(metadata); });
  return error::kSuccess;
}

uint32_t RemoteAccessRelay::OnProcessFinished(
    const ProcessEvents::ProcessExecutionMetadata& metadata) {
  process_events_.Tell(
      [metadata](ProcessEvents& observer) { observer.OnProcessFinished(metadata); });
  return error::kSuccess;
}

}  // namespace host
