#pragma once

#include <cstdint>

#include "module/frame/interface_id.h"
#include "module/frame/string.h"

namespace orn::RemoteAccess {
struct DownloadMetadata;
struct UploadArchiveMetadata;
}  // namespace orn::RemoteAccess

namespace orn::tsrsdk::Product {

// The storage that files come from and go to. So far the module only watches it; the order of the
// operations is binary contract.
struct ICentralizedStorage {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{369FECFD-E074-4664-8359-4C35386FF799}");
  static constexpr const wchar_t* kTypeName = L"orn::tsrsdk::Product::ICentralizedStorage";

  // Told of transfers that ended, on the storage's threads. The results are not used.
  struct IFileManagerEvent {
    virtual uint32_t OnUploadFinished(const StringT<wchar_t>& upload_id,
                                      const RemoteAccess::UploadArchiveMetadata& metadata) = 0;
    virtual uint32_t OnDownloadFinished(const StringT<wchar_t>& download_id,
                                        const RemoteAccess::DownloadMetadata& metadata) = 0;

   protected:
    ~IFileManagerEvent() = default;
  };

  // Returns 0 for success.
  virtual uint32_t RegisterFileManagerEvent(IFileManagerEvent* observer) = 0;
  // When this has returned, the observer is called no more.
  virtual uint32_t UnregisterFileManagerEvent(IFileManagerEvent* observer) = 0;

 protected:
  ~ICentralizedStorage() = default;
};

}  // namespace orn::tsrsdk::Product
