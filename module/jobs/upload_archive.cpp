#include "module/jobs/upload_archive.h"

#include <filesystem>
#include <system_error>

#include "module/frame/directory_walk.h"
#include "module/frame/error_codes.h"
#include "module/frame/folder_search.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/frame/utf.h"
#include "module/jobs/reasons.h"
#include "module/jobs/temp_folder.h"

#include <shlwapi.h>

namespace orn::RemoteAccess {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kCreateFunction[] =
    L"orn::RemoteAccess::FileOperationManager::CreateUploadArchive";

[[noreturn]] void ThrowFilesystemError(const char* what, const StringT<wchar_t>& path,
                                       uint32_t code) {
  throw fs::filesystem_error(what, fs::path(path.view()),
                             std::error_code(static_cast<int>(code), std::system_category()));
}

void SetResult(UploadItemResult& item, uint32_t code) {
  item.errorCode = static_cast<int32_t>(code);
  item.error = ItemError(code);
}

// The walk over the items of one task.
class Packing {
 public:
  Packing(const UploadArchiveTask& task, ArchiveCompressor& compressor,
          const PackingControl& control)
      : task_(task), compressor_(compressor), control_(control) {}

  void PackItems(std::vector<UploadItemResult>& items) {
    for (UploadItemResult& item : items) {
      if (control_.IsStopped() || control_.IsTaskCancelled(task_.jobId) || aborted_) {
        ORN_LOG(logging::kInformation, kCreateFunction, L"Stopped packing items.");
        ended_early_ = true;
        item.error = ItemError(static_cast<uint32_t>(item.errorCode));
        return;
      }
      try {
        PackOne(item);
      } catch (const fs::filesystem_error& failure) {
        ORN_LOG(logging::kError, kCreateFunction, L"Failed to iterate through directory [%s] [%d]",
                item.pattern.c_str(), failure.code().value());
        SetResult(item, error::kInternal);
      }
    }
  }

  bool ended_early() const { return ended_early_; }
  // Within a directory.
  bool aborted() const { return aborted_; }
  size_t packed() const { return packed_; }

 private:
  void PackOne(UploadItemResult& item) {
    if (const uint32_t code = ValidateUploadItem(item); code != error::kSuccess) {
      SetResult(item, code);
    } else if (PathIsDirectoryW(item.pattern.c_str())) {
      SetResult(item, PackDirectory(item.pattern));
      ++packed_;
    } else if (Pack(item.pattern)) {
      SetResult(item, error::kSuccess);
      ++packed_;
    } else {
      SetResult(item, error::kPackingFailed);
    }
  }

  uint32_t PackDirectory(const PathStringT<260>& path) {
    bool all_packed = true;
    const uint32_t code = WalkDirectory(path, [&](const DirectoryEntry& entry) {
      aborted_ = control_.IsTaskCancelled(task_.jobId);
      if (aborted_) return false;
      if (entry.is_regular_file && !Pack(PathStringT<260>(entry.path))) all_packed = false;
      return true;
    });
    if (code != error::kSuccess) ThrowFilesystemError("directory_entry::status", path, code);
    if (aborted_) return error::kAborted;
    return all_packed ? error::kSuccess : error::kIncomplete;
  }

  bool Pack(const PathStringT<260>& path) {
    const uint32_t code = PackItem(compressor_, path);
    if (code == error::kSuccess) return true;
    ORN_LOG(logging::kWarning, kCreateFunction, L"Failed to pack: [%s] [%d]", path.c_str(), code);
    return false;
  }

  const UploadArchiveTask& task_;
  ArchiveCompressor& compressor_;
  const PackingControl& control_;
  bool ended_early_ = false;
  bool aborted_ = false;
  size_t packed_ = 0;
};

// By the path itself, not by what a link leads to.
bool IsRegularFile(const StringT<wchar_t>& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    const DWORD code = GetLastError();
    if (!MeansNotFound(code)) ThrowFilesystemError("status", path, code);
    return false;
  }
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 && !IsLink(path.c_str());
}

uint32_t PackAndCompress(const UploadArchiveTask& task, UploadArchiveMetadata& metadata,
                         ArchiveCompressor& compressor, const PackingControl& control) {
  Packing packing(task, compressor, control);
  packing.PackItems(metadata.items);
  if (packing.aborted() || control.IsTaskCancelled(task.jobId)) return error::kAborted;
  if (packing.packed() == 0) {
    ORN_LOG(logging::kWarning, kCreateFunction, L"No item was packed.");
    return error::kFailed;
  }
  // Where the manager stops, what was packed so far is still written.
  if (compressor.Compress()) return packing.ended_early() ? error::kAborted : error::kSuccess;
  if (control.IsTaskCancelled(task.jobId)) return error::kAborted;
  ORN_LOG(logging::kError, kCreateFunction, L"Could not compress the archive.");
  return error::kCompressFailed;
}

PathStringT<260> ArchivePath(PathStringT<260> folder, const StringT<wchar_t>& name) {
  AppendPath(folder, name.view());
  if (*PathFindExtensionW(folder.c_str()) == L'\0') folder += L".zip";
  return folder;
}

uint32_t CreateArchive(UploadArchiveTask& task, UploadArchiveMetadata& metadata,
                       PackingControl& control) {
  if (control.IsTaskCancelled(task.jobId)) return error::kAborted;
  const PathStringT<260> folder = GenerateTempFolder(
      L"orn::RemoteAccess::FileOperationManager::GenerateTempFolder", kArchiveTempRoot);
  if (folder.empty()) return error::kInternal;
  const PathStringT<260> path = ArchivePath(folder, task.input.name);
  ORN_LOG(logging::kInformation, kCreateFunction, L"Creating archive: [%s].", path.c_str());

  ArchiveCompressor compressor(ToUtf8(path.view()).c_str(),
                               ToUtf8(task.input.password.view()).c_str());
  compressor.SetMode(kDeflateNormal);
  control.SetCompressor(&compressor);
  uint32_t result = error::kAborted;
  if (!control.IsTaskCancelled(task.jobId)) {
    result = PackAndCompress(task, metadata, compressor, control);
    task.archivePath = path;
  }
  control.SetCompressor(nullptr);  // Before its object goes.
  compressor.Release();
  return result;
}

}  // namespace

uint32_t ValidateUploadItem(const UploadItemResult& item) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::FileOperationManager::ValidateUploadItem");
  const wchar_t* const path = item.pattern.c_str();
  if (item.pattern.empty()) {
    ORN_LOG(logging::kWarning, trace.function(), L"Empty pattern.");
    return error::kBadPathName;
  }
  if (PathIsRelativeW(path)) {
    ORN_LOG(logging::kWarning, trace.function(), L"Relative pattern path.");
    return error::kRelativePath;
  }
  if (!PathFileExistsW(path)) {
    ORN_LOG(logging::kWarning, trace.function(), L"Pattern path doesn't exist.");
    return error::kPathNotFound;
  }
  const bool is_regular_file = IsRegularFile(item.pattern);
  if (!PathIsDirectoryW(path)) {
    if (is_regular_file) return error::kSuccess;
    ORN_LOG(logging::kWarning, trace.function(), L"Pattern is neither file nor directory.");
    return error::kBadPathName;
  }
  if (PathIsDirectoryEmptyW(path)) {
    ORN_LOG(logging::kWarning, trace.function(), L"Pattern directory is empty.");
    return error::kEmptyDirectory;
  }
  return error::kSuccess;
}

uint32_t PackItem(ArchiveCompressor& compressor, const PathStringT<260>& path) {
  const std::wstring_view whole = path.view();
  const size_t backslash = whole.find(L'\\');
  const std::wstring_view name =
      backslash == std::wstring_view::npos ? whole : whole.substr(backslash + 1);
  // Through UTF-8, so that a lone half of a pair cannot get into the archive.
  const StringT<wchar_t> full_path = ToWide(ToUtf8(whole).view());
  const StringT<wchar_t> archive_name = ToWide(ToUtf8(name).view());
  if (!compressor.exists()) return error::kMissingDependency;
  return compressor.AddFile(full_path.c_str(), archive_name.c_str()) ? error::kSuccess
                                                                     : error::kNotAdded;
}

void CreateUploadArchive(UploadArchiveTask& task, UploadArchiveMetadata& metadata,
                         PackingControl& control) {
  const LogFunctionTrace trace(kCreateFunction);
  const uint32_t result = CreateArchive(task, metadata, control);
  control.ClearCancelled();
  task.result = result;
}

}  // namespace orn::RemoteAccess
