#pragma once

#include "host/plugins/feature_relay/event_keeper.h"
#include "module/feature/remote_access.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"

namespace host {

// "RemoteAccess.Relay": stands in front of the feature ("RemoteAccess.AL") where its observers live
// in another process, and keeps the ends of jobs and runs while none is there. All else goes
// through.
class RemoteAccessRelay final : public orn::RemoteAccess::IRemoteAccess,
                                public orn::RemoteAccess::IRemoteAccess::IFileOperationEvent,
                                public orn::RemoteAccess::IRemoteAccess::IProcessOperationsEvent,
                                public IServPlugin {
 public:
  using FileEvents = orn::RemoteAccess::IRemoteAccess::IFileOperationEvent;
  using ProcessEvents = orn::RemoteAccess::IRemoteAccess::IProcessOperationsEvent;
  using DownloadInput = orn::RemoteAccess::DownloadInput;
  using UploadArchiveInput = orn::RemoteAccess::UploadArchiveInput;
  using ProcessExecutionInput = orn::RemoteAccess::ProcessExecutionInput;
  using OperationResponse = orn::RemoteAccess::OperationResponse;
  using ProcessExecutionResponse = orn::RemoteAccess::ProcessExecutionResponse;
  using Text = orn::StringT<wchar_t>;

  RemoteAccessRelay() = default;
  virtual ~RemoteAccessRelay() = default;
  RemoteAccessRelay(const RemoteAccessRelay&) = delete;
  RemoteAccessRelay& operator=(const RemoteAccessRelay&) = delete;

  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  int32_t Start() override;
  void Stop() override;

  uint32_t SetEnabled(bool enabled) override { return feature_->SetEnabled(enabled); }
  uint32_t GetEnabled(bool* enabled) override { return feature_->GetEnabled(enabled); }
  uint32_t GetActiveTerminalSessions(
      orn::List<IStateEvent::TerminalSessionState>& sessions) override {
    return feature_->GetActiveTerminalSessions(sessions);
  }
  uint32_t StartDownload(const DownloadInput& input, OperationResponse& output) override {
    return feature_->StartDownload(input, output);
  }
  uint32_t CancelDownload(const Text& jobId, Text& message) override {
    return feature_->CancelDownload(jobId, message);
  }
  uint32_t StartUploadArchive(const UploadArchiveInput& input, OperationResponse& output) override {
    return feature_->StartUploadArchive(input, output);
  }
  uint32_t CancelUpload(const Text& jobId, Text& message) override {
    return feature_->CancelUpload(jobId, message);
  }
  uint32_t StartProcess(const ProcessExecutionInput& input, const UploadArchiveInput& upload,
                        ProcessExecutionResponse& output) override {
    return feature_->StartProcess(input, upload, output);
  }
  uint32_t RegisterProcessOperationsEvent(ProcessEvents* observer, uint32_t, uint32_t) override {
    return process_events_.Register(observer);
  }
  uint32_t RegisterFileOperationEvent(FileEvents* observer, uint32_t, uint32_t) override {
    return file_events_.Register(observer);
  }
  uint32_t RegisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override {
    return feature_->RegisterStateEvent(observer, 0, 0);
  }
  uint32_t UnregisterProcessOperationsEvent(ProcessEvents* observer, uint32_t, uint32_t) override {
    return process_events_.Unregister(observer);
  }
  uint32_t UnregisterFileOperationEvent(FileEvents* observer, uint32_t, uint32_t) override {
    return file_events_.Unregister(observer);
  }
  uint32_t UnregisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override {
    return feature_->UnregisterStateEvent(observer, 0, 0);
  }

  // The feature's events.
  uint32_t OnDownloadFinished(const FileEvents::DownloadMetadata& metadata) override;
  uint32_t OnUploadFinished(const FileEvents::UploadArchiveMetadata& metadata) override;
  uint32_t OnProcessFinished(const ProcessEvents::ProcessExecutionMetadata& metadata) override;

 private:
  const logging::LogReference log_;
  ServPlugin<IRemoteAccess> feature_{L"RemoteAccess.AL"};
  EventKeeper<FileEvents> file_events_;
  EventKeeper<ProcessEvents> process_events_;
};

}  // namespace host
