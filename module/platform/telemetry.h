#pragma once

#include <json/value.h>

#include <cstdint>

#include "module/frame/interface_id.h"

namespace Telemetry {

// Delivers usage events. Any thread.
struct ITelemetry {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("872DA2C0-CDA8-4CEF-8348-02768709E306");
  static constexpr const wchar_t* kTypeName = L"Telemetry::ITelemetry";

  // Returns a status, 0 for success.
  virtual uint32_t Send(const Json::Value& event, uint32_t options) = 0;

 protected:
  ~ITelemetry() = default;
};

}  // namespace Telemetry
