#pragma once

#include <string>

#include "module/frame/log.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/string.h"

// A plug-in of the agent that was fetched from the component manager by display name:
//
//   ServPlugin<VeldConnector::IConnector> connector_{L"VeldConnector"};
//   ...
//   if (!connector_.GetPlugin(manager)) return error::kMissingDependency;
//   connector_->CreateSocketManager(this);
//
// `T` names itself: T::kInterfaceId, and T::kTypeName as log lines show it. Changed in Init and
// UnInit of its owner only, read by all threads in between; it must not outlive the component
// manager.
template <class T>
class ServPlugin {
 public:
  explicit ServPlugin(const wchar_t* name) {
    name_.reserve(64);
    name_ = name;
  }
  ServPlugin(const ServPlugin&) = delete;
  ServPlugin& operator=(const ServPlugin&) = delete;
  ~ServPlugin() { Release(); }

  // Gives back what is held, then fetches anew. The interface, or null; a failure is only logged.
  T* GetPlugin(IComponentManager* manager, bool = false) {
    Release();
    if (manager == nullptr) {
      ORN_LOG(logging::kWarning, FunctionName().c_str(), L"Null component manager");
      return nullptr;
    }
    void* plugin = nullptr;
    const uint32_t status = manager->GetObject(name_.c_str(), T::kInterfaceId, &plugin);
    plugin_ = static_cast<T*>(plugin);
    if (status == 0) {
      manager_ = manager;
    } else {
      ORN_LOG(logging::kNotice, FunctionName().c_str(), L"Error %d getting plugin \"%s\"", status,
              name_.c_str());
    }
    return plugin_;
  }

  // Releasing twice has no effect.
  void Release() {
    if (plugin_ == nullptr) return;
    if (manager_ != nullptr) manager_->ReleaseObject(name_.c_str());
    manager_ = nullptr;
    plugin_ = nullptr;
  }

  T* get() const noexcept { return plugin_; }
  T* operator->() const noexcept { return plugin_; }
  explicit operator bool() const noexcept { return plugin_ != nullptr; }

 private:
  static std::wstring FunctionName() {
    return std::wstring(L"ServPlugin<struct ") + T::kTypeName + L">::GetPlugin";
  }

  IComponentManager* manager_ = nullptr;  // Not owned; null until a fetch has worked.
  T* plugin_ = nullptr;
  orn::StringT<wchar_t> name_;
};
