#include "host/plugins/connector/veld_connector.h"

#include <iterator>
#include <string_view>

#include "host/common/host_configuration.h"
#include "host/plugins/connector/win_http_transport.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/windows.h"

namespace host {

namespace {

constexpr wchar_t kName[] = L"VeldConnector";
constexpr wchar_t kEnabledKey[] = L"RemoteAccess/enabled";

std::wstring InstalledMachineId() {
  wchar_t id[65] = {};
  DWORD size = sizeof(id);
  RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid",
               RRF_RT_REG_SZ, /*pdwType=*/nullptr, id, &size);
  return id;
}

std::wstring ComputerName() {
  wchar_t name[256] = {};
  DWORD size = static_cast<DWORD>(std::size(name));
  GetComputerNameExW(ComputerNameDnsHostname, name, &size);
  return name;
}

}  // namespace

VeldConnectorPlugin::VeldConnectorPlugin()
    : hub_(connector::StreamLimits{}, [this] { return IsEnabled(); }) {}

VeldConnectorPlugin::~VeldConnectorPlugin() = default;

void* VeldConnectorPlugin::GetInterface(const InterfaceId& id) {
  if (id == VeldConnector::IConnector::kInterfaceId) {
    return static_cast<VeldConnector::IConnector*>(this);
  }
  if (id == IEventChannel::kInterfaceId) return static_cast<IEventChannel*>(this);
  if (id == ISessionEnds::kInterfaceId) return static_cast<ISessionEnds*>(this);
  if (id == IHostIntake::kInterfaceId) return static_cast<IHostIntake*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t VeldConnectorPlugin::Init(IServMain* main) {
  const LogFunctionTrace trace(L"VeldConnector::Init");
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  ServPlugin<IHostConfiguration> configuration(kConfigurationName);
  if (configuration.GetPlugin(manager) == nullptr || settings_.GetPlugin(manager) == nullptr ||
      settings_watch_.GetPlugin(manager) == nullptr) {
    return static_cast<int32_t>(error::kMissingDependency);
  }
  return ReadOptions(*configuration.get()) ? 0 : static_cast<int32_t>(error::kBadParameter);
}

void VeldConnectorPlugin::UnInit() {
  settings_watch_.Release();
  settings_.Release();
}

int32_t VeldConnectorPlugin::Start() {
  settings_watch_->Watch(this);
  return 0;
}

void VeldConnectorPlugin::Stop() {
  const LogFunctionTrace trace(L"VeldConnector::Stop");
  settings_watch_->Unwatch(this);
  if (loop_ != nullptr) loop_->Stop();
}

VeldConnector::ISocketManager* VeldConnectorPlugin::CreateSocketManager(
    VeldConnector::ISocketConnection* observer) {
  return hub_.CreateSocketManager(observer);
}

void VeldConnectorPlugin::DeleteSocketManager(VeldConnector::ISocketManager* manager) {
  hub_.DeleteSocketManager(manager);
}

bool VeldConnectorPlugin::TrySendEvent(const std::string& name, const Json::Value& payload) {
  return hub_.TrySendEvent(name, payload);
}

bool VeldConnectorPlugin::MayTellEnd(const std::string& id) {
  return hub_.MayTellEnd(id);
}

void VeldConnectorPlugin::OpenIntake() {
  loop_ = std::make_unique<connector::ConnectionLoop>(
      [this] {
        return std::make_shared<connector::WinHttpTransport>(server_, machine_, key_file_);
      },
      hub_, connector::LoopLimits{});
  loop_->Start();
}

void VeldConnectorPlugin::CloseIntake() {
  hub_.CloseIntake();
}

void VeldConnectorPlugin::OnStored(const wchar_t* key) {
  if (std::wstring_view(key) == kEnabledKey) hub_.SendState();
}

bool VeldConnectorPlugin::ReadOptions(IHostConfiguration& configuration) {
  const auto bad = [](const wchar_t* option, const wchar_t* value) {
    ORN_LOG(logging::kError, L"VeldConnector::Init", L"Bad option \"%s\": \"%s\"", option,
            value == nullptr ? L"" : value);
    return false;
  };
  const wchar_t* const server = configuration.GetOption(kName, L"server");
  const auto address = connector::ParseServerAddress(server == nullptr ? L"" : server);
  if (!address) return bad(L"server", server);
  server_ = *address;

  const wchar_t* const key_file = configuration.GetOption(kName, L"keyFile");
  if (key_file == nullptr || *key_file == L'\0') return bad(L"keyFile", key_file);
  key_file_ = configuration.ResolvePath(key_file);

  const wchar_t* const id = configuration.GetOption(kName, L"machineId");
  machine_.id = id == nullptr ? InstalledMachineId() : id;
  if (!connector::IsMachineId(machine_.id)) return bad(L"machineId", machine_.id.c_str());

  const wchar_t* const name = configuration.GetOption(kName, L"machineName");
  machine_.name = name == nullptr ? ComputerName() : name;
  return true;
}

bool VeldConnectorPlugin::IsEnabled() {
  bool enabled = false;
  ITsrSettings::INode* const node = settings_->OpenForRead(kEnabledKey, /*options=*/0);
  if (node == nullptr) return false;
  if (node->GetFailure() == 0) {
    if (ITsrSettings::IValue* const value = node->GetValue(L""); value != nullptr) {
      value->GetBool(&enabled);
      value->Release();
    }
  }
  node->Release();
  return enabled;
}

}  // namespace host
