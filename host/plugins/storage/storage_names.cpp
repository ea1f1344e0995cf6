#include "host/plugins/storage/storage_names.h"

#include <algorithm>
#include <array>
#include <string>

#include "module/frame/windows.h"

namespace host::storage {

namespace {

constexpr size_t kLongestName = 200;

bool IsUtf8(std::string_view text) {
  return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                             static_cast<int>(text.size()), nullptr, 0) != 0;
}

// Windows takes them for devices whatever extension they have.
bool IsDeviceName(std::string_view name) {
  std::string stem(name.substr(0, name.find('.')));
  stem.erase(stem.find_last_not_of(' ') + 1);
  for (char& c : stem) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  constexpr std::array<std::string_view, 6> kDevices = {"CON", "PRN",    "AUX",
                                                        "NUL", "CONIN$", "CONOUT$"};
  if (std::ranges::find(kDevices, stem) != kDevices.end()) return true;
  if (!stem.starts_with("COM") && !stem.starts_with("LPT")) return false;
  const std::string_view number = std::string_view(stem).substr(3);
  // Also the superscripts one to three.
  return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\xC2\xB9" ||
         number == "\xC2\xB2" || number == "\xC2\xB3";
}

}  // namespace

bool IsStorageName(std::string_view name) {
  if (name.empty() || name.size() > kLongestName || !IsUtf8(name)) return false;
  const auto is_bad = [](char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F ||
           std::string_view("\\/<>:\"|?*").find(c) != std::string_view::npos;
  };
  if (std::ranges::any_of(name, is_bad)) return false;
  return name.front() != '.' && name.back() != '.' && name.back() != ' ' && !IsDeviceName(name);
}

}  // namespace host::storage
