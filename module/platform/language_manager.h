#pragma once

#include <cstdint>

#include "module/frame/interface_id.h"
#include "module/frame/string.h"

// The translation service, plug-in "LanguageManager" of LanguageManager.dll. Texts are looked up by
// their English form.
struct ILanguageManager {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{84C10000-5F74-4DD2-FBF4-2778D1CB16AC}");
  static constexpr const wchar_t* kTypeName = L"ILanguageManager";

  // 0 with the translation in `*result`, 1168 where there is none; `*result` is untouched then. Any
  // thread.
  virtual uint32_t Translate(const wchar_t* text, const wchar_t* name_space,
                             orn::StringT<wchar_t>* result) = 0;
  // Ends a sentence with what the language writes for the English character `code`, 46 for a full
  // stop. Any thread.
  virtual void AddPunctuation(orn::StringT<wchar_t>& sentence, int32_t code) = 0;

 protected:
  ~ILanguageManager() = default;
};

// For those who choose the language.
struct ILanguageManagerEx : ILanguageManager {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{B70E3F52-6A1C-4D8E-9F23-5C4B8E07D1A6}");
  static constexpr const wchar_t* kTypeName = L"ILanguageManagerEx";

  // By the name of its file ("de"); a region ("de-AT") falls back to its language. 0; 1168 where
  // there is no such file, 13 where it cannot be read as one: English then. Any thread.
  virtual uint32_t SetLanguage(const wchar_t* name) = 0;

 protected:
  ~ILanguageManagerEx() = default;
};
