#pragma once

#include <cstdint>

#include "module/frame/serv_plugin.h"
#include "module/platform/endpoint_integration.h"

namespace EnterpriseIntegration {

// What every agent of the enterprise integration manager needs: the manager itself, the
// registration with it, and a name. The host drives Init, Start, Stop and UnInit in order; Stop and
// UnInit may come at any time.
class AgentBase : public IAgent {
 public:
  // Null is the empty name.
  explicit AgentBase(const wchar_t* name);
  AgentBase(const AgentBase&) = delete;
  AgentBase& operator=(const AgentBase&) = delete;

  void* GetInterface(const InterfaceId& id) override;
  // 5002 without the manager; nothing stays fetched then.
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  // 1627 where the manager does not take the agent.
  int32_t Start() override;
  void Stop() override;

  uint32_t GetPolicyNames(orn::List<orn::StringT<wchar_t>>& names) override;
  orn::StringT<wchar_t>& GetName(orn::StringT<wchar_t>& name) override;
  orn::StringT<wchar_t>& GetPolicyName(orn::StringT<wchar_t>& name) override;
  uint32_t Reserved1() override { return 0; }
  void Reserved3() override {}
  void Reserved4() override {}
  uint32_t Reserved5() override { return 0; }

 protected:
  ServPlugin<IManager>& manager() { return manager_; }

 private:
  void Unregister();

  // Stays the same between Init and UnInit.
  ServPlugin<IManager> manager_{L"EndpointIntegration.Manager"};
  bool registered_ = false;
  orn::StringT<wchar_t> name_;
};

}  // namespace EnterpriseIntegration
