#include "host/plugins/storage/download_transfer.h"

#include "host/plugins/storage/item_download.h"
#include "host/plugins/storage/storage_names.h"
#include "host/plugins/storage/transfer_errors.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/windows.h"

namespace host::storage {

using orn::RemoteAccess::DownloadItem;
using orn::RemoteAccess::DownloadItemResult;

DownloadTransfer::DownloadTransfer(const Profile& profile,
                                   const orn::RemoteAccess::DownloadInput& input,
                                   const TransferLimits& limits)
    : profile_(profile), limits_(limits), attempts_(limits.attempts) {
  for (const DownloadItem& item : input.items) {
    DownloadItemResult& result = metadata_.items.emplace_back();
    result.sourceUri = item.sourceUri;
    result.to = item.to;
  }
  metadata_.runContext = input.runContext;
  metadata_.centralizedStorage.profile = input.profile;
}

void DownloadTransfer::Run(TransferControl& control) {
  auto& result = metadata_.centralizedStorage;
  uint32_t first_failure = 0;
  for (DownloadItemResult& item : metadata_.items) {
    const uint32_t ended = control.Ended();
    const uint32_t code = ended != 0 ? ended : Fetch(item, control);
    item.errorCode = static_cast<int32_t>(code);
    const std::wstring word = WordOf(code, ended != 0 ? 0 : result.httpResponse.responseCode);
    if (code != 0) item.error = std::wstring_view(word);
    if (code != 0 && first_failure == 0) {
      first_failure = code;
      result.reason = std::wstring_view(word);
    }
  }
  result.error = static_cast<int32_t>(first_failure);
  if (first_failure == 0) {
    result.reason = std::wstring_view(WordOf(0));
  } else {
    ORN_LOG(logging::kNotice, L"Product.CentralizedStorage::Download",
            L"A download from profile \"%s\" failed: %u", profile_.name.c_str(), first_failure);
  }
}

void DownloadTransfer::OnCancelled() {
  for (const std::wstring& path : arrived_)
    DeleteFileW(path.c_str());
  auto& result = metadata_.centralizedStorage;
  result.error = static_cast<int32_t>(kAborted);
  result.reason = std::wstring_view(WordOf(kAborted));
}

uint32_t DownloadTransfer::Fetch(const DownloadItemResult& item, TransferControl& control) {
  auto& response = metadata_.centralizedStorage.httpResponse;
  response = {};
  const std::string_view name = item.sourceUri.view();
  if (!IsStorageName(name)) return error::kInvalidName;
  const auto headers = AccessHeaders(profile_, metadata_.runContext.view());
  if (!headers) {
    ORN_LOG(logging::kError, L"Product.CentralizedStorage::Download",
            L"The secret of profile \"%s\" cannot be read.", profile_.name.c_str());
    return error::kDenied;
  }
  ItemDownload download(profile_, *headers, limits_, control, response);
  const uint32_t code = download.Run(name, item.to, attempts_);
  if (code == 0) arrived_.push_back(download.target());
  // A storage that is away is not waited for again with each item.
  attempts_ = IsConnectionFailure(code) ? 1 : limits_.attempts;
  return code;
}

void DownloadTransfer::Report(ICentralizedStorage::IFileManagerEvent& observer,
                              const orn::StringT<wchar_t>& id) const {
  observer.OnDownloadFinished(id, metadata_);
}

}  // namespace host::storage
