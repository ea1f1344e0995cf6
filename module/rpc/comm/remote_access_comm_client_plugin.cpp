#include "module/rpc/comm/remote_access_comm_client_plugin.h"

#include <string>
#include <vector>

#include "module/feature/records_json.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/rpc/comm/json_data.h"

namespace orn::RemoteAccess {

using messaging::rpc::FromJsonData;
using messaging::rpc::ReadJsonData;
using messaging::rpc::ToJsonData;

namespace {

constexpr wchar_t kCouldNotAddInput[] = L"Could not add input parameters";
constexpr wchar_t kCouldNotGetOutput[] = L"Could not get output parameters";

}  // namespace

uint32_t RemoteAccessCommClientPlugin::SetEnabled(bool enabled) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessCommClientPlugin::SetEnabled");
  ParameterList in;
  ParameterList out;
  if (!in.AddValue(Comm::kEnabled, enabled ? 1 : 0)) {
    ORN_LOG(logging::kWarning, trace.function(), kCouldNotAddInput);
    return error::kFailed;
  }
  return send_request(Comm::kSetEnabled, in, out);
}

uint32_t RemoteAccessCommClientPlugin::GetEnabled(bool* enabled) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessCommClientPlugin::GetEnabled");
  const ParameterList in;
  ParameterList out;
  const uint32_t status = send_request(Comm::kGetEnabled, in, out);
  uint32_t flag = 0;
  // An answer without the flag is a success that tells nothing.
  if (status == error::kSuccess && out.ReadValue(Comm::kEnabled, flag)) *enabled = flag != 0;
  return status;
}

uint32_t RemoteAccessCommClientPlugin::GetActiveTerminalSessions(
    List<IStateEvent::TerminalSessionState>& sessions) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::RemoteAccessCommClientPlugin::GetActiveTerminalSessions");
  const ParameterList in;
  ParameterList out;
  const uint32_t status = send_request(Comm::kGetActiveTerminalSessions, in, out);
  if (status != error::kSuccess) return status;
  std::string text;
  std::vector<TerminalSessionState> states;
  const auto load = [&](Json::Value* tree, const char* path) {
    return LoadRecords(states, tree, path);
  };
  if (!out.ReadBytes(Comm::kSessions, text) || !ReadJsonData(text, load)) {
    return error::kBadParameter;
  }
  sessions.Clear();
  for (const TerminalSessionState& state : states)
    sessions.PushBack(state);
  return error::kSuccess;
}

uint32_t RemoteAccessCommClientPlugin::StartDownload(const DownloadInput& input,
                                                     OperationResponse& output) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessCommClientPlugin::StartDownload");
  return StartTransfer(trace.function(), Comm::kStartDownload, Comm::kDownloadInput, input,
                       Comm::kDownloadOutput, output);
}

uint32_t RemoteAccessCommClientPlugin::CancelDownload(const StringT<wchar_t>& jobId,
                                                      StringT<wchar_t>& message) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessCommClientPlugin::CancelDownload");
  return CancelTransfer(trace.function(), Comm::kCancelDownload, Comm::kCancelDownloadJobId, jobId,
                        Comm::kCancelDownloadMessage, message);
}

uint32_t RemoteAccessCommClientPlugin::StartUploadArchive(const UploadArchiveInput& input,
                                                          OperationResponse& output) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::RemoteAccessCommClientPlugin::StartUploadArchive");
  return StartTransfer(trace.function(), Comm::kStartUploadArchive, Comm::kUploadInput, input,
                       Comm::kUploadOutput, output);
}

uint32_t RemoteAccessCommClientPlugin::CancelUpload(const StringT<wchar_t>& jobId,
                                                    StringT<wchar_t>& message) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessCommClientPlugin::CancelUpload");
  return CancelTransfer(trace.function(), Comm::kCancelUpload, Comm::kCancelUploadJobId, jobId,
                        Comm::kCancelUploadMessage, message);
}

uint32_t RemoteAccessCommClientPlugin::StartProcess(const ProcessExecutionInput& input,
                                                    const UploadArchiveInput& upload,
                                                    ProcessExecutionResponse& output) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessCommClientPlugin::StartProcess");
  ParameterList in;
  ParameterList out;
  if (!in.AddBytes(Comm::kProcessInput, ToJsonData(input))) {
    ORN_LOG(logging::kWarning, trace.function(), L"Could not add input parameters (proc input)");
    return error::kFailed;
  }
  if (!in.AddBytes(Comm::kProcessUploadInput, ToJsonData(upload))) {
    ORN_LOG(logging::kWarning, trace.function(),
            L"Could not add input parameters (upload archive context)");
    return error::kFailed;
  }
  const uint32_t status = send_request(Comm::kStartProcess, in, out);
  if (status != error::kSuccess && !out.HasTree()) return status;
  std::string text;
  if (!out.ReadBytes(Comm::kProcessOutput, text)) {
    ORN_LOG(logging::kWarning, trace.function(), kCouldNotGetOutput);
    return error::kBadParameter;
  }
  const auto load = [&](Json::Value* tree, const char* path) {
    return LoadRecordWithStatus(output, tree, path);
  };
  if (!ReadJsonData(text, load)) {
    ORN_LOG(logging::kWarning, trace.function(), L"Could not deserialize output parameters");
    ORN_LOG(logging::kWarning, trace.function(), L"Output data: %S", text.c_str());
    return error::kBadParameter;
  }
  return error::kSuccess;
}

template <class Input>
uint32_t RemoteAccessCommClientPlugin::StartTransfer(const wchar_t* function, Comm::Method method,
                                                     Comm::Parameter in_id, const Input& input,
                                                     Comm::Parameter out_id,
                                                     OperationResponse& output) {
  ParameterList in;
  ParameterList out;
  if (!in.AddBytes(in_id, ToJsonData(input))) {
    ORN_LOG(logging::kWarning, function, kCouldNotAddInput);
    return error::kFailed;
  }
  const uint32_t status = send_request(method, in, out);
  if (status != error::kSuccess && !out.HasTree()) return status;
  std::string text;
  if (!out.ReadBytes(out_id, text)) {
    ORN_LOG(logging::kWarning, function, L"Could not add output parameters");
    return error::kBadParameter;
  }
  const bool whole = FromJsonData(text, output);
  return status == error::kSuccess && !whole ? error::kBadParameter : status;
}

uint32_t RemoteAccessCommClientPlugin::CancelTransfer(const wchar_t* function, Comm::Method method,
                                                      Comm::Parameter in_id,
                                                      const StringT<wchar_t>& jobId,
                                                      Comm::Parameter out_id,
                                                      StringT<wchar_t>& message) {
  ParameterList in;
  ParameterList out;
  if (!in.AddUtf16(in_id, jobId.view())) {
    ORN_LOG(logging::kWarning, function, kCouldNotAddInput);
    return error::kFailed;
  }
  const uint32_t status = send_request(method, in, out);
  // Whatever the status: a call that was not answered has no output either.
  if (!out.ReadUtf16(out_id, message)) {
    ORN_LOG(logging::kWarning, function, kCouldNotGetOutput);
    return error::kBadParameter;
  }
  return status;
}

template <class Observer>
uint32_t RemoteAccessCommClientPlugin::Subscribe(Observer* observer) {
  const bool done = observer != nullptr && register_subscriber(observer);
  return done ? error::kSuccess : error::kBadParameter;
}

template <class Observer>
uint32_t RemoteAccessCommClientPlugin::Unsubscribe(Observer* observer) {
  return unregister_subscriber(observer) ? error::kSuccess : error::kBadParameter;
}

uint32_t RemoteAccessCommClientPlugin::RegisterProcessOperationsEvent(
    IProcessOperationsEvent* observer, uint32_t, uint32_t) {
  return Subscribe(observer);
}

uint32_t RemoteAccessCommClientPlugin::RegisterFileOperationEvent(IFileOperationEvent* observer,
                                                                  uint32_t, uint32_t) {
  return Subscribe(observer);
}

uint32_t RemoteAccessCommClientPlugin::RegisterStateEvent(IStateEvent* observer, uint32_t,
                                                          uint32_t) {
  return Subscribe(observer);
}

uint32_t RemoteAccessCommClientPlugin::UnregisterProcessOperationsEvent(
    IProcessOperationsEvent* observer, uint32_t, uint32_t) {
  return Unsubscribe(observer);
}

uint32_t RemoteAccessCommClientPlugin::UnregisterFileOperationEvent(IFileOperationEvent* observer,
                                                                    uint32_t, uint32_t) {
  return Unsubscribe(observer);
}

uint32_t RemoteAccessCommClientPlugin::UnregisterStateEvent(IStateEvent* observer, uint32_t,
                                                            uint32_t) {
  return Unsubscribe(observer);
}

}  // namespace orn::RemoteAccess
