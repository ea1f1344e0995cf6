#pragma once

#include "module/frame/windows.h"

namespace orn {

// The entries of a folder without "." and "..":
//
//   FolderSearch search(L"C:\\Logs\\*");
//   while (const WIN32_FIND_DATAW* entry = search.Next()) Show(entry->cFileName);
//   if (search.error() != ERROR_NO_MORE_FILES) ...
class FolderSearch {
 public:
  explicit FolderSearch(const wchar_t* pattern) noexcept;
  FolderSearch(const FolderSearch&) = delete;
  FolderSearch& operator=(const FolderSearch&) = delete;
  ~FolderSearch();  // Keeps GetLastError.

  // Null at the end and after a failure. The entry is valid until the next call.
  const WIN32_FIND_DATAW* Next() noexcept;

  // Whether the search as such found anything, "." included.
  bool started() const noexcept { return search_ != INVALID_HANDLE_VALUE; }
  // What ended the search: ERROR_NO_MORE_FILES unless something failed, ERROR_FILE_NOT_FOUND where
  // nothing matched the pattern.
  DWORD error() const noexcept { return error_; }

 private:
  WIN32_FIND_DATAW entry_;
  HANDLE search_;
  DWORD error_ = ERROR_SUCCESS;
  bool has_entry_ = false;  // Found, not given out yet.
};

// Whether the entry or path is a symbolic link or a mount point, and so stands for another one.
// Files and folders of which only the contents are kept elsewhere are none.
bool IsLink(const WIN32_FIND_DATAW& entry) noexcept;
bool IsLink(const wchar_t* path) noexcept;
bool IsFolderLink(const wchar_t* path) noexcept;

// Whether a code says that there is nothing of the name.
bool MeansNotFound(DWORD error) noexcept;

}  // namespace orn
