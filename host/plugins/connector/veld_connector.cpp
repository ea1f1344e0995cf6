#include "host/plugins/connector/veld_connector.h"

#include <string_view>

#include "host/common/host_configuration.h"
#include "host/plugins/link/win_http_transport.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/windows.h"

namespace host {

namespace {

constexpr wchar_t kName[] = L"VeldConnector";
constexpr wchar_t kDoor[] = L"/api/agent";
constexpr wchar_t kEnabledKey[] = L"RemoteAccess/enabled";

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
  const wchar_t* const terminal_host = configuration->GetOption(kName, L"terminalHost");
  if (terminal_host != nullptr) terminal_host_ = terminal_host;
  return link::ReadLinkOptions(*configuration.get(), kName, kDoor, options_)
             ? 0
             : static_cast<int32_t>(error::kBadParameter);
}

void VeldConnectorPlugin::UnInit() {
  settings_watch_.Release();
  settings_.Release();
}

int32_t VeldConnectorPlugin::Start() {
  settings_watch_->Watch(this);
  if (terminal_host_.empty()) return 0;
  const uint32_t status = terminal_host_watch_.Start(terminal_host_);
  if (status != 0) settings_watch_->Unwatch(this);
  return static_cast<int32_t>(status);
}

void VeldConnectorPlugin::Stop() {
  const LogFunctionTrace trace(L"VeldConnector::Stop");
  settings_watch_->Unwatch(this);
  terminal_host_watch_.Stop();
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
  loop_ = std::make_unique<link::ConnectionLoop>(
      kName,
      [this] {
        return std::make_shared<link::WinHttpTransport>(options_.server, options_.machine,
                                                        options_.key_file);
      },
      hub_, link::LoopLimits{});
  loop_->Start();
}

void VeldConnectorPlugin::CloseIntake() {
  // From here on the feature ends the shells' process itself, and before that the sessions.
  terminal_host_watch_.Stop();
  hub_.CloseIntake();
}

void VeldConnectorPlugin::OnStored(const wchar_t* key) {
  if (std::wstring_view(key) == kEnabledKey) hub_.OnSwitchStored();
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
