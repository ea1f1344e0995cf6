#pragma once

#include <cstdint>

#include "module/feature/records.h"
#include "module/frame/interface_id.h"
#include "module/frame/list.h"

namespace orn::RemoteAccess {

// The feature's interface. The order of the operations is binary contract. All operations may be
// called from any thread once the plug-in's Start has returned and before its Stop. Each returns a
// Windows code, 0 for success.
struct IRemoteAccess {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{2745AE06-3E19-4236-8003-7157F4E1A68A}");
  static constexpr const wchar_t* kTypeName = L"orn::RemoteAccess::IRemoteAccess";

  // The observers are called on the thread on which the thing happened; their results are not used.
  // They must not register or unregister from inside a call.

  struct IStateEvent {
    using TerminalSessionState = RemoteAccess::TerminalSessionState;

    virtual uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) = 0;

   protected:
    ~IStateEvent() = default;
  };

  struct IFileOperationEvent {
    using DownloadMetadata = RemoteAccess::DownloadMetadata;
    using UploadArchiveMetadata = RemoteAccess::UploadArchiveMetadata;

    virtual uint32_t OnDownloadFinished(const DownloadMetadata& metadata) = 0;
    virtual uint32_t OnUploadFinished(const UploadArchiveMetadata& metadata) = 0;

   protected:
    ~IFileOperationEvent() = default;
  };

  struct IProcessOperationsEvent {
    using ProcessExecutionMetadata = RemoteAccess::ProcessExecutionMetadata;

    virtual uint32_t OnProcessFinished(const ProcessExecutionMetadata& metadata) = 0;

   protected:
    ~IProcessOperationsEvent() = default;
  };

  // Turns the feature on or off and persists it. Turning it off ends all terminals before it
  // returns.
  virtual uint32_t SetEnabled(bool enabled) = 0;
  virtual uint32_t GetEnabled(bool* enabled) = 0;
  // Replaces the contents of `sessions` by the open terminals, in the order of their ids.
  virtual uint32_t GetActiveTerminalSessions(List<IStateEvent::TerminalSessionState>& sessions) = 0;
  virtual uint32_t StartDownload(const DownloadInput& input, OperationResponse& output) = 0;
  virtual uint32_t CancelDownload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message) = 0;
  virtual uint32_t StartUploadArchive(const UploadArchiveInput& input,
                                      OperationResponse& output) = 0;
  virtual uint32_t CancelUpload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message) = 0;
  virtual uint32_t StartProcess(const ProcessExecutionInput& input,
                                const UploadArchiveInput& upload,
                                ProcessExecutionResponse& output) = 0;
  // 87 for a null observer, 1627 for one that is registered already. The further arguments are 0
  // and not read, here and below.
  virtual uint32_t RegisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                                  uint32_t) = 0;
  virtual uint32_t RegisterFileOperationEvent(IFileOperationEvent* observer, uint32_t,
                                              uint32_t) = 0;
  virtual uint32_t RegisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) = 0;
  // 87 for a null observer, 1627 for one that is not registered. When this has returned, the
  // observer is called no more.
  virtual uint32_t UnregisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                                    uint32_t) = 0;
  virtual uint32_t UnregisterFileOperationEvent(IFileOperationEvent* observer, uint32_t,
                                                uint32_t) = 0;
  virtual uint32_t UnregisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) = 0;

 protected:
  ~IRemoteAccess() = default;
};

}  // namespace orn::RemoteAccess
