#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "module/frame/handle.h"

inline bool IsWine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

// A link to a folder beside it. Wine follows the links of the system below, but neither makes nor
// deletes one, so that system's own programs do it.
class FolderLink {
 public:
  FolderLink(std::wstring folder, const std::wstring& name, const std::wstring& target)
      : folder_(std::move(folder)), name_(name) {
    if (IsWine()) {
      Run(L"Z:\\bin\\ln", L"ln -s " + target + L" " + name);
    } else {
      Run(L"C:\\Windows\\System32\\cmd.exe", L"cmd /c mklink /J " + name + L" " + target);
    }
    WaitUntilThere(true);
  }
  FolderLink(const FolderLink&) = delete;
  FolderLink& operator=(const FolderLink&) = delete;
  ~FolderLink() {
    if (IsWine()) {
      Run(L"Z:\\bin\\rm", L"rm " + name_);
    } else {
      RemoveDirectoryW((folder_ + L"\\" + name_).c_str());
    }
    WaitUntilThere(false);
  }

 private:
  void Run(const wchar_t* program, std::wstring command_line) const {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    ASSERT_TRUE(CreateProcessW(program, command_line.data(), nullptr, nullptr, /*inherit=*/FALSE,
                               /*flags=*/0, nullptr, folder_.c_str(), &startup, &process));
    const orn::UniqueHandle process_handle(process.hProcess);
    const orn::UniqueHandle thread_handle(process.hThread);
  }

  // A program from below Wine gives no handle to wait for; what it does in the folder shows.
  void WaitUntilThere(bool there) const {
    const HANDLE change =
        FindFirstChangeNotificationW(folder_.c_str(), /*subtree=*/FALSE,
                                     FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME);
    ASSERT_NE(change, INVALID_HANDLE_VALUE);
    while ((GetFileAttributesW((folder_ + L"\\" + name_).c_str()) != INVALID_FILE_ATTRIBUTES) !=
           there) {
      WaitForSingleObject(change, INFINITE);
      FindNextChangeNotification(change);
    }
    FindCloseChangeNotification(change);
  }

  std::wstring folder_;
  std::wstring name_;
};
