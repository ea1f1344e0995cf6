#include "host/service/component_manager.h"

#include "module/frame/error_codes.h"
#include "module/frame/log.h"

namespace host {

void ComponentManager::Add(const std::wstring& name, IOrnBaseInterface* object) {
  const std::lock_guard lock(mutex_);
  components_[name] = {.object = object, .references = 0};
}

uint32_t ComponentManager::Remove(const std::wstring& name) {
  const std::lock_guard lock(mutex_);
  const auto found = components_.find(name);
  if (found == components_.end()) return 0;
  const uint32_t references = found->second.references;
  components_.erase(found);
  return references;
}

uint32_t ComponentManager::GetObject(const wchar_t* name, const InterfaceId& id, void** object) {
  if (object == nullptr) return error::kBadParameter;
  *object = nullptr;
  if (name == nullptr) return error::kBadParameter;
  IOrnBaseInterface* component = nullptr;
  {
    const std::lock_guard lock(mutex_);
    const auto found = components_.find(name);
    if (found == components_.end()) return error::kNotFound;
    // Counted before the lock is left, so that Remove knows of it.
    ++found->second.references;
    component = found->second.object;
  }
  // A plug-in's own code, hence outside the lock.
  *object = component->GetInterface(id);
  if (*object != nullptr) return error::kSuccess;
  ReleaseObject(name);
  return error::kNotFound;
}

void ComponentManager::ReleaseObject(const wchar_t* name) {
  if (name == nullptr) return;
  const std::lock_guard lock(mutex_);
  const auto found = components_.find(name);
  if (found != components_.end() && found->second.references > 0) {
    --found->second.references;
    return;
  }
  ORN_LOG(logging::kNotice, L"host::ComponentManager::ReleaseObject",
          L"No reference on \"%s\" is out", name);
}

}  // namespace host
