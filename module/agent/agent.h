#pragma once

#include <cstdint>

#include "module/agent/agent_base.h"
#include "module/frame/error_codes.h"
#include "module/frame/scope_guard.h"

namespace EnterpriseIntegration {

// An agent for the feature whose plug-in is of interface `I`:
//
//   class PrinterAgent : public Agent<IPrinter> {
//    public:
//     PrinterAgent() : Agent(L"Printer", /*feature_name=*/L"Printer") {}
//     ...
//     void RunPolicyMethod(IPolicyMethodCall* call) override { plugin()->Print(...); }
//   };
template <class I>
class Agent : public AgentBase {
 public:
  // `feature_name` is that of the plug-in, and the agent's own where `name` is null or empty.
  Agent(const wchar_t* name, const wchar_t* feature_name)
      : AgentBase(name == nullptr || *name == 0 ? feature_name : name), plugin_(feature_name) {}

  // 5002 without the manager or the feature's plug-in; nothing stays fetched then.
  int32_t Init(IServMain* main) override {
    orn::ScopeGuard clean_up([this] { Agent::UnInit(); });
    if (AgentBase::Init(main) != 0 || plugin_.GetPlugin(main->GetComponentManager()) == nullptr) {
      return error::kMissingDependency;
    }
    clean_up.Dismiss();
    return error::kSuccess;
  }

  void UnInit() override {
    AgentBase::UnInit();
    plugin_.Release();
  }

 protected:
  ServPlugin<I>& plugin() { return plugin_; }

 private:
  ServPlugin<I> plugin_;  // Stays the same between Init and UnInit.
};

}  // namespace EnterpriseIntegration
