#include "module/agent/remote_access_agent.h"

#include "module/feature/records_json.h"
#include "module/frame/error_codes.h"
#include "module/frame/json_composed.h"
#include "module/frame/log.h"

namespace orn::RemoteAccess {
namespace {

constexpr wchar_t kName[] = L"RemoteAccess";

bool InputRefused(const wchar_t* function) {
  ORN_LOG(logging::kWarning, function, L"Could not get input data from the request.");
  return false;
}

}  // namespace

RemoteAccessAgent::RemoteAccessAgent() : Agent(kName, /*feature_name=*/kName) {
  const auto add = [this](const wchar_t* name, bool (RemoteAccessAgent::*handler)(EasyJson&)) {
    methods_.emplace(name, [this, handler](EasyJson& json) { return (this->*handler)(json); });
  };
  add(L"SetEnabled", &RemoteAccessAgent::SetEnabled);
  add(L"GetEnabled", &RemoteAccessAgent::GetEnabled);
  add(L"StartDownload", &RemoteAccessAgent::StartDownload);
  add(L"StartUploadArchive", &RemoteAccessAgent::StartUploadArchive);
  add(L"CancelDownload", &RemoteAccessAgent::CancelDownload);
  add(L"CancelUpload", &RemoteAccessAgent::CancelUpload);
  add(L"StartProcess", &RemoteAccessAgent::StartProcess);
}

int32_t RemoteAccessAgent::Start() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::Start");
  int32_t code = Agent::Start();
  if (code != 0) {
    ORN_LOG(logging::kWarning, trace.function(), L"Cannot start plugin. [error = %d]", code);
  }
  if (!plugin()) return code;
  code = static_cast<int32_t>(plugin()->RegisterFileOperationEvent(this, 0, 0));
  if (code != 0) {
    ORN_LOG(logging::kWarning, trace.function(),
            L"register for FileOperation events failed [error = %d]", code);
    return code;
  }
  code = static_cast<int32_t>(plugin()->RegisterProcessOperationsEvent(this, 0, 0));
  if (code != 0) {
    ORN_LOG(logging::kWarning, trace.function(),
            L"register for ProcessOperationsEvent events failed [error = %d]", code);
  }
  return code;
}

void RemoteAccessAgent::Stop() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::Stop");
  if (plugin()) {
    plugin()->UnregisterFileOperationEvent(this, 0, 0);
    plugin()->UnregisterProcessOperationsEvent(this, 0, 0);
  }
  Agent::Stop();
}

uint32_t RemoteAccessAgent::GetStatus(uint32_t, EnterpriseIntegration::IAgentStatusSink* sink) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::GetStatus");
  EnterpriseIntegration::AgentStatus status;
  status.name = kName;
  if (!plugin() || plugin()->GetEnabled(&status.enabled) != error::kSuccess) status.enabled = false;
  sink->OnStatus(status);
  return error::kSuccess;
}

uint32_t RemoteAccessAgent::GetPolicyNames(List<StringT<wchar_t>>& names) {
  return names.PushBack(kName);
}

void RemoteAccessAgent::RunPolicyMethod(EnterpriseIntegration::IPolicyMethodCall* call) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::RunPolicyMethod");
  if (call == nullptr) {
    ORN_LOG(logging::kWarning, trace.function(), L"Invalid policy parameter");
    return;
  }
  if (!plugin()) {
    ORN_LOG(logging::kWarning, trace.function(), L"Could not get remote access plugin");
    return call->Complete(error::kNotReady);
  }
  const wchar_t* const name = call->GetMethodName();
  EasyJson json{.input = call->GetInput(), .output = call->GetOutput(), .call = call};
  if (name == nullptr || json.input == nullptr || json.output == nullptr) {
    ORN_LOG(logging::kWarning, trace.function(), L"Invalid policy data");
    return call->Complete(error::kInvalidData);
  }
  ORN_LOG(logging::kTrace, trace.function(), L"Method name is '%s'", call->GetDisplayName());
  const auto method = methods_.find(name);
  if (method == methods_.end()) {
    ORN_LOG(logging::kNotice, trace.function(), L"Function %s not found", name);
    return call->Complete(error::kInvalidOperation);
  }
  if (method->second(json)) return;
  ORN_LOG(logging::kNotice, trace.function(), L"%s - input validation failed", name);
  call->Complete(error::kBadArguments);
}

// The switch.

bool RemoteAccessAgent::SetEnabled(EasyJson& json) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::SetEnabled");
  bool enabled = false;
  if (!JsonComposedSerializer(json.input).Field(enabled, "enabled")) return false;
  bool old = false;
  plugin()->GetEnabled(&old);
  const uint32_t status = plugin()->SetEnabled(enabled);
  if (status == error::kSuccess && enabled != old) manager()->NotifyStatusChanged(1);
  json.call->Complete(static_cast<int32_t>(status));
  return true;
}

bool RemoteAccessAgent::GetEnabled(EasyJson& json) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::GetEnabled");
  bool enabled = false;
  const uint32_t status = plugin()->GetEnabled(&enabled);
  if (!SetJson(Json::Value(enabled), json.output, "enabled")) return false;
  json.call->Complete(static_cast<int32_t>(status));
  return true;
}

// Jobs and runs.

template <class Input>
bool RemoteAccessAgent::StartFileOperation(const wchar_t* function, EasyJson& json,
                                           StartOperation<Input> start) {
  Input input;
  if (!LoadRecord(input, json.input)) return InputRefused(function);
  OperationResponse response;
  const uint32_t status = (plugin().get()->*start)(input, response);
  if (!SaveRecord(response, json.output)) return false;
  json.call->Complete(static_cast<int32_t>(status));
  return true;
}

bool RemoteAccessAgent::StartDownload(EasyJson& json) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::StartDownload");
  return StartFileOperation(trace.function(), json, &IRemoteAccess::StartDownload);
}

bool RemoteAccessAgent::StartUploadArchive(EasyJson& json) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::StartUploadArchive");
  return StartFileOperation(trace.function(), json, &IRemoteAccess::StartUploadArchive);
}

bool RemoteAccessAgent::CancelFileOperation(const wchar_t* function, EasyJson& json,
                                            CancelOperation cancel) {
  StringT<wchar_t> job_id;
  if (!JsonComposedSerializer(json.input).Field(job_id, "jobId")) return InputRefused(function);
  StringT<wchar_t> message;
  const uint32_t status = (plugin().get()->*cancel)(job_id, message);
  if (!SetJson(message, json.output, "message") || !SetJson(job_id, json.output, "jobId")) {
    return false;
  }
  json.call->Complete(static_cast<int32_t>(status));
  return true;
}

bool RemoteAccessAgent::CancelDownload(EasyJson& json) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::CancelDownload");
  return CancelFileOperation(trace.function(), json, &IRemoteAccess::CancelDownload);
}

bool RemoteAccessAgent::CancelUpload(EasyJson& json) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::CancelUpload");
  return CancelFileOperation(trace.function(), json, &IRemoteAccess::CancelUpload);
}

bool RemoteAccessAgent::StartProcess(EasyJson& json) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::StartProcess");
  ProcessExecutionInput input;
  UploadArchiveInput upload;
  ProcessExecutionResponse response;
  if (!LoadRecord(input, json.input) || !LoadRecord(upload, json.input, "startUploadArchive")) {
    return InputRefused(trace.function());
  }
  if (input.commandLine.empty()) {
    ORN_LOG(logging::kNotice, trace.function(),
            L"ProcessExecutionInput contains empty commandLine.");
    return false;
  }
  if (input.timeout == 0) {
    ORN_LOG(logging::kNotice, trace.function(), L"ProcessExecutionInput contains timeout == 0.");
    return false;
  }
  const uint32_t code = plugin()->StartProcess(input, upload, response);
  if (code != error::kSuccess) {
    ORN_LOG(logging::kWarning, trace.function(), L"Run StartProcess method [error = %d]", code);
    return false;
  }
  if (!SaveRecord(response, json.output)) return false;
  json.call->Complete(response.status);
  return true;
}

// Events.

template <class Record>
uint32_t RemoteAccessAgent::SendEvent(const wchar_t* function, const wchar_t* name,
                                      const Record& record) {
  // What cannot be written is left out, and the rest is sent.
  Json::Value payload;
  SaveRecord(record, FindNode(&payload, "data", /*create=*/true));
  if (!manager()) {
    ORN_LOG(logging::kWarning, function, L"No manager for sending event.");
    return error::kMissingDependency;
  }
  if (!manager()->SendEvent(name, payload, 0)) {
    ORN_LOG(logging::kWarning, function, L"SendEvent failed.");
    return error::kFailed;
  }
  return error::kSuccess;
}

uint32_t RemoteAccessAgent::OnDownloadFinished(const DownloadMetadata& metadata) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::OnDownloadFinished");
  return SendEvent(trace.function(), L"RemoteAccess.DownloadFinished", metadata);
}

uint32_t RemoteAccessAgent::OnUploadFinished(const UploadArchiveMetadata& metadata) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::OnUploadFinished");
  return SendEvent(trace.function(), L"RemoteAccess.UploadFinished", metadata);
}

uint32_t RemoteAccessAgent::OnProcessFinished(const ProcessExecutionMetadata& metadata) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAgent::OnProcessFinished");
  return SendEvent(trace.function(), L"RemoteAccess.ProcessFinished", metadata);
}

}  // namespace orn::RemoteAccess
