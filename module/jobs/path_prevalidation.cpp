#include "module/jobs/path_prevalidation.h"

#include <json/value.h>

#include <utility>

#include "module/frame/directory_walk.h"
#include "module/frame/error_codes.h"
#include "module/frame/json.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"
#include "module/jobs/path_access.h"
#include "module/jobs/product_folder.h"

#include <shlwapi.h>

namespace orn::RemoteAccess {
namespace {

constexpr wchar_t kDownloadFunction[] =
    L"orn::RemoteAccess::RemoteAccessAL::PrevalidateDownloadPath";
constexpr wchar_t kUploadFunction[] = L"orn::RemoteAccess::RemoteAccessAL::PrevalidateUploadPath";

constexpr uint32_t kNotDirectory = 3;

uint32_t Refuse(uint32_t code, std::string& message) {
  static constexpr struct {
    uint32_t code;
    const char* message;
  } kMessages[] = {
      {error::kBadArguments, "bad arguments"},  {error::kInvalidName, "invalid name"},
      {error::kRelativePath, "relative path"},  {error::kPathNotFound, "path not found"},
      {kNotDirectory, "not directory"},         {error::kDenied, "access denied"},
      {error::kAccessDenied, "access denied"},  {error::kNotEnoughMemory, "not enough memory"},
      {error::kSizeLimit, "max size exceeded"}, {error::kEmptyInput, "empty directory"},
      {error::kNotFound, "invalid profile"},    {error::kInternal, "internal error"},
  };
  for (const auto& entry : kMessages) {
    if (entry.code == code) message = entry.message;
  }
  return code;
}

std::string Answer(uint32_t code, const std::string& message, Json::Value answer) {
  if (code != error::kSuccess) {
    answer = Json::Value();
    answer["code"] = static_cast<int32_t>(code);
    answer["message"] = message;
  }
  return JsonWriter().Write(answer);
}

// False where the member is absent or no text; that is logged.
bool ReadText(const wchar_t* function, const Json::Value& params, const char* name,
              StringT<wchar_t>& text) {
  const Json::Value& member = JsonMember(params, name);
  if (!member.isString()) {
    ORN_LOG(logging::kWarning, function, L"\"%S\" field not present params json.", name);
    return false;
  }
  text = ToWide(member.asString());
  return true;
}

// Parses the parameters; the path comes out in its normal form, a folder's with a separator behind.
uint32_t ReadParams(const wchar_t* function, const std::string& text, Json::Value& params,
                    PathStringT<260>& path, std::string& message) {
  if (!JsonReader().Parse(text, params)) {
    ORN_LOG(logging::kWarning, function, L"Failed to parse the params json.");
    return Refuse(error::kBadArguments, message);
  }
  if (!ReadText(function, params, "path", path)) return Refuse(error::kBadArguments, message);
  path.UpdateLength();  // A zero inside would hide the rest from Windows.
  if (PathIsDirectoryW(path.c_str())) AddBackslash(path);
  NormalizePath(path);
  return error::kSuccess;
}

// What can be uploaded of a folder or file.
struct UploadContents {
  uint32_t count = 0;
  uint64_t size = 0;
};

uint32_t RefuseTooLarge(const PathStringT<260>& path, uint64_t size, uint64_t limit,
                        std::string& message) {
  ORN_LOG(logging::kWarning, kUploadFunction,
          L"Files in current directory (%s - %llu bytes) exceeds maximum allowed size for "
          L"specified profile (%lld)",
          path.c_str(), size, static_cast<int64_t>(limit));
  return Refuse(error::kSizeLimit, message);
}

uint32_t MeasureFolder(const PathStringT<260>& path, uint64_t limit, UploadContents& contents,
                       std::string& message) {
  bool some_denied = false;
  const uint32_t walk_code = WalkDirectory(path, [&](const DirectoryEntry& entry) {
    if (!entry.is_regular_file) return true;
    if (!CheckPathAccess(PathStringT<260>(entry.path.c_str()), kReadAccess)) {
      ORN_LOG(logging::kWarning, kUploadFunction, L"Read access to current file (%s) is denied",
              entry.path.c_str());
      some_denied = true;
      return true;
    }
    ++contents.count;
    contents.size += entry.size;
    return contents.size <= limit;
  });
  if (contents.size > limit) return RefuseTooLarge(path, contents.size, limit, message);
  if (walk_code != 0) {
    ORN_LOG(logging::kWarning, kUploadFunction,
            L"Failed to iterate through directory (%s), error: %d", path.c_str(), walk_code);
    return Refuse(error::kInternal, message);
  }
  if (contents.count != 0) return error::kSuccess;
  if (!some_denied) {
    ORN_LOG(logging::kWarning, kUploadFunction, L"Specified directory (%s) is empty", path.c_str());
    return Refuse(error::kEmptyInput, message);
  }
  ORN_LOG(logging::kWarning, kUploadFunction,
          L"Specified directory (%s) contains files with access restricted", path.c_str());
  return Refuse(error::kDenied, message);
}

uint32_t MeasureFile(const PathStringT<260>& path, uint64_t limit, UploadContents& contents,
                     std::string& message) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
    ORN_LOG(logging::kWarning, kUploadFunction, L"Could not determine file (%s) size, error: %d",
            path.c_str(), GetLastError());
    return Refuse(error::kInternal, message);
  }
  contents.count = 1;
  contents.size = uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
  if (contents.size > limit) return RefuseTooLarge(path, contents.size, limit, message);
  return error::kSuccess;
}

}  // namespace

uint32_t PathPrevalidation::PrevalidateDownloadPath(const std::string& params,
                                                    std::string& answer) const {
  const LogFunctionTrace trace(kDownloadFunction);
  Json::Value result;
  std::string message;
  const uint32_t code = CheckDownload(params, result, message);
  answer = Answer(code, message, std::move(result));
  return code;
}

uint32_t PathPrevalidation::PrevalidateUploadPath(const std::string& params,
                                                  std::string& answer) const {
  const LogFunctionTrace trace(kUploadFunction);
  Json::Value result;
  std::string message;
  const uint32_t code = CheckUpload(params, result, message);
  answer = Answer(code, message, std::move(result));
  return code;
}

uint32_t PathPrevalidation::CheckDownload(const std::string& text, Json::Value& answer,
                                          std::string& message) const {
  Json::Value params;
  PathStringT<260> path;
  if (const uint32_t code = ReadParams(kDownloadFunction, text, params, path, message)) return code;
  if (const uint32_t code = PerformGenericPathPrevalidation(path, message, kWriteAccess)) {
    return code;
  }
  if (!PathIsDirectoryW(path.c_str())) {
    ORN_LOG(logging::kWarning, kDownloadFunction, L"Specified path (%s) is not a directory.",
            path.c_str());
    return Refuse(kNotDirectory, message);
  }
  if (IsInsideProductFolder(path)) {
    ORN_LOG(logging::kWarning, kDownloadFunction, L"Specified path (%s) is not accessible.",
            path.c_str());
    return Refuse(error::kAccessDenied, message);
  }
  uint64_t max_size = 0;
  if (const uint32_t code = ReadProfile(kDownloadFunction, params, max_size, message)) return code;

  ULARGE_INTEGER available;
  if (!GetDiskFreeSpaceExW(path.c_str(), &available, /*total=*/nullptr, /*free=*/nullptr)) {
    ORN_LOG(logging::kWarning, kDownloadFunction, L"GetDiskFreeSpaceEx failed with %d",
            GetLastError());
    return Refuse(error::kInternal, message);
  }
  const auto needed = static_cast<int64_t>(max_size);
  if (needed > static_cast<int64_t>(available.QuadPart)) {
    ORN_LOG(logging::kWarning, kDownloadFunction,
            L"Not enough free space. Available %llu, needed %lld", available.QuadPart, needed);
    return Refuse(error::kNotEnoughMemory, message);
  }
  answer["valid"] = true;
  return error::kSuccess;
}

uint32_t PathPrevalidation::CheckUpload(const std::string& text, Json::Value& answer,
                                        std::string& message) const {
  if (!storage_) {
    ORN_LOG(logging::kWarning, kUploadFunction, L"Invalid centralized storage plugin");
    return Refuse(error::kInternal, message);
  }
  Json::Value params;
  PathStringT<260> path;
  if (const uint32_t code = ReadParams(kUploadFunction, text, params, path, message)) return code;
  if (const uint32_t code = PerformGenericPathPrevalidation(path, message, kReadAccess)) {
    return code;
  }
  uint64_t limit = 0;
  if (const uint32_t code = ReadProfile(kUploadFunction, params, limit, message)) return code;
  UploadContents contents;
  const auto measure = PathIsDirectoryW(path.c_str()) ? MeasureFolder : MeasureFile;
  if (const uint32_t code = measure(path, limit, contents, message)) return code;
  answer["fileCount"] = static_cast<int32_t>(contents.count);
  answer["size"] = contents.size;
  return error::kSuccess;
}

uint32_t PathPrevalidation::PerformGenericPathPrevalidation(const PathStringT<260>& path,
                                                            std::string& message, uint32_t access) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::RemoteAccessAL::PerformGenericPathPrevalidation");
  bool exists = false;
  DWORD code = ERROR_INVALID_NAME;
  if (!path.empty()) {
    exists = PathFileExistsW(path.c_str());
    code = exists ? ERROR_SUCCESS : GetLastError();
  }
  if (code == ERROR_BAD_PATHNAME || code == ERROR_INVALID_NAME) {
    ORN_LOG(logging::kWarning, trace.function(), L"Invalid path name received (%s)", path.c_str());
    return Refuse(error::kInvalidName, message);
  }
  if (PathIsRelativeW(path.c_str())) {
    ORN_LOG(logging::kWarning, trace.function(), L"Invalid path name received");
    return Refuse(error::kRelativePath, message);
  }
  if (!exists) {
    ORN_LOG(logging::kWarning, trace.function(), L"Specified path (%s) doesn't exist.",
            path.c_str());
    return Refuse(error::kPathNotFound, message);
  }
  if (!CheckPathAccess(path, access)) {
    ORN_LOG(logging::kWarning, trace.function(),
            L"Specified directory (%s) is not accessible for %s", path.c_str(),
            access == kReadAccess ? L"read" : L"write");
    return Refuse(error::kDenied, message);
  }
  return error::kSuccess;
}

uint32_t PathPrevalidation::ReadProfile(const wchar_t* function, const Json::Value& params,
                                        uint64_t& max_size, std::string& message) const {
  StringT<wchar_t> profile;
  if (!ReadText(function, params, "againstProfile", profile)) {
    return Refuse(error::kBadArguments, message);
  }
  if (!storage_) {
    ORN_LOG(logging::kWarning, function, L"Invalid centralized storage plugin");
    return Refuse(error::kInternal, message);
  }
  bool exists = false;
  storage_->ProfileExists(profile, &exists);
  if (!exists) {
    ORN_LOG(logging::kWarning, function, L"Specified profile (%s) doesn't exist", profile.c_str());
    return Refuse(error::kNotFound, message);
  }
  storage_->GetProfileMaxSize(profile, &max_size);
  return error::kSuccess;
}

}  // namespace orn::RemoteAccess
