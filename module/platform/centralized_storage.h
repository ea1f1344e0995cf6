#pragma once

#include <cstdint>
#include <vector>

#include "module/feature/records.h"
#include "module/frame/interface_id.h"
#include "module/frame/path_string.h"
#include "module/frame/string.h"

namespace orn::tsrsdk::Product {

// A file on its way to the storage.
struct UploadFile {
  StringT<char> name;  // UTF-8
  PathStringT<260> path;
};

struct UploadRequest {
  uint32_t timeout = 0;                           // seconds
  std::vector<RemoteAccess::PostItem> postItems;  // form fields that go before the file
  std::vector<UploadFile> items;                  // one
  StringT<wchar_t> profile;
  StringT<wchar_t> runContext;
  StringT<wchar_t> owner;
};

// What can be judged of an upload before there is an archive: the name stands for the path too.
struct UploadData {
  uint32_t timeout = 0;
  std::vector<RemoteAccess::PostItem> postItems;
  std::vector<UploadFile> items;
};

// What the storage says of an upload that it has started. Nobody reads it.
struct UploadStarted {
  StringT<wchar_t> message;
  StringT<wchar_t> runContext;
};

// The storage that files come from and go to, in profiles. The order of the operations is binary
// contract. Any thread. Codes are Windows codes, 0 for success.
//
// Transfers run in the background: what was started is reported to the observer, once, on a thread
// of the storage's. A report never comes from inside the call that starts the transfer.
struct ICentralizedStorage {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{369FECFD-E074-4664-8359-4C35386FF799}");
  static constexpr const wchar_t* kTypeName = L"orn::tsrsdk::Product::ICentralizedStorage";

  // Told of transfers that ended. The results are not used. Of the metadata the storage fills
  // `items`, `runContext` and `centralizedStorage`, whose error is 1223 for a cancelled transfer.
  struct IFileManagerEvent {
    virtual uint32_t OnUploadFinished(const StringT<wchar_t>& upload_id,
                                      const RemoteAccess::UploadArchiveMetadata& metadata) = 0;
    virtual uint32_t OnDownloadFinished(const StringT<wchar_t>& download_id,
                                        const RemoteAccess::DownloadMetadata& metadata) = 0;

   protected:
    ~IFileManagerEvent() = default;
  };

  virtual uint32_t RegisterFileManagerEvent(IFileManagerEvent* observer) = 0;
  // When this has returned, the observer is called no more.
  virtual uint32_t UnregisterFileManagerEvent(IFileManagerEvent* observer) = 0;

  // The results of these two are not used: what is told is in the last argument.
  virtual uint32_t ProfileExists(const StringT<wchar_t>& profile, bool* exists) = 0;
  // The largest transfer that the profile allows, in bytes.
  virtual uint32_t GetProfileMaxSize(const StringT<wchar_t>& profile, uint64_t* size) = 0;

  // 0 where an upload of that name could be taken.
  virtual uint32_t PrevalidateUploadData(const UploadData& data) = 0;
  // On success `upload_id` is not empty.
  virtual uint32_t Upload(const UploadRequest& request, UploadStarted& started,
                          StringT<wchar_t>& upload_id) = 0;
  // The end is reported all the same.
  virtual uint32_t CancelUpload(const StringT<wchar_t>& upload_id) = 0;
  // On success `download_id` is not empty. Missing target folders are made.
  virtual uint32_t Download(const RemoteAccess::DownloadInput& input,
                            RemoteAccess::OperationResponse& response,
                            StringT<wchar_t>& download_id) = 0;
  // The end is reported all the same.
  virtual uint32_t CancelDownload(const StringT<wchar_t>& download_id) = 0;

 protected:
  ~ICentralizedStorage() = default;
};

}  // namespace orn::tsrsdk::Product
