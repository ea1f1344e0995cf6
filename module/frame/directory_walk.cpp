#include "module/frame/directory_walk.h"

#include <list>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/folder_search.h"
#include "module/frame/handle.h"
#include "module/frame/long_path.h"

namespace orn {
namespace {

struct OpenFolder {
  explicit OpenFolder(std::wstring folder)
      : path(std::move(folder)), search(LongPath(Join(path, L"*")).c_str()) {}

  static std::wstring Join(const std::wstring& left, const wchar_t* right) {
    return left + (left.ends_with(L'\\') || left.ends_with(L'/') ? L"" : L"\\") + right;
  }

  std::wstring path;
  FolderSearch search;
};

// A link to nothing leads to neither a file nor a folder, and that is no error.
uint32_t FollowFileLink(DirectoryEntry& entry) {
  const UniqueFile file(CreateFileW(LongPath(entry.path).c_str(), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    /*security=*/nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS,
                                    /*template=*/nullptr));
  BY_HANDLE_FILE_INFORMATION information;
  if (!file || !GetFileInformationByHandle(file.get(), &information)) {
    const DWORD error = GetLastError();
    return MeansNotFound(error) ? error::kSuccess : error;
  }
  entry.is_directory = (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  entry.is_regular_file = !entry.is_directory;
  if (entry.is_regular_file) {
    entry.size = uint64_t{information.nFileSizeHigh} << 32 | information.nFileSizeLow;
  }
  return error::kSuccess;
}

uint32_t Describe(const WIN32_FIND_DATAW& found, DirectoryEntry& entry) {
  entry.is_directory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  if (!entry.is_directory && IsLink(found)) return FollowFileLink(entry);
  entry.is_regular_file = !entry.is_directory;
  if (entry.is_regular_file) entry.size = uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
  return error::kSuccess;
}

}  // namespace

uint32_t WalkDirectory(const StringT<wchar_t>& folder,
                       const std::function<bool(const DirectoryEntry&)>& visit) {
  // From the folder down to the one that is being read.
  std::list<OpenFolder> open;
  open.emplace_back(std::wstring(folder.view()));
  while (!open.empty()) {
    OpenFolder& current = open.back();
    const WIN32_FIND_DATAW* const found = current.search.Next();
    if (found == nullptr) {
      const DWORD error = current.search.error();
      // The root of an empty drive has not even a ".".
      const bool nothing_there = !current.search.started() && error == ERROR_FILE_NOT_FOUND;
      if (error != ERROR_NO_MORE_FILES && !nothing_there) return error;
      open.pop_back();
      continue;
    }
    DirectoryEntry entry;
    entry.path = OpenFolder::Join(current.path, found->cFileName);
    if (const uint32_t code = Describe(*found, entry); code != error::kSuccess) return code;
    const bool enter = entry.is_directory && !IsLink(*found);
    if (!visit(entry)) return error::kSuccess;
    if (enter) open.emplace_back(std::move(entry.path));
  }
  return error::kSuccess;
}

}  // namespace orn
