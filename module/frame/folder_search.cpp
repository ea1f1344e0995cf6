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

bool IsFolderLink(const wchar_t* path) noexcept {
  constexpr DWORD kLinkAttributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  const DWORD attributes = GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & kLinkAttributes) != kLinkAttributes) {
    return false;
  }
  WIN32_FIND_DATAW entry;
  const HANDLE search = FindFirstFileW(path, &entry);
  // What cannot be told apart is taken for a link: the wrong guess must not empty a foreign folder.
  if (search == INVALID_HANDLE_VALUE) return true;
  FindClose(search);
  const DWORD tag = entry.dwReserved0;
  return tag == 0 || IsReparseTagNameSurrogate(tag);
}

}  // namespace orn
