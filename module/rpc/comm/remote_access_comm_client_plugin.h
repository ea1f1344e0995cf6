#pragma once

#include "module/feature/remote_access.h"
#include "module/rpc/client.h"
#include "module/rpc/comm/remote_access_client_channels.h"
#include "module/rpc/comm/remote_access_wire.h"
#include "module/rpc/parameter_list.h"

namespace orn::RemoteAccess {

// IRemoteAccess in every process but the one that has the feature: each call goes to the server
// there and waits for the answer. Exported as "RemoteAccess".
//
// To the codes of the feature come those of the way there: 2250 without a server, 1460 without an
// answer, 5 where the caller may not; 1627 where the input cannot be sent and 87 where the output
// cannot be read, which for the two cancels is so after every call that was not answered. A start
// that was refused fills the response nevertheless.
//
// Observers are called on threads of the event queue, those of one registration one at a time and
// in order. A registration lives until it is taken back, also while the server is away. One
// observer that registers twice gets 87.
class RemoteAccessCommClientPlugin final : public messaging::rpc::client<IRemoteAccess>,
                                           public Comm::Base {
 public:
  uint32_t SetEnabled(bool enabled) override;
  uint32_t GetEnabled(bool* enabled) override;
  uint32_t GetActiveTerminalSessions(List<IStateEvent::TerminalSessionState>& sessions) override;
  uint32_t StartDownload(const DownloadInput& input, OperationResponse& output) override;
  uint32_t CancelDownload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message) override;
  uint32_t StartUploadArchive(const UploadArchiveInput& input, OperationResponse& output) override;
  uint32_t CancelUpload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message) override;
  uint32_t StartProcess(const ProcessExecutionInput& input, const UploadArchiveInput& upload,
                        ProcessExecutionResponse& output) override;
  uint32_t RegisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                          uint32_t) override;
  uint32_t RegisterFileOperationEvent(IFileOperationEvent* observer, uint32_t, uint32_t) override;
  uint32_t RegisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override;
  uint32_t UnregisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                            uint32_t) override;
  uint32_t UnregisterFileOperationEvent(IFileOperationEvent* observer, uint32_t, uint32_t) override;
  uint32_t UnregisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override;

 private:
  using ParameterList = messaging::rpc::ParameterList;

  // A start of a transfer: both sides are JSON. `function` is the name in the log.
  template <class Input>
  uint32_t StartTransfer(const wchar_t* function, Comm::Method method, Comm::Parameter in,
                         const Input& input, Comm::Parameter out, OperationResponse& output);
  // A cancel of a transfer: both sides are UTF-16.
  uint32_t CancelTransfer(const wchar_t* function, Comm::Method method, Comm::Parameter in,
                          const StringT<wchar_t>& jobId, Comm::Parameter out,
                          StringT<wchar_t>& message);

  // 0, or 87 where it is null, there already, or not there.
  template <class Observer>
  uint32_t Subscribe(Observer* observer);
  template <class Observer>
  uint32_t Unsubscribe(Observer* observer);
};

}  // namespace orn::RemoteAccess
