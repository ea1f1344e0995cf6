#include "host/plugins/settings/tsr_settings.h"

#include <algorithm>
#include <string_view>

#include "host/common/host_configuration.h"
#include "host/plugins/settings/registry_node.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/serv_plugin.h"

namespace host {

void* TsrSettings::GetInterface(const InterfaceId& id) {
  if (id == ITsrSettings::kInterfaceId) return static_cast<ITsrSettings*>(this);
  if (id == ISettingsWatch::kInterfaceId) return static_cast<ISettingsWatch*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t TsrSettings::Init(IServMain* main) {
  const LogFunctionTrace trace(L"TsrSettings::Init");
  ServPlugin<IHostConfiguration> configuration(kConfigurationName);
  if (configuration.GetPlugin(main == nullptr ? nullptr : main->GetComponentManager()) == nullptr) {
    return static_cast<int32_t>(error::kMissingDependency);
  }
  const wchar_t* const option = configuration->GetOption(L"TsrSettings", L"root");
  if (option == nullptr) return 0;
  const std::wstring_view root = option;
  if (root.size() <= 5 || root.back() == L'\\' ||
      (!root.starts_with(L"HKLM\\") && !root.starts_with(L"HKCU\\"))) {
    ORN_LOG(logging::kError, trace.function(), L"Bad option \"root\": %s", option);
    return static_cast<int32_t>(error::kBadParameter);
  }
  hive_ = root.starts_with(L"HKLM") ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
  root_ = root.substr(5);
  return 0;
}

ITsrSettings::INode* TsrSettings::OpenForRead(const wchar_t* key, uint32_t) {
  SettingPath path;
  if (!FindSetting(hive_, root_, key, path)) return nullptr;
  auto* const node = new RegistryNode(std::move(path), RegistryNode::Access::kRead);
  node->Probe();
  return node;
}

ITsrSettings::INode* TsrSettings::OpenForWrite(const wchar_t* key) {
  SettingPath path;
  if (!FindSetting(hive_, root_, key, path)) return nullptr;
  return new RegistryNode(std::move(path), RegistryNode::Access::kWrite);
}

uint32_t TsrSettings::Store(INode* node, const wchar_t* key, uint32_t, uint32_t flush) {
  if (node == nullptr || key == nullptr) return error::kBadParameter;
  const uint32_t result = static_cast<RegistryNode*>(node)->Write(flush != 0);
  if (result != 0) {
    ORN_LOG(logging::kError, L"TsrSettings::Store", L"Setting %s is not stored. Error: %d.", key,
            result);
    return result;
  }
  const Lock lock(mutex_);
  for (IObserver* const observer : observers_)
    observer->OnStored(key);
  return 0;
}

void TsrSettings::Watch(IObserver* observer) {
  const Lock lock(mutex_);
  observers_.push_back(observer);
}

void TsrSettings::Unwatch(IObserver* observer) {
  const Lock lock(mutex_);
  std::erase(observers_, observer);
}

}  // namespace host
