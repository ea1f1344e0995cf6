#include "host/plugins/storage/download_file.h"

#include "host/plugins/storage/transfer_errors.h"
#include "module/frame/error_codes.h"
#include "module/frame/guid.h"
#include "module/frame/long_path.h"
#include "module/frame/path.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

#include <shlwapi.h>

namespace host::storage {

namespace {

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(orn::LongPath(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

uint32_t ResolveTarget(const orn::PathStringT<260>& to, std::string_view name,
                       std::wstring& target) {
  target = to.view();
  if (target.empty() || target.find(L'\0') != std::wstring::npos) return error::kInvalidName;
  if (PathIsRelativeW(target.c_str()) || target.find_first_of(L"\\/") == std::wstring::npos) {
    return kRelativePath;
  }
  const bool ends_in_separator = target.back() == L'\\' || target.back() == L'/';
  if (ends_in_separator || IsFolder(target)) {
    if (!ends_in_separator) target += L'\\';
    target += orn::ToWide(name).view();
  }
  target = orn::LongPath(target);
  return 0;
}

uint32_t DownloadFile::Create(const std::wstring& target, uint64_t size) {
  target_ = target;
  const std::wstring folder = target.substr(0, target.find_last_of(L"\\/") + 1);
  orn::PathStringT<260> path(std::wstring_view{folder});
  if (!orn::CreateFolderRecursively(path)) return GetLastError();
  ULARGE_INTEGER left = {};
  if (GetDiskFreeSpaceExW(folder.c_str(), &left, nullptr, nullptr) && left.QuadPart < size) {
    return kDiskFull;
  }
  path_ = orn::LongPath(folder + L"RemoteAccess-" + std::wstring(orn::GenerateGuid().view()) +
                        L".part");
  file_.reset(CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_READ,
                          /*lpSecurityAttributes=*/nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                          /*hTemplateFile=*/nullptr));
  if (!file_) return GetLastError();
  SetDeletedWithHandle(true);
  return 0;
}

uint32_t DownloadFile::Write(std::string_view piece) {
  DWORD written = 0;
  if (!WriteFile(file_.get(), piece.data(), static_cast<DWORD>(piece.size()), &written,
                 /*lpOverlapped=*/nullptr)) {
    return GetLastError();
  }
  return written == piece.size() ? 0 : kDiskFull;
}

uint32_t DownloadFile::Clear() {
  const LARGE_INTEGER start = {};
  const bool cleared =
      SetFilePointerEx(file_.get(), start, nullptr, FILE_BEGIN) && SetEndOfFile(file_.get());
  return cleared ? 0 : GetLastError();
}

uint32_t DownloadFile::MoveIntoPlace() {
  SetDeletedWithHandle(false);  // Where it fails, there is nothing left to move.
  file_.reset();
  if (MoveFileExW(path_.c_str(), target_.c_str(), MOVEFILE_REPLACE_EXISTING)) return 0;
  const DWORD failure = GetLastError();
  DeleteFileW(path_.c_str());
  return failure;
}

void DownloadFile::Drop() {
  if (!file_) return;
  file_.reset();
  DeleteFileW(path_.c_str());  // For a file system that knows no deletion by handle.
}

void DownloadFile::SetDeletedWithHandle(bool deleted) {
  FILE_DISPOSITION_INFO disposition = {};
  disposition.DeleteFile = deleted;
  SetFileInformationByHandle(file_.get(), FileDispositionInfo, &disposition, sizeof(disposition));
}

}  // namespace host::storage
