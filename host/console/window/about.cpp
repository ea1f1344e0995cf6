#include "host/console/window/about.h"

#include "module/frame/windows.h"

namespace host::console {

std::wstring ProgramVersion() {
  const HRSRC found = FindResourceW(nullptr, MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
  if (found == nullptr) return {};
  // Its fixed part follows a header of three words and the name "VS_VERSION_INFO", rounded up to
  // four bytes.
  constexpr size_t kFixed = 40;
  const auto* version = static_cast<const uint8_t*>(LockResource(LoadResource(nullptr, found)));
  if (version == nullptr || SizeofResource(nullptr, found) < kFixed + sizeof(VS_FIXEDFILEINFO))
    return {};
  VS_FIXEDFILEINFO fixed;
  CopyMemory(&fixed, version + kFixed, sizeof fixed);
  return std::to_wstring(HIWORD(fixed.dwFileVersionMS)) + L'.' +
         std::to_wstring(LOWORD(fixed.dwFileVersionMS)) + L'.' +
         std::to_wstring(HIWORD(fixed.dwFileVersionLS));
}

}  // namespace host::console
