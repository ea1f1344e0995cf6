#include "host/plugins/process_info/process_info_db.h"

#include <algorithm>
#include <ranges>

#include "host/common/file_path.h"
#include "host/common/host_configuration.h"
#include "host/common/running_process.h"
#include "module/frame/log.h"
#include "module/frame/serv_plugin.h"
#include "module/frame/utf.h"

namespace host {

namespace {

bool SamePath(const std::wstring& one, const std::wstring& other) {
  return CompareStringOrdinal(one.c_str(), static_cast<int>(one.size()), other.c_str(),
                              static_cast<int>(other.size()), /*bIgnoreCase=*/TRUE) == CSTR_EQUAL;
}

}  // namespace

void* ProcessInfoDb::GetInterface(const InterfaceId& id) {
  if (id == messaging::process_info_raw::kInterfaceId) {
    return static_cast<messaging::process_info_raw*>(this);
  }
  if (id == messaging::process_info_shared::kInterfaceId) {
    return static_cast<messaging::process_info_shared*>(this);
  }
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t ProcessInfoDb::Init(IServMain* main) {
  const LogFunctionTrace trace(L"messaging.process_info_db::Init");
  ServPlugin<IHostConfiguration> configuration(kConfigurationName);
  if (configuration.GetPlugin(main == nullptr ? nullptr : main->GetComponentManager()) == nullptr) {
    return 0;
  }
  const wchar_t* const option =
      configuration->GetOption(messaging::kProcessInfoDb, L"mayImpersonate");
  const std::wstring names = option == nullptr ? L"" : option;
  // As the system writes the paths of processes, which need not be how this one was started.
  std::wstring folder = FolderOf(RunningProcess(GetCurrentProcessId()).ImagePath());
  if (folder.empty()) return 0;
  folder += L'\\';
  for (const auto part : std::views::split(names, L';')) {
    if (part.empty()) continue;
    std::wstring& path = may_impersonate_.emplace_back(folder);
    path.append(part.begin(), part.end());
  }
  return 0;
}

void ProcessInfoDb::UnInit() {
  may_impersonate_.clear();
  const std::lock_guard lock(mutex_);
  known_.clear();
}

void ProcessInfoDb::get(int32_t pid, messaging::process_record& record) {
  const auto info = get(pid);
  record = {.pid = info->pid, .path = info->path, .admin = info->admin};
}

std::shared_ptr<messaging::process_info> ProcessInfoDb::get(int32_t pid) {
  const RunningProcess process(static_cast<uint32_t>(pid));
  auto info = std::make_shared<messaging::process_info>();
  info->pid = pid;
  if (!process) return info;
  {
    const std::lock_guard lock(mutex_);
    const auto known = known_.find(pid);
    if (known != known_.end() && known->second.created == process.created()) {
      known->second.last_use = ++uses_;
      return known->second.info;
    }
  }
  const std::wstring image = process.ImagePath();
  info->path = orn::ToUtf8(image).view();
  info->admin = process.IsAdministrator();
  info->kind = MayImpersonate(image) ? 1 : 0;

  const std::lock_guard lock(mutex_);
  known_[pid] = {.created = process.created(), .last_use = ++uses_, .info = info};
  if (known_.size() > kMostRecords) {
    known_.erase(std::ranges::min_element(known_, {},
                                          [](const auto& entry) { return entry.second.last_use; }));
  }
  return info;
}

bool ProcessInfoDb::MayImpersonate(const std::wstring& image) const {
  return std::ranges::any_of(may_impersonate_,
                             [&](const std::wstring& path) { return SamePath(path, image); });
}

}  // namespace host
