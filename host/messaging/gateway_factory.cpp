#include "host/messaging/gateway_factory.h"

#include <mutex>
#include <set>
#include <vector>

#include "host/common/host_configuration.h"
#include "host/messaging/gateway.h"
#include "host/messaging/node.h"
#include "host/messaging/pipe_access.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/serv_plugin.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

namespace host {

namespace {

constexpr DWORD kHubTries = 100;
constexpr DWORD kHubPause = 50;  // Milliseconds; a hub that has just died may hold its name still.

// Threads and channels of the library may be in use after its users have let go of it.
void StayLoaded() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                     reinterpret_cast<const wchar_t*>(&StayLoaded), &module);
}

std::set<std::string, std::less<>> Split(std::string_view names) {
  std::set<std::string, std::less<>> result;
  while (!names.empty()) {
    const size_t end = std::min(names.find(';'), names.size());
    if (end > 0) result.emplace(names.substr(0, end));
    names.remove_prefix(std::min(end + 1, names.size()));
  }
  return result;
}

}  // namespace

void* GatewayFactory::GetInterface(const InterfaceId& id) {
  if (id == messaging::channel_gateway_factory::kInterfaceId) {
    return static_cast<messaging::channel_gateway_factory*>(this);
  }
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t GatewayFactory::Init(IServMain* main) {
  const LogFunctionTrace trace(L"messaging::GatewayFactory::Init");
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  ServPlugin<IHostConfiguration> configuration(kConfigurationName);
  if (manager == nullptr || configuration.GetPlugin(manager) == nullptr) return 0;
  const auto option = [&](const wchar_t* name) {
    const wchar_t* const value = configuration->GetOption(messaging::kChannelGateway, name);
    return std::wstring(value == nullptr ? L"" : value);
  };
  if (!channels::AdmitAccount(option(L"workerAccount"))) {
    ORN_LOG(logging::kError, trace.function(), L"Option workerAccount is no SID: %s",
            option(L"workerAccount").c_str());
    return static_cast<int32_t>(error::kBadParameter);
  }
  auto users = channels::UserRules::Parse(orn::ToUtf8(option(L"users")).view());
  if (!users) {
    ORN_LOG(logging::kError, trace.function(), L"Option users names no channels: %s",
            option(L"users").c_str());
    return static_cast<int32_t>(error::kBadParameter);
  }
  channels::Node::SetUp({.users = *users, .is_users = option(L"door") == L"users"});
  if (option(L"hub") != L"true") return 0;
  const auto worker_channels = Split(orn::ToUtf8(option(L"workerChannels")).view());
  uint32_t status = 0;
  for (DWORD i = 0; i < kHubTries; ++i) {
    hub_ = std::make_unique<channels::Hub>(worker_channels, *users);
    status = hub_->Start();
    if (status != ERROR_ACCESS_DENIED && status != ERROR_PIPE_BUSY) break;
    Sleep(kHubPause);
  }
  if (status != 0) {
    hub_.reset();
    const orn::UniqueFile held = channels::OpenPipe(channels::HubPipeName(), /*patient=*/false);
    ORN_LOG(logging::kError, trace.function(),
            L"The hub's pipe cannot be had, process %u holds it. Error: %u.",
            channels::ServerOf(held.get()), status);
  }
  return static_cast<int32_t>(status);
}

void GatewayFactory::UnInit() {
  hub_.reset();
}

messaging::channel_gateway* GatewayFactory::create(const messaging::gateway_settings& settings) {
  StayLoaded();
  std::shared_ptr<channels::Node> node = channels::Node::Get();
  if (node == nullptr) return nullptr;
  // Never freed, see its class.
  auto* const gateway = new channels::Gateway(settings.channel, node);
  node->Add(*gateway);
  return gateway;
}

void GatewayFactory::destroy(messaging::channel_gateway* gateway) {
  if (gateway != nullptr) static_cast<channels::Gateway*>(gateway)->Close();
}

}  // namespace host
