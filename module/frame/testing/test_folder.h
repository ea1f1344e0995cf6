#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

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

  void Folder(const wchar_t* name) const {
    EXPECT_TRUE(CreateDirectoryW((*this / name).c_str(), /*security=*/nullptr));
  }
  // Opens the file, which is made if need be. As long as the handle lives it can't be deleted.
  orn::UniqueFile File(const wchar_t* name) const {
    orn::UniqueFile file(CreateFileW((*this / name).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                     /*security=*/nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                     /*template=*/nullptr));
    EXPECT_TRUE(file);
    return file;
  }
  void Write(const wchar_t* name, std::string_view bytes) const {
    std::ofstream((*this / name).c_str(), std::ios::binary) << bytes;
  }
  std::string Read(const wchar_t* name) const {
    std::ifstream file((*this / name).c_str(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::wstring path_;
};

inline bool Exists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}
