#include "module/console/language_manager.h"
#include "module/frame/exported_plugin.h"
#include "module/frame/log.h"

namespace {

const std::wstring kObject = L"LanguageManager";

}  // namespace

// Stands apart from the rest, which needs nothing of Windows.
LanguageManager::Service LanguageManager::Load(const std::wstring& path,
                                               const std::wstring& language) {
  const auto plugin = std::make_shared<ExportedPlugin<ILanguageManagerEx, ILanguageManagerEx>>();
  if (const uint32_t status = plugin->Load(path.c_str(), kObject.c_str()); status != 0) {
    ORN_LOG(logging::kNotice, L"LanguageManager::Load", L"Error %d loading \"%s\"", status,
            path.c_str());
    return nullptr;
  }
  if (!language.empty()) plugin->get()->SetLanguage(language.c_str());
  return Service(plugin, plugin->get());
}
