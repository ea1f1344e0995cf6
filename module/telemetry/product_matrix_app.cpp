#include "module/telemetry/product_matrix_app.h"

#include <json/value.h>

#include "module/frame/error_codes.h"
#include "module/frame/json.h"
#include "module/frame/log.h"
#include "module/frame/utf.h"

namespace orn::RemoteAccess::ProductMatrix {

namespace {

std::string OpenTerminalReason(int32_t status) {
  static constexpr struct {
    uint32_t status;
    const char* reason;
  } kReasons[] = {
      {error::kDisabled, "FeatureDisabled"},
      {error::kHostStopped, "HostIsStopped"},
      {error::kFailed, "TerminalStartFailed"},
      {error::kConnectionInvalid, "InvalidStreamConnection"},
      {error::kInvalidHandle, "InvalidTerminalConnection"},
      {error::kBadParameter, "InvalidParameters"},
      {error::kSuccess, "success"},
  };
  for (const auto& entry : kReasons) {
    if (entry.status == static_cast<uint32_t>(status)) return entry.reason;
  }
  return std::to_string(status);
}

}  // namespace

void ProductMatrixApp::Init(IComponentManager* manager) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::ProductMatrix::ProductMatrixApp::Init");
  if (telemetry_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kWarning, trace.function(), L"Could not get ProductMatrix plugin.");
  }
}

void ProductMatrixApp::UnInit() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::ProductMatrix::ProductMatrixApp::UnInit");
  telemetry_.Release();
}

void ProductMatrixApp::ProcessToolRanEventForOpenTerminal(int32_t status) const {
  ProcessToolRanEvent("RemoteAccess.OpenTerminal", OpenTerminalReason(status), status);
}

void ProductMatrixApp::ProcessToolRanEventForDownload(const std::string& reason,
                                                      int32_t status) const {
  ProcessToolRanEvent("RemoteAccess.Download", reason, status);
}

void ProductMatrixApp::ProcessToolRanEventForUpload(const std::string& reason,
                                                    int32_t status) const {
  ProcessToolRanEvent("RemoteAccess.Upload", reason, status);
}

void ProductMatrixApp::ProcessToolRanEvent(const char* tool, const std::string& reason,
                                           int32_t status) const {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::ProductMatrix::ProductMatrixApp::ProcessToolRanEvent");
  Json::Value event;
  event["event_name"] = "m_tool_ran";
  event["event_version"] = "1.0";
  event["tool"] = tool;
  event["exit_code"] = status;
  event["exit_reason"] = reason;
  ORN_LOG(logging::kInformation, trace.function(), L"ToolRan event data: %s",
          ToWide(JsonWriter().Write(event)).c_str());
  const uint32_t result =
      telemetry_ ? telemetry_->Send(event, /*options=*/0) : error::kBadParameter;
  ORN_LOG(logging::kInformation, trace.function(), L"ToolRan::Send result: [%d]", result);
}

}  // namespace orn::RemoteAccess::ProductMatrix
