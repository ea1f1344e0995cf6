#include "host/setup/installation.h"

#include "module/frame/windows.h"

#include <shlobj.h>
#include <shlwapi.h>

#include <cwchar>

#include "host/setup/registry_changes.h"

namespace host::setup {
namespace {

std::wstring KnownFolder(const KNOWNFOLDERID& id) {
  wchar_t* path = nullptr;
  SHGetKnownFolderPath(id, KF_FLAG_DEFAULT, /*token=*/nullptr, &path);
  const std::wstring folder = path == nullptr ? L"" : path;
  CoTaskMemFree(path);
  return folder;
}

}  // namespace

Installation FindInstallation() {
  Installation found = {.programs = ReadMachineText(kUninstallKey, L"InstallLocation"),
                        .data = ReadMachineText(kUninstallKey, kDataLocation),
                        .version = ReadMachineText(kUninstallKey, L"DisplayVersion")};
  found.present = !found.programs.empty() && !found.data.empty();
  if (found.present) return found;
  found = {.programs = KnownFolder(FOLDERID_ProgramFiles) + L"\\Tessaro",
           .data = KnownFolder(FOLDERID_ProgramData) + L"\\Tessaro",
           .version = L""};
  // One whose entry in the registry is gone.
  found.present = PathFileExistsW((found.programs + L'\\' + kServiceProgram).c_str());
  return found;
}

std::wstring ShortcutPath() {
  return KnownFolder(FOLDERID_CommonPrograms) + L"\\RemoteAccess.lnk";
}

bool IsNewer(const std::wstring& left, const std::wstring& right) {
  const wchar_t* a = left.c_str();
  const wchar_t* b = right.c_str();
  while (*a != 0 || *b != 0) {
    wchar_t* end = nullptr;
    const unsigned long x = std::wcstoul(a, &end, 10);
    a = *end == L'.' ? end + 1 : L"";
    const unsigned long y = std::wcstoul(b, &end, 10);
    b = *end == L'.' ? end + 1 : L"";
    if (x != y) return x > y;
  }
  return false;
}

}  // namespace host::setup
