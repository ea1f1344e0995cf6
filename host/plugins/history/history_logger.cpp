#include "host/plugins/history/history_logger.h"

#include "host/common/file_path.h"
#include "host/common/host_configuration.h"
#include "host/common/protected_folder.h"
#include "host/common/security.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"

namespace host {

namespace {

constexpr wchar_t kName[] = L"History.Logger";

std::wstring FolderAccess() {
  const bool administrator = IsAdministrator();
  std::wstring access = administrator ? L"O:BA" : L"";
  // Users read, list and pass through. The system is not named, whose account the worker has
  // without its rights: what is typed into a shell must not change the history.
  access += L"D:P(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)";
  if (!administrator) access += L"(A;OICI;FA;;;" + UserSid() + L")";
  return access;
}

}  // namespace

void* HistoryLogger::GetInterface(const InterfaceId& id) {
  if (id == IHistory::kInterfaceId) return static_cast<IHistory*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t HistoryLogger::Init(IServMain* main) {
  const LogFunctionTrace trace(L"History.Logger::Init");
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  ServPlugin<IHostConfiguration> configuration(kConfigurationName);
  if (configuration.GetPlugin(manager) == nullptr) {
    return static_cast<int32_t>(error::kMissingDependency);
  }
  const wchar_t* const option = configuration->GetOption(kName, L"path");
  path_ = option != nullptr
              ? std::wstring(configuration->ResolvePath(option))
              : std::wstring(configuration->GetDataFolder()) + L"\\history\\history.db";
  store_ = std::make_unique<history::HistoryStore>(path_);
  outlet_ = std::make_unique<history::HistoryOutlet>(path_);
  if (connector_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kNotice, trace.function(),
            L"There is no VeldConnector: the history cannot be read from the server.");
  }
  return 0;
}

void HistoryLogger::UnInit() {
  connector_.Release();
}

int32_t HistoryLogger::Start() {
  const LogFunctionTrace trace(L"History.Logger::Start");
  if (const uint32_t status = PrepareProtectedFolder(FolderOf(path_), FolderAccess());
      status != 0) {
    ORN_LOG(logging::kError, trace.function(),
            L"The folder of the history cannot be made. Error: %d. Path: %s", status,
            path_.c_str());
  }
  store_->Open();
  if (connector_.get() == nullptr) return 0;
  sockets_ = connector_->CreateSocketManager(outlet_.get());
  const uint32_t status =
      sockets_ == nullptr ? error::kFailed : sockets_->RegisterController(outlet_.get());
  if (status != 0) {
    ORN_LOG(logging::kWarning, trace.function(),
            L"The history cannot be read from the server. Error: %d.", status);
  }
  return 0;
}

void HistoryLogger::Stop() {
  const LogFunctionTrace trace(L"History.Logger::Stop");
  if (sockets_ != nullptr) connector_->DeleteSocketManager(sockets_);
  sockets_ = nullptr;
  store_->Close();
}

uint32_t HistoryLogger::Add(const Event::Data* data, const wchar_t* feature) {
  return data == nullptr ? error::kBadParameter : store_->Add(*data, feature);
}

}  // namespace host
