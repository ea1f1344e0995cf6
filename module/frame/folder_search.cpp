#include "module/frame/folder_search.h"

#include <string_view>

namespace orn {

FolderSearch::FolderSearch(const wchar_t* pattern) noexcept
    : search_(FindFirstFileW(pattern, &entry_)) {
  has_entry_ = started();
  if (!started()) error_ = GetLastError();
}

FolderSearch::~FolderSearch() {
  if (!started()) return;
  const DWORD error = GetLastError();
  FindClose(search_);
  SetLastError(error);
}

const WIN32_FIND_DATAW* FolderSearch::Next() noexcept {
  while (error_ == ERROR_SUCCESS) {
    if (!has_entry_ && !FindNextFileW(search_, &entry_)) {
      error_ = GetLastError();
      break;
    }
    has_entry_ = false;
    const std::wstring_view name = entry_.cFileName;
    if (name != L"." && name != L"..") return &entry_;
  }
  return nullptr;
}

bool IsLink(const WIN32_FIND_DATAW& entry) noexcept {
  if ((entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return false;
  // What cannot be told apart is taken for a link: the wrong guess must not empty a foreign folder.
  const DWORD tag = entry.dwReserved0;
  return tag == 0 || IsReparseTagNameSurrogate(tag);
}

bool IsLink(const wchar_t* path) noexcept {
  const DWORD attributes = GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
    return false;
  }
  WIN32_FIND_DATAW entry;
  const HANDLE search = FindFirstFileW(path, &entry);
  if (search == INVALID_HANDLE_VALUE) return true;
  FindClose(search);
  return IsLink(entry);
}

bool IsFolderLink(const wchar_t* path) noexcept {
  const DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
         IsLink(path);
}

bool MeansNotFound(DWORD error) noexcept {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
         error == ERROR_BAD_NETPATH || error == ERROR_INVALID_NAME || error == ERROR_BAD_PATHNAME ||
         error == ERROR_DIRECTORY;
}

}  // namespace orn
