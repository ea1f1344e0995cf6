#pragma once

#include <memory>
#include <string>

#include "host/messaging/hub.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/messaging.h"

namespace host {

// "messaging.channel_gateway". Without a host, or without its configuration, it works with defaults
// and no hub. Options:
//
//   hub             "true" in the one process of the agent that has the hub
//   workerAccount   SID of an account whose processes may connect too; by default SYSTEM, the
//                   administrators and the process's own account may
//   users           the channels on which processes of whoever is signed in at the machine may be
//                   clients, and the interfaces whose events they may hear:
//                   "TsrComm.A=1;TsrComm.B"; none by default. Where a server of such a channel is,
//                   and the hub, have to have it alike
//   door            "users" in a program of a user's: it is treated as one even where it has more
//                   rights
//   workerChannels  of the hub: the channels, separated by ';', on which a process without
//                   administrator rights may announce a server
class GatewayFactory final : public IServPlugin, public messaging::channel_gateway_factory {
 public:
  GatewayFactory() = default;
  GatewayFactory(const GatewayFactory&) = delete;
  GatewayFactory& operator=(const GatewayFactory&) = delete;
  virtual ~GatewayFactory() { UnInit(); }

  void* GetInterface(const InterfaceId& id) override;
  // Returns 0, 87 for a bad option, or why the hub cannot work.
  int32_t Init(IServMain* main) override;
  // Ends the hub; gateways go on.
  void UnInit() override;
  int32_t Start() override { return 0; }
  void Stop() override {}

  // Any thread.
  messaging::channel_gateway* create(const messaging::gateway_settings& settings) override;
  // Not to be called by an observer or a callback.
  void destroy(messaging::channel_gateway* gateway) override;

 private:
  const logging::LogReference log_;
  std::unique_ptr<channels::Hub> hub_;
};

}  // namespace host
