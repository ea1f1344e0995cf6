#pragma once

#include <gtest/gtest.h>

#include <string>

#include "module/frame/handle.h"
#include "module/frame/path.h"

// A folder of its own for one test; it goes with all that is in it.
class TestFolder {
 public:
  TestFolder() {
    static int counter = 0;
    orn::PathStringT<260> path;
    EXPECT_TRUE(orn::GetTempFolder(path));
    path_ = std::wstring(path.view()) + L"frame_test." + std::to_wstring(GetCurrentProcessId()) +
            L"." + std::to_wstring(++counter);
    // A run that was killed may have left it behind.
    path = path_.c_str();
    orn::DeleteFolderRecursively(path);
    EXPECT_TRUE(CreateDirectoryW(path_.c_str(), /*security=*/nullptr));
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  ~TestFolder() {
    orn::PathStringT<260> path(path_.c_str());
    EXPECT_TRUE(orn::DeleteFolderRecursively(path));
  }

  std::wstring operator/(const wchar_t* name) const { return path_ + L"\\" + name; }

  // Makes a file or folder inside and gives its path.
  std::wstring File(const wchar_t* name, DWORD attributes = FILE_ATTRIBUTE_NORMAL) const {
    EXPECT_TRUE(Open(name, CREATE_NEW));
    EXPECT_TRUE(SetFileAttributesW((*this / name).c_str(), attributes));
    return *this / name;
  }
  void Folder(const wchar_t* name) const {
    EXPECT_TRUE(CreateDirectoryW((*this / name).c_str(), /*security=*/nullptr));
  }
  // As long as the handle lives the file can't be deleted.
  orn::UniqueFile Lock(const wchar_t* name) const { return Open(name, OPEN_EXISTING); }

 private:
  orn::UniqueFile Open(const wchar_t* name, DWORD disposition) const {
    return orn::UniqueFile(CreateFileW((*this / name).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                       /*security=*/nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                                       /*template=*/nullptr));
  }

  std::wstring path_;
};

inline bool Exists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}
