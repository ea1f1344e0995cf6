#include "module/jobs/reasons.h"

#include <map>

#include "module/frame/error_codes.h"

namespace orn::RemoteAccess {
namespace {

using Words = std::map<uint32_t, const wchar_t*>;

StringT<wchar_t> Find(const Words& words, uint32_t code) {
  const auto found = words.find(code);
  return found == words.end() ? L"N/A" : found->second;
}

}  // namespace

StringT<wchar_t> DownloadReason(uint32_t code) {
  // A good start has no word.
  static const Words words = {
      {error::kInternal, L"internal error"},
      {error::kDisabled, L"not enabled"},
      {error::kJobIdTooLong, L"jobId too long"},
      {error::kJobIdInUse, L"jobId already in-use"},
  };
  return Find(words, code);
}

StringT<wchar_t> UploadReason(uint32_t code) {
  static const Words words = {
      {error::kSuccess, L"success"},
      {error::kBusy, L"busy"},
      {error::kEmptyInput, L"empty input"},
      {error::kInvalidTimeout, L"invalid timeout"},
      {error::kInvalidName, L"invalid archive name"},
      {error::kInternal, L"internal error"},
      {error::kDisabled, L"not enabled"},
      {error::kJobIdTooLong, L"jobId too long"},
      {error::kJobIdInUse, L"jobId already in-use"},
  };
  return Find(words, code);
}

StringT<wchar_t> CancelReason(uint32_t code) {
  static const Words words = {
      {error::kSuccess, L"success"},
      {error::kInvalidHandle, L"invalid jobId"},
      {error::kInternal, L"internal error"},
  };
  return Find(words, code);
}

StringT<wchar_t> ItemError(uint32_t code) {
  static const Words words = {
      {error::kSuccess, L"success"},
      {error::kBadPathName, L"bad path name"},
      {error::kPathNotFound, L"path not found"},
      {error::kRelativePath, L"relative path"},
      {error::kEmptyDirectory, L"empty directory"},
      {error::kAccessDenied, L"access denied"},
      {error::kNotProcessed, L"not processed"},
      {error::kInternal, L"internal error"},
      {error::kIncomplete, L"incomplete packing"},
      {error::kPackingFailed, L"packing failed"},
      {error::kAborted, L"aborted"},
  };
  return Find(words, code);
}

}  // namespace orn::RemoteAccess
