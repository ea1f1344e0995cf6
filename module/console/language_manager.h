#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "module/frame/plugin_interfaces.h"
#include "module/frame/spin_flag.h"
#include "module/frame/string.h"
#include "module/platform/language_manager.h"

// The translation service as the console's objects use it, shared by all of the module:
//
//   const LanguageManager::Handle language;
//   title = language->Translate(L"Remote Shell Connection");
//
// There is one, from the first handle to the last. It fetches the host's service where a host is
// known, and otherwise loads "LanguageManager.dll", at the first text that is asked for. Any
// thread; the service is called with no lock held.
class LanguageManager {
 public:
  // Holders that ask again and again keep one, so that the service stays.
  class Handle {
   public:
    Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle();

    LanguageManager* operator->() const noexcept { return manager_; }

   private:
    LanguageManager* manager_;  // Never null.
  };

  // From now on the service comes from this host; null for none. What was attached goes when the
  // calls that use it are over. The host must stay until it is taken back.
  void SetHost(IServMain* host);
  // What is loaded without a host: a library, and the language in which it is to be, or nothing.
  void SetLibrary(std::wstring path, std::wstring language = {});

  // The English text itself where there is no service or no translation.
  orn::StringT<wchar_t> Translate(const wchar_t* english);
  // Ends the sentence with what the language writes for the character `code`. There must be a
  // service: without one the process ends.
  void AddPunctuation(orn::StringT<wchar_t>& sentence, int32_t code);

 private:
  using Service = std::shared_ptr<ILanguageManager>;

  LanguageManager() = default;
  ~LanguageManager() = default;

  // Null where there is none.
  Service Attach();
  static Service Fetch(IServMain& host);
  static Service Load(const std::wstring& path, const std::wstring& language);

  orn::SpinFlag flag_;
  // Guarded by flag_.
  Service service_;
  bool missing_ = false;       // Which was logged.
  IServMain* host_ = nullptr;  // Not owned.
  std::wstring language_;
  std::wstring path_ = L"LanguageManager.dll";
};
