#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/plugins/storage/download_file.h"
#include "host/plugins/storage/http_request.h"
#include "host/plugins/storage/profiles.h"
#include "host/plugins/storage/transfer_limits.h"
#include "module/feature/records.h"

namespace host::storage {

// Brings one file from a storage into place, going on after each break where the storage can.
class ItemDownload {
 public:
  // All is borrowed. `headers` let the transfer in; `response` gets the last response.
  ItemDownload(const Profile& profile, const std::wstring& headers, const TransferLimits& limits,
               TransferControl& control, orn::RemoteAccess::HttpResponse& response);

  // `to` is a folder or a file, as ResolveTarget takes it. `attempts` is how often the connection
  // may fail in a row.
  uint32_t Run(std::string_view name, const orn::PathStringT<260>& to, int attempts);

  // Where the file lands; known once Run has succeeded.
  const std::wstring& target() const { return target_; }

 private:
  // One connection: 0 once the file is whole.
  uint32_t Attempt();
  uint32_t Take(HttpRequest& request, const ResponseHead& head);
  uint32_t TakeHead(const ResponseHead& head);
  uint32_t TakeBody(HttpRequest& request);

  const Profile& profile_;
  const std::wstring& headers_;
  const TransferLimits& limits_;
  TransferControl& control_;
  orn::RemoteAccess::HttpResponse& response_;

  link::ServerAddress address_;
  std::wstring target_;
  DownloadFile file_;
  std::wstring validator_;  // by which the storage knows that its file is still the same
  uint64_t total_ = 0;
  uint64_t received_ = 0;
  bool cut_short_ = false;  // The last response ended in order, too early or before it began.
};

}  // namespace host::storage
