#include "host/service/search_path.h"

#include <string>

#include "host/common/file_path.h"
#include "module/frame/environment.h"
#include "module/frame/windows.h"

namespace host {
namespace {

std::wstring Variable(const wchar_t* name) {
  std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return value;
}

}  // namespace

void RestrictSearchPath() {
  wchar_t system[MAX_PATH];
  wchar_t windows[MAX_PATH];
  if (GetSystemDirectoryW(system, MAX_PATH) == 0 || GetWindowsDirectoryW(windows, MAX_PATH) == 0)
    return;
  SetCurrentDirectoryW(system);
  const std::wstring restricted =
      std::wstring(system) + L';' + windows + L';' + FolderOf(ProgramPath());
  const std::wstring found = Variable(L"PATH");
  if (found == restricted && !Variable(orn::kOldPathVariable).empty()) return;
  SetEnvironmentVariableW(orn::kOldPathVariable, found.c_str());
  SetEnvironmentVariableW(L"PATH", restricted.c_str());
}

}  // namespace host
