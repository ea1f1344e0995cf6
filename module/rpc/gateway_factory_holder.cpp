#include "module/rpc/gateway_factory_holder.h"

namespace messaging::rpc {

channel_gateway_factory* gateway_factory_holder::obtain(IServMain* main) {
  release();
  if (main == nullptr) {
    factory_ = load();
    return factory_;
  }
  auto plugin = std::make_unique<host_plugin>(kChannelGateway);
  factory_ = plugin->GetPlugin(main->GetComponentManager());
  holder_ = std::move(plugin);
  return factory_;
}

void gateway_factory_holder::release() {
  factory_ = nullptr;
  holder_ = std::monostate();
}

}  // namespace messaging::rpc
