#pragma once

#include <string>
#include <vector>

#include "module/frame/interface_id.h"

namespace host {

// A further face of "LanguageManager", for those who let the user choose.
struct ILanguages {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{6C0E4B17-29F5-4D3A-A8B1-7E52D90C36F4}");
  static constexpr const wchar_t* kTypeName = L"host::ILanguages";

  struct Language {
    std::wstring code;  // "de", as ILanguageManagerEx::SetLanguage takes it
    std::wstring name;  // In that language: "Deutsch".
  };

  // Those whose files are there and can be read, English always, by their codes. Reads the files.
  virtual std::vector<Language> GetLanguages() = 0;
  // The code of the language of the texts.
  virtual std::wstring GetLanguage() = 0;

 protected:
  ~ILanguages() = default;
};

}  // namespace host
