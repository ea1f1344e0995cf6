#include "host/plugins/storage/centralized_storage_plugin.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "host/common/host_configuration.h"
#include "host/plugins/storage/download_transfer.h"
#include "host/plugins/storage/storage_names.h"
#include "host/plugins/storage/upload_transfer.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/serv_plugin.h"

namespace host {

using storage::Direction;
using storage::Profile;

namespace {

constexpr wchar_t kName[] = L"Product.CentralizedStorage";
constexpr std::string_view kArchiveExtension = ".zip";

}  // namespace

CentralizedStoragePlugin::CentralizedStoragePlugin(const storage::TransferLimits& limits)
    : limits_(limits), jobs_(limits) {}

void* CentralizedStoragePlugin::GetInterface(const InterfaceId& id) {
  if (id == ICentralizedStorage::kInterfaceId) return static_cast<ICentralizedStorage*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t CentralizedStoragePlugin::Init(IServMain* main) {
  const LogFunctionTrace trace(L"Product.CentralizedStorage::Init");
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  ServPlugin<IHostConfiguration> configuration(kConfigurationName);
  if (configuration.GetPlugin(manager) == nullptr) {
    return static_cast<int32_t>(error::kMissingDependency);
  }
  return storage::ReadProfiles(*configuration.get(), kName, profiles_)
             ? 0
             : static_cast<int32_t>(error::kBadParameter);
}

int32_t CentralizedStoragePlugin::Start() {
  jobs_.Start();
  return 0;
}

void CentralizedStoragePlugin::Stop() {
  const LogFunctionTrace trace(L"Product.CentralizedStorage::Stop");
  jobs_.Stop();
}

uint32_t CentralizedStoragePlugin::RegisterFileManagerEvent(IFileManagerEvent* observer) {
  return jobs_.Register(observer);
}

uint32_t CentralizedStoragePlugin::UnregisterFileManagerEvent(IFileManagerEvent* observer) {
  return jobs_.Unregister(observer);
}

uint32_t CentralizedStoragePlugin::ProfileExists(const Text& profile, bool* exists) {
  *exists = FindProfile(profile) != nullptr;
  return 0;
}

uint32_t CentralizedStoragePlugin::GetProfileMaxSize(const Text& profile, uint64_t* size) {
  const Profile* const found = FindProfile(profile);
  *size = found == nullptr ? 0 : found->max_size;
  return found == nullptr ? error::kNotFound : 0;
}

uint32_t CentralizedStoragePlugin::PrevalidateUploadData(
    const orn::tsrsdk::Product::UploadData& data) {
  if (data.items.empty()) return error::kBadParameter;
  const std::string name(data.items[0].name.view());
  const bool is_good =
      storage::IsStorageName(name) && storage::IsStorageName(name + std::string(kArchiveExtension));
  return is_good ? 0 : error::kInvalidName;
}

uint32_t CentralizedStoragePlugin::Upload(const orn::tsrsdk::Product::UploadRequest& request,
                                          orn::tsrsdk::Product::UploadStarted& started,
                                          Text& upload_id) {
  const Profile* const profile = FindProfile(request.profile);
  if (profile == nullptr) return error::kNotFound;
  if (request.items.empty()) return error::kBadParameter;
  auto transfer = std::make_unique<storage::UploadTransfer>(*profile, request, limits_);
  if (const uint32_t code = transfer->Open(); code != 0) return code;
  started.runContext = request.runContext;
  return jobs_.Add(Direction::kUpload, request.timeout, std::move(transfer), upload_id);
}

uint32_t CentralizedStoragePlugin::CancelUpload(const Text& upload_id) {
  return jobs_.Cancel(Direction::kUpload, upload_id);
}

uint32_t CentralizedStoragePlugin::Download(const orn::RemoteAccess::DownloadInput& input,
                                            orn::RemoteAccess::OperationResponse&,
                                            Text& download_id) {
  const Profile* const profile = FindProfile(input.profile);
  if (profile == nullptr) return error::kNotFound;
  return jobs_.Add(Direction::kDownload, input.timeout,
                   std::make_unique<storage::DownloadTransfer>(*profile, input, limits_),
                   download_id);
}

uint32_t CentralizedStoragePlugin::CancelDownload(const Text& download_id) {
  return jobs_.Cancel(Direction::kDownload, download_id);
}

const Profile* CentralizedStoragePlugin::FindProfile(const Text& name) const {
  const auto found =
      std::ranges::find_if(profiles_, [&](const Profile& profile) { return name == profile.name; });
  return found == profiles_.end() ? nullptr : &*found;
}

}  // namespace host
