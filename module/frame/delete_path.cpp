#include "module/frame/delete_path.h"

#include <utility>

#include "module/frame/folder_search.h"
#include "module/frame/windows.h"

namespace orn::detail {
namespace {

using Skip = std::function<bool(const PathStringT<260>&)>;

// One run with what stays the same on all its levels.
class Deletion {
 public:
  Deletion(bool& reboot_needed, bool recursive, Skip skip, StringT<wchar_t> pattern,
           bool use_pattern_below)
      : reboot_needed_(reboot_needed),
        recursive_(recursive),
        skip_(std::move(skip)),
        pattern_(std::move(pattern)),
        pattern_below_(use_pattern_below ? pattern_.c_str() : L"*") {}

  bool Run(const PathStringT<260>& path, DWORD attributes, bool& all_deleted) {
    return Delete(path, attributes, pattern_.c_str(), all_deleted);
  }

 private:
  bool Delete(const PathStringT<260>& path, DWORD attributes, const wchar_t* pattern,
              bool& all_deleted) {
    if (skip_ && skip_(path)) {
      all_deleted = false;
      return true;
    }
    if (attributes == kAskForAttributes) attributes = GetFileAttributesW(path.c_str());
    // A path that has none shows all bits set: it ends here too.
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0 &&
        !SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY})) {
      return false;
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
      return DeleteFileW(path.c_str()) || LeaveToRestart(path);
    }
    return DeleteFolder(path, pattern, all_deleted);
  }

  bool DeleteFolder(const PathStringT<260>& path, const wchar_t* pattern, bool& all_deleted) {
    if (IsFolderLink(path.c_str())) {
      if (*pattern == L'\0') return true;  // As in any folder: finds nothing.
    } else {
      PathStringT<260> wanted(path);
      wanted += L'\\';
      wanted += pattern;
      FolderSearch search(wanted.c_str());
      if (!search.started()) return search.error() == ERROR_FILE_NOT_FOUND;
      if (!DeleteEntries(path, search, all_deleted)) return false;
    }
    return !all_deleted || RemoveDirectoryW(path.c_str()) || LeaveToRestart(path);
  }

  bool DeleteEntries(const PathStringT<260>& path, FolderSearch& search, bool& all_deleted) {
    while (const WIN32_FIND_DATAW* entry = search.Next()) {
      if (!recursive_ && (entry->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
      PathStringT<260> child(path);
      child += L'\\';
      child += entry->cFileName;
      bool child_deleted = true;
      if (!Delete(child, entry->dwFileAttributes, pattern_below_, child_deleted)) return false;
      if (!child_deleted) all_deleted = false;
    }
    return search.error() == ERROR_NO_MORE_FILES;
  }

  bool LeaveToRestart(const PathStringT<260>& path) {
    reboot_needed_ = true;
    return MoveFileExW(path.c_str(), /*newName=*/nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
  }

  bool& reboot_needed_;
  const bool recursive_;
  const Skip skip_;
  const StringT<wchar_t> pattern_;
  const wchar_t* const pattern_below_;
};

}  // namespace

bool DeletePath(const wchar_t* path, bool& reboot_needed, bool& all_deleted, bool recursive,
                Skip skip, unsigned long attributes, StringT<wchar_t> pattern,
                bool use_pattern_below) {
  Deletion deletion(reboot_needed, recursive, std::move(skip), std::move(pattern),
                    use_pattern_below);
  return deletion.Run(path, attributes, all_deleted);
}

bool DeletePath(const wchar_t* path, bool& reboot_needed, Skip skip, StringT<wchar_t> pattern) {
  bool all_deleted = true;
  return DeletePath(path, reboot_needed, all_deleted, /*recursive=*/true, std::move(skip),
                    FILE_ATTRIBUTE_DIRECTORY, std::move(pattern), /*use_pattern_below=*/false);
}

}  // namespace orn::detail
