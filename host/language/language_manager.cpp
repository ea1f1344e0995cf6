#include "host/language/language_manager.h"

#include <algorithm>
#include <utility>

#include "host/language/user_languages.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/frame/windows.h"

namespace host {
namespace {

constexpr wchar_t kEnglish[] = L"en";

std::wstring LanguagesFolder() {
  orn::PathStringT<260> folder;
  orn::GetModuleFolder(folder);
  return std::wstring(folder.view()) + L"languages";
}

// Nothing that leads out of the folder.
bool IsCode(std::wstring_view code) {
  constexpr size_t kMostCharacters = 85;  // Of Windows' own names.
  return !code.empty() && code.size() <= kMostCharacters &&
         std::ranges::all_of(code, [](wchar_t c) {
           return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') ||
                  (c >= L'0' && c <= L'9') || c == L'-';
         });
}

}  // namespace

LanguageManager::LanguageManager() : LanguageManager(LanguagesFolder()) {}

LanguageManager::LanguageManager(std::wstring folder) : folder_(std::move(folder)) {}

void* LanguageManager::GetInterface(const InterfaceId& id) {
  if (id == ILanguageManager::kInterfaceId) {
    return static_cast<ILanguageManager*>(static_cast<ILanguageManagerEx*>(this));
  }
  if (id == ILanguageManagerEx::kInterfaceId) return static_cast<ILanguageManagerEx*>(this);
  if (id == ILanguages::kInterfaceId) return static_cast<ILanguages*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t LanguageManager::Start() {
  const LogFunctionTrace trace(L"LanguageManager::Start");
  {
    const Lock lock(mutex_);
    if (std::exchange(chosen_, true)) return 0;
  }
  for (std::wstring& code : UserLanguages()) {
    LanguageFile language;
    const uint32_t status = Read(code, language);
    const bool is_english = code.substr(0, code.find(L'-')) == kEnglish;
    if (status == error::kNotFound && !is_english) continue;
    if (status == error::kSuccess) Use(std::move(code), std::move(language));
    break;
  }
  ORN_LOG(logging::kInformation, trace.function(), L"The language is \"%s\".",
          GetLanguage().c_str());
  return 0;
}

uint32_t LanguageManager::Translate(const wchar_t* text, const wchar_t* name_space,
                                    orn::StringT<wchar_t>* result) {
  if (text == nullptr || name_space == nullptr || result == nullptr) return error::kNotFound;
  const auto language = Current();
  const auto texts = language->namespaces.find(std::wstring_view(name_space));
  if (texts == language->namespaces.end()) return error::kNotFound;
  const auto found = texts->second.find(std::wstring_view(text));
  if (found == texts->second.end()) return error::kNotFound;
  *result = found->second;
  return error::kSuccess;
}

void LanguageManager::AddPunctuation(orn::StringT<wchar_t>& sentence, int32_t code) {
  const auto language = Current();
  const auto found = language->punctuation.find(code);
  if (found != language->punctuation.end()) {
    sentence += std::wstring_view(found->second);
  } else {
    sentence += static_cast<wchar_t>(code);
  }
}

uint32_t LanguageManager::SetLanguage(const wchar_t* name) {
  const LogFunctionTrace trace(L"LanguageManager::SetLanguage");
  std::wstring code = name == nullptr ? L"" : name;
  LanguageFile language;
  const uint32_t status = Read(code, language);
  if (status == error::kSuccess) {
    Use(std::move(code), std::move(language));
  } else {
    Use(kEnglish, LanguageFile());
  }
  return status == error::kSuccess || status == error::kNotFound ? status : error::kInvalidData;
}

std::vector<ILanguages::Language> LanguageManager::GetLanguages() {
  std::vector<Language> languages;
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW((folder_ + L"\\*.json").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      std::wstring code = found.cFileName;
      code.resize(code.size() - std::min(code.size(), std::wstring_view(L".json").size()));
      LanguageFile language;
      const std::wstring asked = code;
      if (Read(code, language) != error::kSuccess || code != asked) continue;
      languages.emplace_back(code, language.name.empty() ? code : std::move(language.name));
    } while (FindNextFileW(search, &found) != 0);
    FindClose(search);
  }
  const auto has_code = [](const Language& each) { return each.code == kEnglish; };
  if (std::ranges::none_of(languages, has_code)) languages.emplace_back(kEnglish, L"English");
  std::ranges::sort(languages, {}, &Language::code);
  return languages;
}

std::wstring LanguageManager::GetLanguage() {
  const Lock lock(mutex_);
  return code_;
}

std::shared_ptr<const LanguageFile> LanguageManager::Current() {
  const Lock lock(mutex_);
  return current_;
}

void LanguageManager::Use(std::wstring code, LanguageFile language) {
  auto current = std::make_shared<const LanguageFile>(std::move(language));
  const Lock lock(mutex_);
  chosen_ = true;
  code_ = std::move(code);
  current_.swap(current);
}

uint32_t LanguageManager::Read(std::wstring& code, LanguageFile& language) const {
  for (std::wstring shorter = code; IsCode(shorter);) {
    const std::wstring path = folder_ + L'\\' + shorter + L".json";
    const uint32_t status = ReadLanguageFile(path, language);
    if (status == error::kSuccess) {
      if (language.ignored != 0) {
        ORN_LOG(logging::kWarning, L"LanguageManager::Read",
                L"%zu values of \"%s\" are no texts, or too long, and are ignored.",
                language.ignored, path.c_str());
      }
      code = std::move(shorter);
      return status;
    }
    if (status != error::kNotFound) {
      ORN_LOG(logging::kError, L"LanguageManager::Read",
              L"The language file \"%s\" cannot be used. Error: %u.", path.c_str(), status);
      return status;
    }
    const size_t region = shorter.rfind(L'-');
    if (region == std::wstring::npos) break;
    shorter.resize(region);
  }
  ORN_LOG(logging::kNotice, L"LanguageManager::Read", L"There is no language file for \"%s\".",
          code.c_str());
  return error::kNotFound;
}

}  // namespace host
