#include "host/setup/registry_changes.h"

#include <ranges>

namespace host::setup {
uint32_t RegistryChanges::SetText(const std::wstring& key, const wchar_t* name,
                                  const std::wstring& text) {
  return Set(key, name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

uint32_t RegistryChanges::SetNumber(const std::wstring& key, const wchar_t* name, DWORD number) {
  return Set(key, name, REG_DWORD, &number, sizeof(number));
}

uint32_t RegistryChanges::Set(const std::wstring& key, const wchar_t* name, DWORD type,
                              const void* data, size_t size) {
  // The outermost first, so that taking them back in reverse finds each one empty.
  for (size_t end = key.find(L'\\'); end != std::wstring::npos; end = key.find(L'\\', end + 1)) {
    if (!MachineKeyExists(key.substr(0, end))) made_.push_back(key.substr(0, end));
  }
  if (!MachineKeyExists(key)) made_.push_back(key);

  Saved saved{.key = key, .name = name};
  DWORD length = 0;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, RRF_RT_ANY | RRF_NOEXPAND, &saved.type,
                   /*data=*/nullptr, &length) == ERROR_SUCCESS) {
    saved.data.resize(length);
    saved.existed = RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, RRF_RT_ANY | RRF_NOEXPAND,
                                 &saved.type, saved.data.data(), &length) == ERROR_SUCCESS;
  }
  saved_.push_back(std::move(saved));
  return static_cast<uint32_t>(
      RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, type, data, static_cast<DWORD>(size)));
}

uint32_t RegistryChanges::TakeBack() {
  uint32_t first = 0;
  const auto take = [&first](LSTATUS status) {
    if (first == 0 && status != ERROR_FILE_NOT_FOUND) first = static_cast<uint32_t>(status);
  };
  for (const Saved& saved : std::views::reverse(saved_)) {
    take(saved.existed
             ? RegSetKeyValueW(HKEY_LOCAL_MACHINE, saved.key.c_str(), saved.name.c_str(),
                               saved.type, saved.data.data(), static_cast<DWORD>(saved.data.size()))
             : RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, saved.key.c_str(), saved.name.c_str()));
  }
  for (const std::wstring& key : std::views::reverse(made_))
    take(RegDeleteKeyW(HKEY_LOCAL_MACHINE, key.c_str()));
  saved_.clear();
  made_.clear();
  return first;
}

bool MachineKeyExists(const std::wstring& key) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), /*options=*/0, KEY_QUERY_VALUE, &opened) !=
      ERROR_SUCCESS) {
    return false;
  }
  RegCloseKey(opened);
  return true;
}

std::wstring ReadMachineText(const std::wstring& key, const wchar_t* name) {
  DWORD size = 0;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, RRF_RT_REG_SZ, /*type=*/nullptr,
                   /*data=*/nullptr, &size) != ERROR_SUCCESS) {
    return {};
  }
  std::wstring text(size / sizeof(wchar_t) + 1, L'\0');
  size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, RRF_RT_REG_SZ, /*type=*/nullptr,
                   text.data(), &size) != ERROR_SUCCESS) {
    return {};
  }
  text.resize(wcslen(text.c_str()));
  return text;
}

DWORD ReadMachineNumber(const std::wstring& key, const wchar_t* name) {
  DWORD number = 0;
  DWORD size = sizeof(number);
  return RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, RRF_RT_REG_DWORD, /*type=*/nullptr,
                      &number, &size) == ERROR_SUCCESS
             ? number
             : 0;
}

uint32_t RemoveKey(HKEY root, const std::wstring& key) {
  const LSTATUS status = RegDeleteTreeW(root, key.c_str());
  return status == ERROR_FILE_NOT_FOUND ? 0 : static_cast<uint32_t>(status);
}

}  // namespace host::setup
