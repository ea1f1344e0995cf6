#pragma once

#include <cstdint>
#include <string>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/plugin_interfaces.h"

// A plug-in of the agent whose name is known only at run time. It is fetched in two steps: first
// the object, then its face `T`. As ServPlugin, `T` names itself by T::kInterfaceId and
// T::kTypeName; changed in Init and UnInit of its owner only, and it must not outlive the component
// manager.
template <class T>
class ServMultiPlugin {
 public:
  explicit ServMultiPlugin(const wchar_t* name) : name_(name) {}
  ServMultiPlugin(const ServMultiPlugin&) = delete;
  ServMultiPlugin& operator=(const ServMultiPlugin&) = delete;
  ~ServMultiPlugin() { Release(); }

  // Gives back what is held, then fetches anew. Returns 0; 87 without a host or where that has no
  // component manager; 1168 where the plug-in does not serve `T`; or the component manager's
  // status, and that as it is: a manager that gives neither an object nor a failure makes this
  // return 0 with nothing held.
  uint32_t GetPlugin(IServMain* main) {
    Release();
    if (main == nullptr) return error::kBadParameter;
    manager_ = main->GetComponentManager();
    if (manager_ == nullptr) return error::kBadParameter;
    void* object = nullptr;
    uint32_t status = manager_->GetObject(name_.c_str(), IOrnBaseInterface::kInterfaceId, &object);
    object_ = static_cast<IOrnBaseInterface*>(object);
    if (status != error::kSuccess || object_ == nullptr) {
      ORN_LOG(logging::kWarning, FunctionName().c_str(), L"Cannot get plugin %s. Error %d",
              name_.c_str(), status);
    } else {
      plugin_ = static_cast<T*>(object_->GetInterface(T::kInterfaceId));
      if (plugin_ != nullptr) return error::kSuccess;
      status = error::kNotFound;
    }
    Release();
    return status;
  }

  // Releasing twice has no effect.
  void Release() {
    if (object_ != nullptr && manager_ != nullptr) manager_->ReleaseObject(name_.c_str());
    manager_ = nullptr;
    object_ = nullptr;
    plugin_ = nullptr;
  }

  T* get() const noexcept { return plugin_; }
  T* operator->() const noexcept { return plugin_; }
  explicit operator bool() const noexcept { return plugin_ != nullptr; }

 private:
  static std::wstring FunctionName() {
    return std::wstring(L"ServMultiPlugin<struct ") + T::kTypeName + L">::GetPlugin";
  }

  IComponentManager* manager_ = nullptr;  // Not owned.
  IOrnBaseInterface* object_ = nullptr;
  std::wstring name_;
  T* plugin_ = nullptr;
};
