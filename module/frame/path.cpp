#include "module/frame/path.h"

#include <string_view>
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

}  // namespace orn
