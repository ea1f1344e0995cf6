#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/common/host_intake.h"
#include "host/plugins/integration/event_store.h"
#include "host/plugins/integration/hub.h"
#include "host/plugins/link/connection_loop.h"
#include "host/plugins/link/link_options.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/endpoint_integration.h"
#include "module/rpc/client_handler.h"

namespace host {

// "EndpointIntegration.Manager": a connection of its own to the management server, from OpenIntake
// to Stop. Policy method calls come in over it; the agents' status and events go out, each event
// kept in a file until the server has acknowledged it.
//
// Options: those of link::LinkOptions; "store", the file of the events, by default
// `integration\events.db` in the data folder; "through", the plug-in that is the client of another
// process's feature, none by default: a connection is not begun before that process is there, so
// that a call right after a start is answered by it, or before five seconds have passed.
//
// A call that never ends keeps CloseIntake and UnregisterAgent waiting; the host ends its process
// when a stop takes too long.
class EndpointIntegrationManager final : public EnterpriseIntegration::IManager,
                                         public EnterpriseIntegration::ICallerInfoQuery,
                                         public IHostIntake,
                                         public IServPlugin {
 public:
  EndpointIntegrationManager() = default;
  EndpointIntegrationManager(const EndpointIntegrationManager&) = delete;
  EndpointIntegrationManager& operator=(const EndpointIntegrationManager&) = delete;
  virtual ~EndpointIntegrationManager() = default;

  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  int32_t Start() override;
  void Stop() override;

  bool SendEvent(const wchar_t* name, Json::Value& payload, uint32_t options) override;
  void NotifyStatusChanged(uint32_t options) override;
  bool RegisterAgent(EnterpriseIntegration::IAgent* agent) override;
  void UnregisterAgent(EnterpriseIntegration::IAgent* agent) override;

  // Always null: the calls that this plug-in makes come from the server, and on behalf of no
  // process of this machine.
  const EnterpriseIntegration::CallerInfo* GetCaller() override { return nullptr; }

  void OpenIntake() override;
  void CloseIntake() override;

 private:
  const logging::LogReference log_;
  IComponentManager* manager_ = nullptr;  // Not owned.
  link::LinkOptions options_;
  std::wstring through_;
  // From OpenIntake to Stop.
  std::unique_ptr<ServPlugin<messaging::rpc::client_handler>> client_;
  // Each is there from Init on and goes in the reverse order.
  std::unique_ptr<integration::EventStore> store_;
  std::unique_ptr<integration::Hub> hub_;
  std::unique_ptr<link::ConnectionLoop> loop_;
};

}  // namespace host
