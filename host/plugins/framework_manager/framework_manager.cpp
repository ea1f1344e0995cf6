#include "host/plugins/framework_manager/framework_manager.h"

#include "module/frame/error_codes.h"
#include "module/frame/log.h"

namespace host {

void* FrameworkManager::GetInterface(const InterfaceId& id) {
  if (id == IPluginConfig::kInterfaceId) return static_cast<IPluginConfig*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t FrameworkManager::Init(IServMain* main) {
  const LogFunctionTrace trace(L"Framework.Manager::Init");
  return configuration_.GetPlugin(main == nullptr ? nullptr : main->GetComponentManager()) ==
                 nullptr
             ? static_cast<int32_t>(error::kMissingDependency)
             : 0;
}

void FrameworkManager::UnInit() {
  configuration_.Release();
}

const wchar_t* FrameworkManager::GetValue(const wchar_t* key) {
  if (!configuration_ || key == nullptr) return nullptr;
  return configuration_->GetOption(L"Framework.Manager", key);
}

}  // namespace host
