#include "module/frame/exported_plugin.h"
#include "module/frame/path.h"
#include "module/rpc/gateway_factory_holder.h"

namespace messaging::rpc {

// Stands apart from the rest, which needs nothing of Windows.
channel_gateway_factory* gateway_factory_holder::load() {
  orn::PathStringT<260> path;
  if (!orn::GetModuleFolder(path)) return nullptr;
  orn::AppendPath(path, L"messaging_tsr.dll");
  auto plugin = std::make_shared<loaded_plugin>();
  plugin->Load(path.c_str(), kChannelGateway);
  channel_gateway_factory* const factory = plugin->get();
  holder_ = std::move(plugin);
  return factory;
}

}  // namespace messaging::rpc
