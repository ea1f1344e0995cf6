#pragma once

#include <json/value.h>

#include <cstdint>
#include <set>
#include <string>

#include "module/frame/interface_id.h"
#include "module/frame/list.h"
#include "module/frame/map.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/string.h"

// The integration with the management server: a manager delivers policy method calls to the agents
// that have registered with it, and takes their events. The order of the operations is binary
// contract.
namespace EnterpriseIntegration {

// One call of a policy method, made by the manager. Valid until RunPolicyMethod returns; a call
// that is not complete by then has failed.
struct IPolicyMethodCall {
  // Null where the call has none, as with the two below.
  virtual const wchar_t* GetMethodName() = 0;
  virtual const wchar_t* GetDisplayName() = 0;
  virtual Json::Value* GetInput() = 0;
  virtual Json::Value* GetOutput() = 0;
  // Reports the result of the call, a Windows code, to the server. Once.
  virtual void Complete(int32_t status) = 0;

 protected:
  ~IPolicyMethodCall() = default;
};

// How an agent is doing.
struct AgentStatus {
  orn::StringT<wchar_t> name;
  bool enabled = false;
  uint32_t code = 0;
  orn::Map<orn::StringT<wchar_t>, Json::Value> values;
  std::set<std::wstring> tags;
  orn::StringT<wchar_t> text;
};

struct IAgentStatusSink {
  virtual void OnStatus(const AgentStatus& status) = 0;

 protected:
  ~IAgentStatusSink() = default;
};

// An agent. The manager may call it on any of its threads, several at a time, from RegisterAgent on
// until UnregisterAgent has returned.
struct IAgent : IServPlugin {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{E7D20000-3203-43A3-AD79-BAEDFFA24485}");
  static constexpr const wchar_t* kTypeName = L"EnterpriseIntegration::IAgent";

  virtual uint32_t GetStatus(uint32_t options, IAgentStatusSink* sink) = 0;
  virtual uint32_t Reserved1() = 0;
  virtual void RunPolicyMethod(IPolicyMethodCall* call) = 0;
  virtual bool Reserved2() = 0;
  // Adds the names of the policies that the agent serves; the result is that of the list's Add.
  virtual uint32_t GetPolicyNames(orn::List<orn::StringT<wchar_t>>& names) = 0;
  virtual orn::StringT<wchar_t>& GetName(orn::StringT<wchar_t>& name) = 0;
  virtual orn::StringT<wchar_t>& GetPolicyName(orn::StringT<wchar_t>& name) = 0;
  virtual void Reserved3() = 0;
  virtual void Reserved4() = 0;
  virtual uint32_t Reserved5() = 0;
  virtual ~IAgent() = default;
};

struct IManager {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{53230000-F475-4CA6-474F-DDC681FB569D}");
  static constexpr const wchar_t* kTypeName = L"EnterpriseIntegration::IManager";

  // Takes the event for delivery to the server, which may be later; false where it cannot be kept.
  // Any thread; does not wait for the network.
  virtual bool SendEvent(const wchar_t* name, Json::Value& payload, uint32_t options) = 0;
  // Some agent's status is different now.
  virtual void NotifyStatusChanged(uint32_t options) = 0;
  // False where the agent is null or registered already.
  virtual bool RegisterAgent(IAgent* agent) = 0;
  // Returns when no call runs in that agent any more.
  virtual void UnregisterAgent(IAgent* agent) = 0;

 protected:
  ~IManager() = default;
};

// On whose behalf a call is made.
struct CallerInfo {
  int32_t pid = 0;
  std::wstring path;  // The image's.
  bool admin = false;
};

struct ICallerInfoQuery {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{875E0000-2D58-4312-98F3-C98E07A10D8C}");
  static constexpr const wchar_t* kTypeName = L"EnterpriseIntegration::ICallerInfoQuery";

  // The caller on whose behalf the calling thread acts, null where that is nobody's. Valid until
  // that call of the agent has returned.
  virtual const CallerInfo* GetCaller() = 0;

 protected:
  ~ICallerInfoQuery() = default;
};

}  // namespace EnterpriseIntegration
