#pragma once

#include <vector>

#include "host/plugins/storage/profiles.h"
#include "host/plugins/storage/transfer_jobs.h"
#include "host/plugins/storage/transfer_limits.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/centralized_storage.h"

namespace host {

// "Product.CentralizedStorage": files between this machine and storages that speak HTTP. A file is
// got by its name from below the profile's address, and goes on by range after a break; one is sent
// by a form to the address itself. Redirects are followed within the same server.
//
// Options: those of storage::ReadProfiles.
class CentralizedStoragePlugin final : public orn::tsrsdk::Product::ICentralizedStorage,
                                       public IServPlugin {
 public:
  using Text = orn::StringT<wchar_t>;

  explicit CentralizedStoragePlugin(const storage::TransferLimits& limits = {});
  CentralizedStoragePlugin(const CentralizedStoragePlugin&) = delete;
  CentralizedStoragePlugin& operator=(const CentralizedStoragePlugin&) = delete;
  virtual ~CentralizedStoragePlugin() = default;

  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain* main) override;
  void UnInit() override {}
  int32_t Start() override;
  void Stop() override;

  uint32_t RegisterFileManagerEvent(IFileManagerEvent* observer) override;
  uint32_t UnregisterFileManagerEvent(IFileManagerEvent* observer) override;
  uint32_t ProfileExists(const Text& profile, bool* exists) override;
  // 1168, and the size 0, where the profile is not known.
  uint32_t GetProfileMaxSize(const Text& profile, uint64_t* size) override;
  // 123 where a storage could not take an archive of the first item's name.
  uint32_t PrevalidateUploadData(const orn::tsrsdk::Product::UploadData& data) override;
  // Refused at once: 1168 an unknown profile, 87 without an item, 223 a file that is too large, or
  // why the file cannot be opened; 170 and 21 as TransferJobs::Add.
  uint32_t Upload(const orn::tsrsdk::Product::UploadRequest& request,
                  orn::tsrsdk::Product::UploadStarted& started, Text& upload_id) override;
  uint32_t CancelUpload(const Text& upload_id) override;
  // Refused at once: 1168 an unknown profile; 170 and 21 as TransferJobs::Add.
  uint32_t Download(const orn::RemoteAccess::DownloadInput& input,
                    orn::RemoteAccess::OperationResponse& response, Text& download_id) override;
  uint32_t CancelDownload(const Text& download_id) override;

 private:
  const storage::Profile* FindProfile(const Text& name) const;

  const logging::LogReference log_;
  const storage::TransferLimits limits_;
  std::vector<storage::Profile> profiles_;  // fixed after Init
  storage::TransferJobs jobs_;
};

}  // namespace host
