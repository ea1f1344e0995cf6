#include "host/plugins/integration/endpoint_integration_manager.h"

#include <string>

#include "host/common/host_configuration.h"
#include "host/plugins/integration/messages.h"
#include "host/plugins/link/win_http_transport.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/utf.h"

namespace host {

namespace {

constexpr wchar_t kName[] = L"EndpointIntegration.Manager";
constexpr wchar_t kDoor[] = L"/api/integration";

// All calls that may run at once can have the longest answer, and as many be read meanwhile.
constexpr size_t kAnswerBytes = 16 * integration::kLongestMessage;

constexpr uint32_t kFeatureLimit = 5000;  // Milliseconds.

}  // namespace

void* EndpointIntegrationManager::GetInterface(const InterfaceId& id) {
  if (id == IManager::kInterfaceId) return static_cast<IManager*>(this);
  if (id == ICallerInfoQuery::kInterfaceId) return static_cast<ICallerInfoQuery*>(this);
  if (id == IHostIntake::kInterfaceId) return static_cast<IHostIntake*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t EndpointIntegrationManager::Init(IServMain* main) {
  const LogFunctionTrace trace(L"EndpointIntegration.Manager::Init");
  manager_ = main == nullptr ? nullptr : main->GetComponentManager();
  ServPlugin<IHostConfiguration> configuration(kConfigurationName);
  if (configuration.GetPlugin(manager_) == nullptr) {
    return static_cast<int32_t>(error::kMissingDependency);
  }
  if (!link::ReadLinkOptions(*configuration.get(), kName, kDoor, options_)) {
    return static_cast<int32_t>(error::kBadParameter);
  }
  const wchar_t* const through = configuration->GetOption(kName, L"through");
  if (through != nullptr) through_ = through;
  const wchar_t* const option = configuration->GetOption(kName, L"store");
  const std::wstring path = option != nullptr ? std::wstring(configuration->ResolvePath(option))
                                              : std::wstring(configuration->GetDataFolder()) +
                                                    L"\\integration\\events.db";
  store_ = std::make_unique<integration::EventStore>(path, integration::EventStore::Limits{});
  hub_ = std::make_unique<integration::Hub>(*store_, orn::ToUtf8(configuration->GetRun()).c_str());
  return 0;
}

void EndpointIntegrationManager::UnInit() {
  loop_.reset();
  hub_.reset();
  store_.reset();
}

int32_t EndpointIntegrationManager::Start() {
  // Without a store there are no events, but policy methods work.
  store_->Open();
  return 0;
}

void EndpointIntegrationManager::Stop() {
  const LogFunctionTrace trace(L"EndpointIntegration.Manager::Stop");
  hub_->Stop();
  if (loop_ != nullptr) loop_->Stop();
  client_.reset();
  store_->Close();
}

bool EndpointIntegrationManager::SendEvent(const wchar_t* name, Json::Value& payload, uint32_t) {
  return hub_->SendEvent(name, payload);
}

void EndpointIntegrationManager::NotifyStatusChanged(uint32_t) {
  hub_->SendStatus();
}

bool EndpointIntegrationManager::RegisterAgent(EnterpriseIntegration::IAgent* agent) {
  return hub_->RegisterAgent(agent);
}

void EndpointIntegrationManager::UnregisterAgent(EnterpriseIntegration::IAgent* agent) {
  hub_->UnregisterAgent(agent);
}

void EndpointIntegrationManager::OpenIntake() {
  if (!through_.empty()) {
    client_ = std::make_unique<ServPlugin<messaging::rpc::client_handler>>(through_.c_str());
    client_->GetPlugin(manager_);
  }
  loop_ = std::make_unique<link::ConnectionLoop>(
      kName,
      [this] {
        if (client_ && *client_) (*client_)->wait_for_connection(kFeatureLimit);
        return std::make_shared<link::WinHttpTransport>(
            options_.server, options_.machine, options_.key_file, integration::kLongestMessage);
      },
      *hub_, link::LoopLimits{.outbox = {.answer_bytes = kAnswerBytes}});
  loop_->Start();
}

void EndpointIntegrationManager::CloseIntake() {
  hub_->CloseIntake();
}

}  // namespace host
