#pragma once

#include <cstdint>
#include <string>

#include "module/frame/path_string.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/centralized_storage.h"

namespace Json {
class Value;
}

namespace orn::RemoteAccess {

// What the server's page asks before it offers a transfer: would it work on this machine? Changes
// nothing, and checks what the service itself may do. Any thread.
//
// `params` is any text; good ones are a JSON object with "path" and "againstProfile", the name of a
// storage profile. The answer is a JSON object too, in one line with its line feed: "code" and
// "message" where something is in the way. The code is also the result.
class PathPrevalidation {
 public:
  // Borrowed; may be empty.
  explicit PathPrevalidation(const ServPlugin<tsrsdk::Product::ICentralizedStorage>& storage)
      : storage_(storage) {}
  PathPrevalidation(const PathPrevalidation&) = delete;
  PathPrevalidation& operator=(const PathPrevalidation&) = delete;

  // Into a folder, with room for the largest transfer that the profile allows: "valid".
  uint32_t PrevalidateDownloadPath(const std::string& params, std::string& answer) const;
  // Of a file, or of all files at any depth in a folder: "fileCount" and "size" in bytes of those
  // that can be read. Takes a look at each file.
  uint32_t PrevalidateUploadPath(const std::string& params, std::string& answer) const;

 private:
  // All give the code and the word for it.
  uint32_t CheckDownload(const std::string& params, Json::Value& answer,
                         std::string& message) const;
  uint32_t CheckUpload(const std::string& params, Json::Value& answer, std::string& message) const;
  // `access` is kReadAccess or kWriteAccess.
  static uint32_t PerformGenericPathPrevalidation(const PathStringT<260>& path,
                                                  std::string& message, uint32_t access);
  // The largest transfer of the profile that the parameters name.
  uint32_t ReadProfile(const wchar_t* function, const Json::Value& params, uint64_t& max_size,
                       std::string& message) const;

  const ServPlugin<tsrsdk::Product::ICentralizedStorage>& storage_;
};

}  // namespace orn::RemoteAccess
