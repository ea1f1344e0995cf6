#pragma once

#include <functional>

#include "module/feature/testing/call_list.h"
#include "module/frame/error_codes.h"
#include "module/platform/centralized_storage.h"

namespace orn::RemoteAccess {

// A storage of one profile, "p", that keeps what it is asked for and transfers nothing; the ends
// are the test's to report.
struct RecordingStorage final : tsrsdk::Product::ICentralizedStorage {
  explicit RecordingStorage(CallList& list) : calls(list) {}

  CallList& calls;
  uint32_t register_result = 0, prevalidate_result = 0, start_result = 0, cancel_result = 0;
  uint64_t max_size = 100;
  StringT<wchar_t> operation_id{L"op"};
  std::function<void()> while_starting;
  // What came last.
  DownloadInput download;
  tsrsdk::Product::UploadData data;
  tsrsdk::Product::UploadRequest upload;

  uint32_t RegisterFileManagerEvent(IFileManagerEvent*) override {
    return calls.Add("register with storage", register_result);
  }
  uint32_t UnregisterFileManagerEvent(IFileManagerEvent*) override {
    return calls.Add("unregister from storage");
  }
  uint32_t ProfileExists(const StringT<wchar_t>& profile, bool* exists) override {
    *exists = profile == L"p";
    return error::kFailed;  // Not read.
  }
  uint32_t GetProfileMaxSize(const StringT<wchar_t>&, uint64_t* size) override {
    *size = max_size;
    return error::kFailed;
  }
  uint32_t PrevalidateUploadData(const tsrsdk::Product::UploadData& asked) override {
    data = asked;
    return prevalidate_result;
  }
  uint32_t Upload(const tsrsdk::Product::UploadRequest& request, tsrsdk::Product::UploadStarted&,
                  StringT<wchar_t>& upload_id) override {
    upload = request;
    return Begin("upload", upload_id);
  }
  uint32_t CancelUpload(const StringT<wchar_t>& upload_id) override {
    return Cancel("cancel upload ", upload_id);
  }
  uint32_t Download(const DownloadInput& input, OperationResponse&,
                    StringT<wchar_t>& download_id) override {
    download = input;
    return Begin("download", download_id);
  }
  uint32_t CancelDownload(const StringT<wchar_t>& download_id) override {
    return Cancel("cancel download ", download_id);
  }

 private:
  uint32_t Begin(const char* call, StringT<wchar_t>& id) {
    if (start_result == 0) id = operation_id;
    if (while_starting) while_starting();
    return calls.Add(call, start_result);
  }
  uint32_t Cancel(std::string call, const StringT<wchar_t>& id) {
    return calls.Add(call.append(id.view().begin(), id.view().end()), cancel_result);
  }
};

}  // namespace orn::RemoteAccess
