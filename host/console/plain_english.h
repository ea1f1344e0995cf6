#pragma once

#include <string>
#include <vector>

#include "host/common/languages.h"
#include "module/frame/error_codes.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/language_manager.h"

namespace host::console {

// A translation service that knows no language but English, for a console that has no other.
class PlainEnglish final : public IOrnBaseInterface, public ILanguageManagerEx, public ILanguages {
 public:
  virtual ~PlainEnglish() = default;

  void* GetInterface(const InterfaceId& id) override {
    if (id == IOrnBaseInterface::kInterfaceId) return static_cast<IOrnBaseInterface*>(this);
    if (id == ILanguageManager::kInterfaceId || id == ILanguageManagerEx::kInterfaceId) {
      return static_cast<ILanguageManagerEx*>(this);
    }
    if (id == ILanguages::kInterfaceId) return static_cast<ILanguages*>(this);
    return nullptr;
  }
  uint32_t Translate(const wchar_t*, const wchar_t*, orn::StringT<wchar_t>*) override {
    return error::kNotFound;
  }
  void AddPunctuation(orn::StringT<wchar_t>& sentence, int32_t code) override {
    sentence += static_cast<wchar_t>(code);
  }
  uint32_t SetLanguage(const wchar_t*) override { return error::kNotFound; }
  std::vector<Language> GetLanguages() override { return {{.code = L"en", .name = L"English"}}; }
  std::wstring GetLanguage() override { return L"en"; }
};

}  // namespace host::console
