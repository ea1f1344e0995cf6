#pragma once

#include <cstdint>
#include <vector>

#include "module/frame/path_string.h"
#include "module/frame/string.h"

// The records of IRemoteAccess: what a job is asked to do, what its start answers, and what is told
// of its end. Plain data, copied by value. A `runContext` is a JSON text of the caller's, which the
// feature hands back without looking inside.

namespace orn::RemoteAccess {

// Input.

struct DownloadItem {
  StringT<char> sourceUri;
  PathStringT<260> to;
};

struct DownloadInput {
  uint32_t timeout = 0;  // handed to the storage
  std::vector<DownloadItem> items;
  StringT<wchar_t> profile;  // of the storage
  StringT<wchar_t> runContext;
  StringT<wchar_t> jobId;  // empty: the feature chooses one
  StringT<char> streamId;  // the terminal that is told of the end, or empty
};

struct UploadItem {
  PathStringT<260> pattern;
};

// A form field that goes along with an upload.
struct PostItem {
  StringT<char> name;
  StringT<char> value;
};

struct UploadArchiveInput {
  uint32_t timeout = 0;  // handed to the storage
  StringT<wchar_t> name;
  StringT<wchar_t> jobId;     // empty: the feature chooses one
  StringT<wchar_t> password;  // of the archive; may be empty
  StringT<char> streamId;     // the terminal that is told of the end, or empty
  std::vector<UploadItem> items;
  StringT<wchar_t> profile;  // of the storage
  std::vector<PostItem> postItems;
  StringT<wchar_t> runContext;
};

struct ProcessExecutionInput {
  StringT<wchar_t> commandLine;
  uint32_t timeout = 0;         // seconds
  StringT<wchar_t> outputPath;  // may be empty
  StringT<wchar_t> workingDir;
  StringT<wchar_t> runContext;
};

// Output.

struct OperationResponse {
  StringT<wchar_t> message;
  StringT<wchar_t> runContext;
  StringT<wchar_t> jobId;  // given or chosen
};

struct ProcessExecutionResponse {
  int32_t status = -1;
  uint32_t pid = 0;
  StringT<wchar_t> runContext;
};

// Reports.

struct HttpResponse {
  StringT<char> body;
  StringT<char> body64;  // Base64; stands instead of `body` where it is not empty
  StringT<char> contentType;
  int64_t contentLength = 0;
  int32_t responseCode = 0;
};

struct CentralizedStorageResult {
  StringT<wchar_t> profile;
  HttpResponse httpResponse;
  StringT<wchar_t> reason;
  int32_t error = 0;
};

struct DownloadItemResult {
  StringT<char> sourceUri;
  PathStringT<260> to;
  int32_t errorCode = 0;
  StringT<wchar_t> error;
};

struct DownloadMetadata {
  enum class Status { kNone, kSuccess, kAborted, kFailed };

  std::vector<DownloadItemResult> items;
  StringT<wchar_t> runContext;
  CentralizedStorageResult centralizedStorage;
  StringT<wchar_t> jobId;
  Status status = Status::kNone;
};

struct UploadItemResult {
  PathStringT<260> pattern;
  int32_t errorCode = 0;
  StringT<wchar_t> error;
};

struct UploadArchiveMetadata {
  enum class Status { kNone, kSuccess, kAborted, kGatherItemsFailed, kUploadFailed };

  StringT<wchar_t> jobId;
  StringT<wchar_t> name;
  Status status = Status::kNone;
  std::vector<UploadItemResult> items;
  StringT<wchar_t> runContext;
  CentralizedStorageResult centralizedStorage;
};

struct ProcessExecutionMetadata {
  enum class Reason { kCompleted, kTimeout, kCanceled, kUploadFailed, kError };

  int32_t exitCode = 0;
  Reason reason = Reason::kCompleted;
  StringT<wchar_t> runContext;
  OperationResponse upload;  // what the upload after the run answered
  int32_t uploadError = 0;
};

struct TerminalSessionState {
  StringT<char> terminalId;
  bool isConnected = false;
  int64_t startTimestamp = 0;  // seconds since 1970
  int64_t endTimestamp = 0;    // seconds since 1970, 0 while connected
};

}  // namespace orn::RemoteAccess
