#pragma once

#include <string>
#include <vector>

#include "host/plugins/storage/profiles.h"
#include "host/plugins/storage/transfer.h"
#include "host/plugins/storage/transfer_limits.h"
#include "module/feature/records.h"

namespace host::storage {

// The items of a download, one after the other.
class DownloadTransfer final : public ITransfer {
 public:
  // `profile` is borrowed.
  DownloadTransfer(const Profile& profile, const orn::RemoteAccess::DownloadInput& input,
                   const TransferLimits& limits);

  void Run(TransferControl& control) override;
  // Takes what has arrived away again.
  void OnCancelled() override;
  void Report(ICentralizedStorage::IFileManagerEvent& observer,
              const orn::StringT<wchar_t>& id) const override;

 private:
  uint32_t Fetch(const orn::RemoteAccess::DownloadItemResult& item, TransferControl& control);

  const Profile& profile_;
  const TransferLimits limits_;
  int attempts_;
  std::vector<std::wstring> arrived_;
  orn::RemoteAccess::DownloadMetadata metadata_;
};

}  // namespace host::storage
