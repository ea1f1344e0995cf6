#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "module/feature/enabled_setting.h"
#include "module/frame/handle.h"
#include "module/jobs/path_prevalidation.h"
#include "module/platform/veld_connector.h"
#include "module/telemetry/product_matrix_app.h"
#include "module/terminal/host/feature_host.h"
#include "module/terminal/terminal_sessions.h"

namespace orn::RemoteAccess {

// The JSON-RPC calls that the connector delivers, one at a time: "OpenTerminal",
// "GetCurrentPath", "PrevalidateDownloadPath" and "PrevalidateUploadPath". The first terminal
// starts the host of the terminals.
class JsonRpcFront {
 public:
  // Everything is borrowed.
  JsonRpcFront(EnabledSetting& enabled, EndpointService::FeatureHost& host,
               TerminalSessions& sessions, const ProductMatrix::ProductMatrixApp& telemetry,
               const PathPrevalidation& prevalidation)
      : enabled_(enabled),
        host_(host),
        sessions_(sessions),
        telemetry_(telemetry),
        prevalidation_(prevalidation) {}
  JsonRpcFront(const JsonRpcFront&) = delete;
  JsonRpcFront& operator=(const JsonRpcFront&) = delete;

  // As Rpc::IController says; 3 for the call of another module. Any thread. Takes any text; what is
  // wrong with the parameters of a terminal shows in the reply's code alone.
  uint32_t OnRpcMethod(const VeldConnector::Rpc::Request& request,
                       VeldConnector::Rpc::Reply& reply);

 private:
  uint32_t RemoteTerminalOpen(const std::string& parameters);
  uint32_t RemoteTerminalGetCurrentPath(std::string& text) const;
  uint32_t EnsureHost();

  EnabledSetting& enabled_;
  EndpointService::FeatureHost& host_;
  TerminalSessions& sessions_;
  const ProductMatrix::ProductMatrixApp& telemetry_;
  const PathPrevalidation& prevalidation_;

  std::mutex rpc_mutex_;  // held for the whole of a call; guards the rest
  bool host_started_ = false;
  UniqueHandle host_job_;  // holds the host's process
};

}  // namespace orn::RemoteAccess
