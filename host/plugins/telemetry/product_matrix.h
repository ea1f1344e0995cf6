#pragma once

#include <memory>

#include "host/plugins/connector/event_channel.h"
#include "host/plugins/telemetry/event_spool.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/telemetry.h"

namespace host {

// "Product.Matrix": puts each usage event into a spool file, one line of JSON with the time in
// seconds since 1970, and tells the server of it under the event's own name if there is a
// connection right now.
//
// Option "spool": the folder of the file, by default `telemetry` in the data folder.
class ProductMatrix final : public Telemetry::ITelemetry, public IServPlugin {
 public:
  ProductMatrix() = default;
  ProductMatrix(const ProductMatrix&) = delete;
  ProductMatrix& operator=(const ProductMatrix&) = delete;
  virtual ~ProductMatrix() = default;

  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  int32_t Start() override { return 0; }
  void Stop() override {}

  // The status tells whether the event is in the spool.
  uint32_t Send(const Json::Value& event, uint32_t options) override;

 private:
  const logging::LogReference log_;
  ServPlugin<IEventChannel> channel_{L"VeldConnector"};
  std::unique_ptr<EventSpool> spool_;
};

}  // namespace host
