#include "host/language/user_languages.h"

#include "module/frame/windows.h"

namespace host {
namespace {

std::wstring ChosenLanguage() {
  wchar_t value[100] = {};
  DWORD size = sizeof(value);
  const LSTATUS status = RegGetValueW(HKEY_CURRENT_USER, L"Software\\Tessaro\\Console", L"language",
                                      RRF_RT_REG_SZ, /*pdwType=*/nullptr, value, &size);
  return status == ERROR_SUCCESS ? value : L"";
}

}  // namespace

std::vector<std::wstring> UserLanguages() {
  std::vector<std::wstring> languages;
  if (std::wstring chosen = ChosenLanguage(); !chosen.empty()) {
    languages.push_back(std::move(chosen));
  }
  ULONG count = 0;
  ULONG length = 0;
  if (GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, /*pwszLanguagesBuffer=*/nullptr,
                                  &length) == 0) {
    return languages;
  }
  std::wstring names(length, L'\0');
  if (GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, names.data(), &length) == 0) {
    return languages;
  }
  for (const wchar_t* name = names.c_str(); *name != L'\0'; name += languages.back().size() + 1)
    languages.emplace_back(name);
  return languages;
}

}  // namespace host
