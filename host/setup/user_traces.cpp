#include "host/setup/user_traces.h"

#include <wchar.h>

#include <array>
#include <cstddef>
#include <set>
#include <vector>

#include "host/common/file_path.h"
#include "host/setup/installation.h"
#include "module/frame/handle.h"
#include "module/frame/windows.h"

namespace host::setup {
namespace {

constexpr const wchar_t* kProfilesKey =
    L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList";

std::vector<std::wstring> SubKeys(HKEY root, const wchar_t* key) {
  std::vector<std::wstring> names;
  HKEY opened = nullptr;
  if (RegOpenKeyExW(root, key, /*options=*/0, KEY_ENUMERATE_SUB_KEYS, &opened) != ERROR_SUCCESS)
    return names;
  wchar_t name[256];
  for (DWORD size = 256; RegEnumKeyExW(opened, static_cast<DWORD>(names.size()), name, &size,
                                       nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
       size = 256) {
    names.emplace_back(name);
  }
  RegCloseKey(opened);
  return names;
}

// By the folder's own handle, whatever its path leads to by now.
std::vector<std::wstring> NamesIn(HANDLE folder) {
  std::vector<std::wstring> names;
  alignas(FILE_ID_BOTH_DIR_INFO) std::array<std::byte, 16384> buffer;
  while (GetFileInformationByHandleEx(folder, FileIdBothDirectoryInfo, buffer.data(),
                                      static_cast<DWORD>(buffer.size()))) {
    for (size_t offset = 0, next = 1; next != 0; offset += next) {
      const auto* const entry =
          reinterpret_cast<const FILE_ID_BOTH_DIR_INFO*>(buffer.data() + offset);
      const std::wstring name(entry->FileName, entry->FileNameLength / sizeof(wchar_t));
      if (name != L"." && name != L"..") names.push_back(name);
      next = entry->NextEntryOffset;
    }
  }
  return names;
}

// Whether what is open lies where its path says, with no link on the way.
bool IsAt(HANDLE file, const std::wstring& path) {
  std::wstring real(32768, L'\0');
  real.resize(GetFinalPathNameByHandleW(file, real.data(), static_cast<DWORD>(real.size()),
                                        FILE_NAME_NORMALIZED));
  return _wcsicmp(real.c_str(), (L"\\\\?\\" + path).c_str()) == 0;
}

uint32_t Remove(const std::wstring& path) {
  // Held without sharing its removal, neither it nor a folder above it can be moved away.
  const orn::UniqueFile file(
      CreateFileW(path.c_str(), DELETE | FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES,
                  FILE_SHARE_READ | FILE_SHARE_WRITE, /*security=*/nullptr, OPEN_EXISTING,
                  FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, /*template=*/nullptr));
  if (!file) {
    const DWORD status = GetLastError();
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND ? 0 : status;
  }
  BY_HANDLE_FILE_INFORMATION information{};
  if (!IsAt(file.get(), path)) return ERROR_CANT_RESOLVE_FILENAME;
  if (!GetFileInformationByHandle(file.get(), &information)) return GetLastError();
  const DWORD attributes = information.dwFileAttributes;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
      (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
    for (const std::wstring& name : NamesIn(file.get())) {
      std::wstring inner = path;
      inner.append(1, L'\\').append(name);
      if (const uint32_t status = Remove(inner); status != 0) return status;
    }
  }
  FILE_DISPOSITION_INFO disposition = {.DeleteFile = TRUE};
  return SetFileInformationByHandle(file.get(), FileDispositionInfo, &disposition,
                                    sizeof(disposition))
             ? 0
             : GetLastError();
}

std::set<std::wstring> UserFolders() {
  std::set<std::wstring> folders = {ConfiguredPath(L"", L"%LOCALAPPDATA%\\Tessaro")};
  for (const std::wstring& user : SubKeys(HKEY_LOCAL_MACHINE, kProfilesKey)) {
    wchar_t path[MAX_PATH + 1] = {};
    DWORD size = sizeof(path);
    const std::wstring key = std::wstring(kProfilesKey) + L'\\' + user;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"ProfileImagePath", RRF_RT_REG_SZ,
                     /*type=*/nullptr, path, &size) == ERROR_SUCCESS) {
      folders.insert(std::wstring(path) + L"\\AppData\\Local\\Tessaro");
    }
  }
  return folders;
}

}  // namespace

bool RemoveUserTraces(SetupLog& log) {
  bool complete = true;
  for (const std::wstring& folder : UserFolders()) {
    if (const uint32_t status = RemoveForeignFolder(folder); status != 0)
      complete = log.Fail(folder + L" cannot be removed", status);
  }
  for (const std::wstring& user : SubKeys(HKEY_USERS, L"")) {
    // By name and one by one: what else a user has put there is his.
    for (const wchar_t* key : {L"\\Console", L""}) {
      const std::wstring path = user + L'\\' + kSettingsKey + key;
      const LSTATUS status = RegDeleteKeyW(HKEY_USERS, path.c_str());
      if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
        complete = log.Fail(path + L" cannot be removed", static_cast<uint32_t>(status));
    }
  }
  return complete;
}

uint32_t RemoveForeignFolder(const std::wstring& folder) {
  return Remove(folder);
}

}  // namespace host::setup
