#pragma once

#include <cstdint>
#include <string>

#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/telemetry.h"

namespace orn::RemoteAccess::ProductMatrix {

// Reports how the tools of the feature ended: one event each. It never fails an operation; without
// the telemetry plug-in the events are dropped. After Init any thread may report.
class ProductMatrixApp {
 public:
  void Init(IComponentManager* manager);
  void UnInit();

  // `status` is a Windows code, which also gives the reason.
  void ProcessToolRanEventForOpenTerminal(int32_t status) const;
  void ProcessToolRanEventForDownload(const std::string& reason, int32_t status) const;
  void ProcessToolRanEventForUpload(const std::string& reason, int32_t status) const;

 private:
  void ProcessToolRanEvent(const char* tool, const std::string& reason, int32_t status) const;

  ServPlugin<Telemetry::ITelemetry> telemetry_{L"Product.Matrix"};
};

}  // namespace orn::RemoteAccess::ProductMatrix
