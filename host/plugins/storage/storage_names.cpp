#include "host/plugins/storage/storage_names.h"

#include <algorithm>
#include <array>
#include <string>

#include "module/frame/windows.h"

namespace host::storage {

namespace {

constexpr size_t kLongestName = 200;

// Empty where the name is no UTF-8.
std::wstring WideName(std::string_view name) {
  wchar_t wide[kLongestName];
  const int length =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name.data(), static_cast<int>(name.size()),
                          wide, static_cast<int>(kLongestName));
  return std::wstring(wide, static_cast<size_t>(length));
}

// Control characters, separators, and what means a drive, a stream or a pattern.
bool IsForbidden(wchar_t c) {
  return c < 0x20 || (c >= 0x7F && c <= 0x9F) ||
         std::wstring_view(L"\\/<>:\"|?*").find(c) != std::wstring_view::npos;
}

bool IsBlank(wchar_t c) {
  WORD type = 0;
  return GetStringTypeW(CT_CTYPE1, &c, 1, &type) && (type & C1_SPACE) != 0;
}

// Windows takes them for devices whatever extension they have.
bool IsDeviceName(std::wstring_view name) {
  std::wstring stem(name.substr(0, name.find(L'.')));
  while (!stem.empty() && IsBlank(stem.back()))
    stem.pop_back();
  CharUpperW(stem.data());
  constexpr std::array<std::wstring_view, 6> kDevices = {L"CON", L"PRN",    L"AUX",
                                                         L"NUL", L"CONIN$", L"CONOUT$"};
  if (std::ranges::find(kDevices, stem) != kDevices.end()) return true;
  // Also with the superscripts one to three.
  return stem.size() == 4 && (stem.starts_with(L"COM") || stem.starts_with(L"LPT")) &&
         std::wstring_view(L"0123456789\u00B9\u00B2\u00B3").find(stem[3]) !=
             std::wstring_view::npos;
}

}  // namespace

bool IsStorageName(std::string_view name) {
  if (name.empty() || name.size() > kLongestName) return false;
  const std::wstring wide = WideName(name);
  return !wide.empty() && std::ranges::none_of(wide, IsForbidden) && wide.front() != L'.' &&
         wide.back() != L'.' && !IsBlank(wide.back()) && !IsDeviceName(wide);
}

}  // namespace host::storage
