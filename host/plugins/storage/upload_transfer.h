#pragma once

#include <cstdint>
#include <string>

#include "host/plugins/storage/http_request.h"
#include "host/plugins/storage/multipart.h"
#include "host/plugins/storage/profiles.h"
#include "host/plugins/storage/transfer.h"
#include "host/plugins/storage/transfer_limits.h"
#include "module/frame/handle.h"
#include "module/platform/centralized_storage.h"

namespace host::storage {

// One file on its way to a storage, as a form.
class UploadTransfer final : public ITransfer {
 public:
  // `profile` is borrowed.
  UploadTransfer(const Profile& profile, const orn::tsrsdk::Product::UploadRequest& request,
                 const TransferLimits& limits);

  // Opens the file, for as long as the transfer lives; others may read it meanwhile. To be called
  // first. 0, or why the file cannot be sent.
  uint32_t Open();

  void Run(TransferControl& control) override;
  // What the storage has taken stays a success.
  void OnCancelled() override {}
  void Report(ICentralizedStorage::IFileManagerEvent& observer,
              const orn::StringT<wchar_t>& id) const override;

 private:
  uint32_t Send(TransferControl& control);
  // `is_sent` says whether the storage may have seen anything of the form.
  uint32_t Attempt(TransferControl& control, const std::wstring& headers, bool& is_sent);
  uint32_t SendForm(HttpRequest& request);
  uint32_t ReadFilePiece(uint64_t left, std::string& piece);

  const Profile& profile_;
  const TransferLimits limits_;
  const std::wstring path_;
  const Multipart form_;
  orn::UniqueFile file_;
  uint64_t size_ = 0;
  orn::RemoteAccess::UploadArchiveMetadata metadata_;
};

}  // namespace host::storage
