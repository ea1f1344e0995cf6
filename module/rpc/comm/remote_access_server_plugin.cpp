#include "module/rpc/comm/remote_access_server_plugin.h"

#include <memory>
#include <string>
#include <vector>

#include "module/feature/records_json.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/rpc/comm/json_data.h"
#include "module/rpc/comm/remote_access_server_subscribers.h"

namespace orn::RemoteAccess {

using messaging::rpc::FromJsonData;
using messaging::rpc::ToJsonData;
using messaging::rpc::WriteJsonData;

RemoteAccessServerPlugin::RemoteAccessServerPlugin() {
  using This = RemoteAccessServerPlugin;
  register_method(Comm::kSetEnabled, &This::SetEnabled, /*admin_required=*/true);
  register_method(Comm::kGetEnabled, &This::GetEnabled, /*admin_required=*/false);
  register_method(Comm::kGetActiveTerminalSessions, &This::GetActiveTerminalSessions,
                  /*admin_required=*/false);
  register_method(Comm::kStartDownload, &This::StartDownload, /*admin_required=*/true);
  register_method(Comm::kCancelDownload, &This::CancelDownload, /*admin_required=*/true);
  register_method(Comm::kStartUploadArchive, &This::StartUploadArchive, /*admin_required=*/true);
  register_method(Comm::kCancelUpload, &This::CancelUpload, /*admin_required=*/true);
  register_method(Comm::kStartProcess, &This::StartProcess, /*admin_required=*/true);

  using State = StateEventServerSubscriber;
  register_callbacks(Comm::kStateEvent, &This::PassOn<State, &IRemoteAccess::RegisterStateEvent>,
                     &This::PassOn<State, &IRemoteAccess::UnregisterStateEvent>);
  using File = FileOperationEventServerSubscriber;
  register_callbacks(Comm::kFileOperationEvent,
                     &This::PassOn<File, &IRemoteAccess::RegisterFileOperationEvent>,
                     &This::PassOn<File, &IRemoteAccess::UnregisterFileOperationEvent>);
  using Process = ProcessOperationServerSubscriber;
  register_callbacks(Comm::kProcessOperationsEvent,
                     &This::PassOn<Process, &IRemoteAccess::RegisterProcessOperationsEvent>,
                     &This::PassOn<Process, &IRemoteAccess::UnregisterProcessOperationsEvent>);
}

int32_t RemoteAccessServerPlugin::SetEnabled(const ParameterList& in, ParameterList&) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessServerPlugin::SetEnabled");
  uint32_t flag = 0;
  if (!in.ReadValue(Comm::kEnabled, flag)) return error::kBadParameter;
  return (*target)->SetEnabled(flag != 0);
}

int32_t RemoteAccessServerPlugin::GetEnabled(const ParameterList&, ParameterList& out) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessServerPlugin::GetEnabled");
  bool enabled = false;
  if (const uint32_t status = (*target)->GetEnabled(&enabled); status != error::kSuccess) {
    return status;
  }
  return out.AddValue(Comm::kEnabled, enabled ? 1 : 0) ? error::kSuccess : error::kFailed;
}

int32_t RemoteAccessServerPlugin::GetActiveTerminalSessions(const ParameterList&,
                                                            ParameterList& out) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::RemoteAccessServerPlugin::GetActiveTerminalSessions");
  List<TerminalSessionState> sessions;
  if (const uint32_t status = (*target)->GetActiveTerminalSessions(sessions);
      status != error::kSuccess) {
    return status;
  }
  std::vector<TerminalSessionState> states;
  IConstListEnum<TerminalSessionState>* const walk = sessions.GetConstEnum();
  while (walk->HasNext())
    states.push_back(*walk->Next());
  walk->Release();
  const std::string text =
      WriteJsonData([&](Json::Value* node) { SaveRecords(states, node, /*path=*/""); });
  return out.AddBytes(Comm::kSessions, text) ? error::kSuccess : error::kFailed;
}

int32_t RemoteAccessServerPlugin::StartDownload(const ParameterList& in, ParameterList& out) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessServerPlugin::StartDownload");
  return StartTransfer(trace.function(), &IRemoteAccess::StartDownload, in, Comm::kDownloadInput,
                       out, Comm::kDownloadOutput);
}

int32_t RemoteAccessServerPlugin::CancelDownload(const ParameterList& in, ParameterList& out) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessServerPlugin::CancelDownload");
  return CancelTransfer(trace.function(), &IRemoteAccess::CancelDownload, in,
                        Comm::kCancelDownloadJobId, out, Comm::kCancelDownloadMessage);
}

int32_t RemoteAccessServerPlugin::StartUploadArchive(const ParameterList& in, ParameterList& out) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessServerPlugin::StartUploadArchive");
  return StartTransfer(trace.function(), &IRemoteAccess::StartUploadArchive, in, Comm::kUploadInput,
                       out, Comm::kUploadOutput);
}

int32_t RemoteAccessServerPlugin::CancelUpload(const ParameterList& in, ParameterList& out) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessServerPlugin::CancelUpload");
  return CancelTransfer(trace.function(), &IRemoteAccess::CancelUpload, in,
                        Comm::kCancelUploadJobId, out, Comm::kCancelUploadMessage);
}

int32_t RemoteAccessServerPlugin::StartProcess(const ParameterList& in, ParameterList& out) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessServerPlugin::StartProcess");
  const auto refuse = [&](const wchar_t* why) {
    ORN_LOG(logging::kWarning, trace.function(), L"%s", why);
    return error::kBadParameter;
  };
  std::string text;
  if (!in.ReadBytes(Comm::kProcessInput, text)) {
    return refuse(L"Could not get input data from the request (procInput).");
  }
  ProcessExecutionInput execution;
  if (!FromJsonData(text, execution)) {
    return refuse(L"Could not deserialize input data (procInput).");
  }
  if (!in.ReadBytes(Comm::kProcessUploadInput, text)) {
    return refuse(L"Could not get input data from the request (uploadInput).");
  }
  UploadArchiveInput upload;
  if (!FromJsonData(text, upload)) {
    return refuse(L"Could not deserialize input data (uploadInput).");
  }
  ProcessExecutionResponse response;
  if (const uint32_t status = (*target)->StartProcess(execution, upload, response);
      status != error::kSuccess) {
    ORN_LOG(logging::kWarning, trace.function(), L"Run StartProcess method failed [error = %d]",
            status);
    return status;
  }
  text = WriteJsonData([&](Json::Value* node) { SaveRecordWithStatus(response, node); });
  if (!out.AddBytes(Comm::kProcessOutput, text)) {
    ORN_LOG(logging::kWarning, trace.function(), L"Could not add output data.");
    return error::kFailed;
  }
  return error::kSuccess;
}

template <class Input>
int32_t RemoteAccessServerPlugin::StartTransfer(
    const wchar_t* function, uint32_t (IRemoteAccess::*start)(const Input&, OperationResponse&),
    const ParameterList& in, Comm::Parameter in_id, ParameterList& out, Comm::Parameter out_id) {
  std::string text;
  if (!in.ReadBytes(in_id, text)) {
    ORN_LOG(logging::kWarning, function, L"Could not get input data");
    return error::kBadParameter;
  }
  Input input;
  if (!FromJsonData(text, input)) {
    ORN_LOG(logging::kWarning, function, L"Could not get deserialize data");
    return error::kBadParameter;
  }
  OperationResponse response;
  const uint32_t status = (target->get()->*start)(input, response);
  // A refusal too has something to say.
  const bool added = out.AddBytes(out_id, ToJsonData(response));
  return status == error::kSuccess && !added ? error::kFailed : status;
}

int32_t RemoteAccessServerPlugin::CancelTransfer(
    const wchar_t* function,
    uint32_t (IRemoteAccess::*cancel)(const StringT<wchar_t>&, StringT<wchar_t>&),
    const ParameterList& in, Comm::Parameter in_id, ParameterList& out, Comm::Parameter out_id) {
  StringT<wchar_t> jobId;
  if (!in.ReadUtf16(in_id, jobId)) {
    ORN_LOG(logging::kWarning, function, L"Could not get input data");
    return error::kBadParameter;
  }
  StringT<wchar_t> message;
  const uint32_t status = (target->get()->*cancel)(jobId, message);
  const bool added = out.AddUtf16(out_id, message.view());
  if (status != error::kSuccess) return status;
  // Settled so: the line comes with each success.
  ORN_LOG(logging::kWarning, function, L"Could not add output data");
  return added ? error::kSuccess : error::kFailed;
}

template <class Subscriber, auto kOperation>
bool RemoteAccessServerPlugin::PassOn(Subscriber* subscriber,
                                      const messaging::channel_subscriber&) {
  return (target->get()->*kOperation)(subscriber, 0, 0) == error::kSuccess;
}

}  // namespace orn::RemoteAccess
