#include "module/agent/agent_base.h"

#include "module/frame/error_codes.h"
#include "module/frame/scope_guard.h"

namespace EnterpriseIntegration {

AgentBase::AgentBase(const wchar_t* name) {
  name_.reserve(64);
  name_ = name;
}

void* AgentBase::GetInterface(const InterfaceId& id) {
  const bool is_served = id == IOrnBaseInterface::kInterfaceId || id == IServPlugin::kInterfaceId ||
                         id == IAgent::kInterfaceId;
  return is_served ? static_cast<IAgent*>(this) : nullptr;
}

int32_t AgentBase::Init(IServMain* main) {
  orn::ScopeGuard clean_up([this] { AgentBase::UnInit(); });
  if (manager_.GetPlugin(main == nullptr ? nullptr : main->GetComponentManager()) == nullptr) {
    return error::kMissingDependency;
  }
  clean_up.Dismiss();
  return error::kSuccess;
}

void AgentBase::UnInit() {
  Unregister();
  manager_.Release();
}

int32_t AgentBase::Start() {
  if (!manager_ || !manager_->RegisterAgent(this)) return error::kFailed;
  registered_ = true;
  return error::kSuccess;
}

void AgentBase::Stop() {
  Unregister();
}

void AgentBase::Unregister() {
  if (!registered_) return;
  registered_ = false;
  manager_->UnregisterAgent(this);
}

uint32_t AgentBase::GetPolicyNames(orn::List<orn::StringT<wchar_t>>& names) {
  orn::StringT<wchar_t> name;
  return names.PushBack(GetPolicyName(name));
}

orn::StringT<wchar_t>& AgentBase::GetName(orn::StringT<wchar_t>& name) {
  name = name_;
  return name;
}

orn::StringT<wchar_t>& AgentBase::GetPolicyName(orn::StringT<wchar_t>& name) {
  return GetName(name);
}

}  // namespace EnterpriseIntegration
