#include "host/plugins/persistent_handlers/persistent_handlers.h"

#include <string>

#include "host/common/host_configuration.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/serv_plugin.h"

namespace host {

void* PersistentHandlers::GetInterface(const InterfaceId& id) {
  if (id == IPesistentHandlers::kInterfaceId) return static_cast<IPesistentHandlers*>(this);
  if (id == IPersistedNames::kInterfaceId) return static_cast<IPersistedNames*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t PersistentHandlers::Init(IServMain* main) {
  const LogFunctionTrace trace(L"Product.PersistentHandlers::Init");
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  ServPlugin<IHostConfiguration> configuration(kConfigurationName);
  if (configuration.GetPlugin(manager) == nullptr) {
    return static_cast<int32_t>(error::kMissingDependency);
  }
  const wchar_t* const option = configuration->GetOption(L"Product.PersistentHandlers", L"store");
  const std::wstring path =
      option != nullptr ? std::wstring(configuration->ResolvePath(option))
                        : std::wstring(configuration->GetDataFolder()) + L"\\signals\\handlers.db";
  store_ = std::make_unique<signals::NameStore>(path);
  return 0;
}

void PersistentHandlers::Add(const char* channel, const char* id) {
  if (channel != nullptr && id != nullptr) store_->Add(channel, id);
}

void PersistentHandlers::Remove(const char* channel, const char* id) {
  if (channel != nullptr && id != nullptr) store_->Remove(channel, id);
}

void PersistentHandlers::ForEach(const char* channel, void (*each)(const char* id, void* user),
                                 void* user) {
  if (channel == nullptr || each == nullptr) return;
  for (const std::string& id : store_->Names(channel))
    each(id.c_str(), user);
}

}  // namespace host
