#include "module/frame/path.h"

#include <algorithm>
#include <string>
#include <vector>

#include "module/frame/folder_search.h"
#include "module/frame/windows.h"

#include <shlwapi.h>

extern "C" IMAGE_DOS_HEADER __ImageBase;  // The linker's name for the start of this DLL or program.

namespace orn {
namespace {

constexpr std::wstring_view kSeparators = L"\\/";

bool ClearReadOnly(const wchar_t* path) {
  const DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0 &&
         SetFileAttributesW(path, attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
}

// `remove` is tried once more when it was denied.
bool RemoveEvenIfReadOnly(BOOL(WINAPI* remove)(const wchar_t*), const wchar_t* path) {
  if (remove(path)) return true;
  if (GetLastError() != ERROR_ACCESS_DENIED) return false;
  ClearReadOnly(path);
  return remove(path);
}

bool IsSeparator(wchar_t c) {
  return c == L'\\' || c == L'/';
}

// What names the volume at the beginning: `C:`, `\\server`, and of a device path the three
// characters in front of its separator.
size_t RootNameLength(std::wstring_view path) {
  const auto is_separator_at = [&](size_t at) { return at < path.size() && IsSeparator(path[at]); };
  const auto is_letter = [](wchar_t c) {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
  };
  if (path.size() < 2) return 0;
  if (path[1] == L':' && is_letter(path[0])) return 2;
  if (!IsSeparator(path[0])) return 0;
  if (is_separator_at(3) && !is_separator_at(4)) {
    if (is_separator_at(1) && (path[2] == L'?' || path[2] == L'.')) return 3;
    if (path[1] == L'?' && path[2] == L'?') return 3;
  }
  if (!is_separator_at(1) || path.size() < 3 || is_separator_at(2)) return 0;
  return std::min(path.find_first_of(kSeparators, 3), path.size());
}

// Deletes what is in the folder and leaves `path` as it was.
bool EmptyFolder(PathStringT<260>& path) {
  const size_t length = path.length();
  AppendPath(path, L"*.*");
  FolderSearch search(path.c_str());
  path.reserve(length);  // Cuts the pattern off again.

  bool all_deleted = true;
  while (const WIN32_FIND_DATAW* entry = search.Next()) {
    AppendPath(path, entry->cFileName);
    const bool deleted = (entry->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0
                             ? DeleteFolderRecursively(path)
                             : RemoveEvenIfReadOnly(DeleteFileW, path.c_str());
    all_deleted = all_deleted && deleted;
    path.reserve(length);
  }
  const bool nothing_there = !search.started() && search.error() == ERROR_FILE_NOT_FOUND;
  return all_deleted && (nothing_there || search.error() == ERROR_NO_MORE_FILES);
}

}  // namespace

void AppendPath(StringT<wchar_t>& left, std::wstring_view right) {
  if (right.empty()) return;
  if (!left.empty() && kSeparators.find(left.view().back()) == std::wstring_view::npos) {
    left += L'\\';
  }
  const size_t start = right.find_first_not_of(kSeparators);
  if (start != std::wstring_view::npos) left += right.substr(start);
}

void AddBackslash(PathStringT<260>& path) {
  path.reserve(path.length() + 1);
  PathAddBackslashW(path.data());
  path.UpdateLength();
}

bool GetTempFolder(PathStringT<260>& path) {
  DWORD length = GetTempPathW(static_cast<DWORD>(path.capacity()) + 1, path.data());
  if (length > path.capacity()) {
    path.reserve(length);
    length = GetTempPathW(static_cast<DWORD>(path.capacity()) + 1, path.data());
  }
  if (length == 0 || length > path.capacity()) {
    path.clear();
    return false;
  }
  path.UpdateLength();
  AddBackslash(path);
  return true;
}

bool GetModuleFolder(PathStringT<260>& path) {
  const DWORD size = static_cast<DWORD>(path.capacity()) + 1;
  const DWORD length =
      GetModuleFileNameW(reinterpret_cast<HMODULE>(&__ImageBase), path.data(), size);
  if (length == 0 || length >= size) {
    path.clear();
    return false;
  }
  PathRemoveFileSpecW(path.data());
  path.UpdateLength();
  AddBackslash(path);
  return true;
}

bool CreateFolderRecursively(PathStringT<260>& path) {
  if (PathFileExistsW(path.c_str())) return true;

  // Each folder above is a beginning of the path. A loop, because a path from outside may have
  // thousands of them.
  std::vector<size_t> missing;
  PathStringT<260> above(path);
  for (;;) {
    PathRemoveBackslashW(above.data());
    const bool removed = PathRemoveFileSpecW(above.data());
    above.UpdateLength();
    if (!removed || PathFileExistsW(above.c_str())) break;
    missing.push_back(above.length());
  }
  for (; !missing.empty(); missing.pop_back()) {
    above = path.view().substr(0, missing.back());
    CreateDirectoryW(above.c_str(), /*security=*/nullptr);
  }
  return CreateDirectoryW(path.c_str(), /*security=*/nullptr) ||
         GetLastError() == ERROR_ALREADY_EXISTS;
}

bool DeleteFolderRecursively(PathStringT<260>& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    return false;
  }
  const bool is_empty = IsFolderLink(path.c_str()) || EmptyFolder(path);
  return RemoveEvenIfReadOnly(RemoveDirectoryW, path.c_str()) && is_empty;
}

void NormalizePath(StringT<wchar_t>& path) {
  if (path.empty()) return;
  const std::wstring_view text = path.view();
  const size_t root_length = RootNameLength(text);
  const bool has_root_folder = root_length < text.size() && IsSeparator(text[root_length]);

  std::vector<std::wstring_view> names;
  bool ends_in_folder = false;  // in a separator, or in a name that went
  for (size_t start = root_length; start <= text.size();) {
    const size_t end = std::min(text.find_first_of(kSeparators, start), text.size());
    const std::wstring_view name = text.substr(start, end - start);
    start = end + 1;
    ends_in_folder = true;
    if (name.empty() || name == L".") continue;
    if (name != L"..") {
      names.push_back(name);
      ends_in_folder = false;
    } else if (!names.empty() && names.back() != L"..") {
      names.pop_back();
    } else if (!has_root_folder) {
      names.push_back(name);
    }
  }

  std::wstring normal(text.substr(0, root_length));
  std::replace(normal.begin(), normal.end(), L'/', L'\\');
  if (has_root_folder) normal += L'\\';
  for (size_t i = 0; i < names.size(); ++i) {
    if (i != 0) normal += L'\\';
    normal += names[i];
  }
  if (ends_in_folder && !names.empty() && names.back() != L"..") normal += L'\\';
  path = normal.empty() ? std::wstring_view(L".") : std::wstring_view(normal);
}

}  // namespace orn
