#include "module/terminal/json_rpc_front.h"

#include <json/value.h>

#include "module/frame/error_codes.h"
#include "module/frame/json.h"
#include "module/frame/log.h"
#include "module/jobs/job_object.h"
#include "module/terminal/open_parameters.h"

namespace orn::RemoteAccess {

namespace {

constexpr char kModule[] = "RemoteAccess";

}  // namespace

uint32_t JsonRpcFront::OnRpcMethod(const VeldConnector::Rpc::Request& request,
                                   VeldConnector::Rpc::Reply& reply) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::OnRpcMethod");
  const std::lock_guard lock(rpc_mutex_);
  ORN_LOG(logging::kInformation, trace.function(), L"[json-rpc] [id:%S] %S/%S(%S) ",
          request.id.c_str(), request.module.c_str(), request.method.c_str(),
          request.parameters.c_str());
  if (request.module != kModule) return error::kForeignModule;
  if (request.method == "OpenTerminal") {
    reply.code = static_cast<int32_t>(RemoteTerminalOpen(request.parameters));
  } else if (request.method == "GetCurrentPath") {
    reply.code = static_cast<int32_t>(RemoteTerminalGetCurrentPath(reply.text));
  } else if (request.method == "PrevalidateDownloadPath") {
    reply.code = static_cast<int32_t>(
        prevalidation_.PrevalidateDownloadPath(request.parameters, reply.text));
  } else if (request.method == "PrevalidateUploadPath") {
    reply.code =
        static_cast<int32_t>(prevalidation_.PrevalidateUploadPath(request.parameters, reply.text));
  }
  return error::kSuccess;
}

uint32_t JsonRpcFront::RemoteTerminalGetCurrentPath(std::string& text) const {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::RemoteTerminalGetCurrentPath");
  Json::Value answer;
  answer["code"] = error::kNotSupported;
  answer["message"] = "not supported";
  text = JsonWriter().Write(answer);
  return error::kNotSupported;
}

uint32_t JsonRpcFront::RemoteTerminalOpen(const std::string& parameters) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::RemoteTerminalOpen");
  if (!enabled_.IsOn()) {
    ORN_LOG(logging::kWarning, trace.function(), L"Feature is disabled");
    telemetry_.ProcessToolRanEventForOpenTerminal(error::kDisabled);
    return error::kNotReady;
  }
  if (const uint32_t code = EnsureHost(); code != error::kSuccess) {
    telemetry_.ProcessToolRanEventForOpenTerminal(error::kHostStopped);
    return code;
  }

  OpenParameters input;
  if (!ReadOpenParameters(parameters, input)) {
    telemetry_.ProcessToolRanEventForOpenTerminal(error::kBadParameter);
    // The caller is told of success, though there is no terminal.
    return error::kSuccess;
  }
  if (input.stream_id.empty()) {
    ORN_LOG(logging::kWarning, trace.function(), L"Empty id received. No terminal created.");
    telemetry_.ProcessToolRanEventForOpenTerminal(error::kBadParameter);
    return error::kBadParameter;
  }
  return sessions_.Open(input.stream_id, input.size, input.inactivity_timeout);
}

uint32_t JsonRpcFront::EnsureHost() {
  static constexpr wchar_t kFunction[] = L"orn::RemoteAccess::RemoteAccessAL::RemoteTerminalOpen";
  if (host_started_) {
    ORN_LOG(logging::kInformation, kFunction, L"Host already started.");
    return error::kSuccess;
  }
  host_job_ = CreateKillOnCloseJob(L"orn::RemoteAccess::RemoteAccessAL::CreateJob");
  const uint32_t code = host_.StartHost({.start_value = 0, .job = &host_job_});
  host_started_ = code == error::kSuccess;
  ORN_LOG(host_started_ ? logging::kInformation : logging::kError, kFunction,
          L"StartHost return code: %d.", code);
  return code;
}

}  // namespace orn::RemoteAccess
