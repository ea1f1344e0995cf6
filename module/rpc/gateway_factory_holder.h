#pragma once

#include <memory>
#include <variant>

#include "module/frame/serv_plugin.h"
#include "module/platform/messaging.h"

template <class I, class J>
class ExportedPlugin;

namespace messaging::rpc {

// Where gateways come from: the host's messaging library, or without a host one that is loaded for
// the holder alone. Changed in Init and UnInit of its owner only.
class gateway_factory_holder {
 public:
  gateway_factory_holder() = default;
  gateway_factory_holder(const gateway_factory_holder&) = delete;
  gateway_factory_holder& operator=(const gateway_factory_holder&) = delete;

  // Null where there is no such library. `main` may be null.
  channel_gateway_factory* obtain(IServMain* main);
  // Null when nothing is held.
  channel_gateway_factory* get() const { return factory_; }
  void release();

 private:
  using host_plugin = ServPlugin<channel_gateway_factory>;
  using loaded_plugin = ExportedPlugin<channel_gateway_factory, channel_gateway_factory>;

  // Loads "messaging_tsr.dll" from the folder of this module.
  channel_gateway_factory* load();

  // Shared, as what is loaded is not known here.
  std::variant<std::monostate, std::unique_ptr<host_plugin>, std::shared_ptr<loaded_plugin>>
      holder_;
  channel_gateway_factory* factory_ = nullptr;  // Of the holder.
};

}  // namespace messaging::rpc
