#include "host/setup/folder_replacement.h"

#include "host/common/protected_folder.h"
#include "host/common/security.h"
#include "module/frame/directory_walk.h"
#include "module/frame/handle.h"
#include "module/frame/path.h"

namespace host::setup {
namespace {

constexpr DWORD kPause = 100;         // Milliseconds.
constexpr uint32_t kPatience = 5000;  // A scanner may have a file open for a moment.

bool Exists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

uint32_t Rename(const std::wstring& from, const std::wstring& to) {
  for (uint32_t waited = 0;; waited += kPause) {
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH)) return 0;
    const DWORD status = GetLastError();
    if ((status != ERROR_ACCESS_DENIED && status != ERROR_SHARING_VIOLATION) || waited >= kPatience)
      return status;
    Sleep(kPause);
  }
}

std::wstring FileInUse(const std::wstring& folder) {
  std::wstring found;
  orn::WalkDirectory(folder.c_str(), [&](const orn::DirectoryEntry& entry) {
    if (!entry.is_regular_file) return true;
    // Nobody else may have it open, and who runs a program lets nobody write to it.
    const orn::UniqueFile file(CreateFileW(entry.path.c_str(),
                                           GENERIC_READ | GENERIC_WRITE | DELETE,
                                           /*share=*/0, /*security=*/nullptr, OPEN_EXISTING,
                                           FILE_FLAG_OPEN_REPARSE_POINT, /*template=*/nullptr));
    if (!file && GetLastError() == ERROR_SHARING_VIOLATION) found = entry.path;
    return found.empty();
  });
  return found;
}

}  // namespace

FolderReplacement::~FolderReplacement() {
  if (begun_ && !swapped_) RemoveFolder(fresh_);
}

uint32_t FolderReplacement::Recover() {
  if (Exists(old_)) {
    const uint32_t status = Exists(folder_) ? RemoveFolder(old_) : Rename(old_, folder_);
    if (status != 0) return status;
  }
  return RemoveFolder(fresh_);
}

uint32_t FolderReplacement::Begin(const std::wstring& access) {
  begun_ = true;
  return PrepareProtectedFolder(fresh_, access);
}

uint32_t FolderReplacement::Swap() {
  had_old_ = Exists(folder_);
  if (had_old_) {
    if (const uint32_t status = Rename(folder_, old_); status != 0) return status;
  }
  const uint32_t status = Rename(fresh_, folder_);
  swapped_ = status == 0;
  if (!swapped_ && had_old_) Rename(old_, folder_);
  return status;
}

uint32_t FolderReplacement::TakeBack() {
  if (!swapped_) return 0;
  if (const uint32_t status = Rename(folder_, fresh_); status != 0) return status;
  swapped_ = false;
  return had_old_ ? Rename(old_, folder_) : 0;
}

void FolderReplacement::Commit() {
  RemoveFolder(old_);
}

uint32_t RemoveFolder(const std::wstring& folder) {
  for (uint32_t waited = 0;; waited += kPause) {
    if (!Exists(folder)) return 0;
    orn::PathStringT<260> path;
    path += folder;
    if (orn::DeleteFolderRecursively(path)) return 0;
    const DWORD status = GetLastError();
    if (waited >= kPatience) return status == 0 ? ERROR_DIR_NOT_EMPTY : status;
    Sleep(kPause);
  }
}

std::wstring FindFileInUse(const std::wstring& folder, uint32_t patience) {
  for (uint32_t waited = 0;; waited += kPause) {
    const std::wstring found = FileInUse(folder);
    if (found.empty() || waited >= patience) return found;
    Sleep(kPause);
  }
}

}  // namespace host::setup
