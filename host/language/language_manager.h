#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/common/languages.h"
#include "host/common/sync.h"
#include "host/language/language_file.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/language_manager.h"

namespace host {

// The translation service, "LanguageManager" of LanguageManager.dll: the files NAME.json of the
// folder `languages` beside the library. One in each process, whether a host starts it or a plug-in
// loads it, so that all texts are in one language. Its first Start chooses that: the value
// "language" of HKCU\Software\Tessaro\Console, else the first of the user's languages in Windows
// that is there, else English, which needs no file.
class LanguageManager final : public IServPlugin, public ILanguageManagerEx, public ILanguages {
 public:
  // From the library's own folder.
  LanguageManager();
  explicit LanguageManager(std::wstring folder);
  LanguageManager(const LanguageManager&) = delete;
  LanguageManager& operator=(const LanguageManager&) = delete;
  virtual ~LanguageManager() = default;

  // IServPlugin. Who else uses it is not known, so the end of one changes nothing.
  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain*) override { return 0; }
  void UnInit() override {}
  int32_t Start() override;
  void Stop() override {}

  // ILanguageManagerEx
  uint32_t Translate(const wchar_t* text, const wchar_t* name_space,
                     orn::StringT<wchar_t>* result) override;
  void AddPunctuation(orn::StringT<wchar_t>& sentence, int32_t code) override;
  // The texts are in English after a failure.
  uint32_t SetLanguage(const wchar_t* name) override;

  // ILanguages
  std::vector<Language> GetLanguages() override;
  std::wstring GetLanguage() override;

 private:
  // Never null.
  std::shared_ptr<const LanguageFile> Current();
  void Use(std::wstring code, LanguageFile language);
  // The file of that code or, as a region falls back to its language, of the shortened code.
  uint32_t Read(std::wstring& code, LanguageFile& language) const;

  const logging::LogReference log_;
  const std::wstring folder_;

  Mutex mutex_;
  // Guarded by mutex_.
  bool chosen_ = false;
  std::wstring code_ = L"en";
  std::shared_ptr<const LanguageFile> current_ = std::make_shared<LanguageFile>();
};

}  // namespace host
