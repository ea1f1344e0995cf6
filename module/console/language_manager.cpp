#include "module/console/language_manager.h"

#include <mutex>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/serv_plugin.h"

namespace {

const std::wstring kPlugin = L"LanguageManager";
constexpr wchar_t kNamespace[] = L"console";

constinit orn::SpinFlag instance_flag;
// Guarded by instance_flag.
constinit LanguageManager* instance = nullptr;
constinit size_t handles = 0;

}  // namespace

LanguageManager::Handle::Handle() {
  const std::lock_guard lock(instance_flag);
  if (instance == nullptr) instance = new LanguageManager;
  ++handles;
  manager_ = instance;
}

LanguageManager::Handle::~Handle() {
  LanguageManager* last = nullptr;
  {
    const std::lock_guard lock(instance_flag);
    if (--handles == 0) last = std::exchange(instance, nullptr);
  }
  // It may unload a library.
  delete last;
}

void LanguageManager::SetHost(IServMain* host) {
  Service old;
  const std::lock_guard lock(flag_);
  host_ = host;
  missing_ = false;
  old.swap(service_);
}

void LanguageManager::SetLibrary(std::wstring path, std::wstring language) {
  Service old;
  const std::lock_guard lock(flag_);
  path_ = std::move(path);
  language_ = std::move(language);
  missing_ = false;
  old.swap(service_);
}

LanguageManager::Service LanguageManager::Attach() {
  const std::lock_guard lock(flag_);
  if (service_ == nullptr && host_ != nullptr) service_ = Fetch(*host_);
  if (service_ == nullptr) service_ = Load(path_, language_);
  if (service_ == nullptr && !std::exchange(missing_, true)) {
    ORN_LOG(logging::kWarning, L"LanguageManager::Attach",
            L"There is no translation service. Texts are in English.");
  }
  return service_;
}

LanguageManager::Service LanguageManager::Fetch(IServMain& host) {
  const auto plugin = std::make_shared<ServPlugin<ILanguageManager>>(kPlugin.c_str());
  ILanguageManager* const service = plugin->GetPlugin(host.GetComponentManager());
  return service == nullptr ? nullptr : Service(plugin, service);
}

orn::StringT<wchar_t> LanguageManager::Translate(const wchar_t* english) {
  orn::StringT<wchar_t> text;
  const Service service = Attach();
  if (service == nullptr || service->Translate(english, kNamespace, &text) != error::kSuccess) {
    text = english;
  }
  return text;
}

void LanguageManager::AddPunctuation(orn::StringT<wchar_t>& sentence, int32_t code) {
  Attach()->AddPunctuation(sentence, code);
}
