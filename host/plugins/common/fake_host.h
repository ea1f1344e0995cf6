#pragma once

#include <atomic>
#include <map>
#include <string>
#include <utility>

#include "host/common/host_configuration.h"
#include "module/frame/error_codes.h"
#include "module/frame/plugin_interfaces.h"

namespace host {

// The host as plug-ins see it in tests: options and plug-ins that a test has named.
class FakeHost final : public IServMain, public IComponentManager, public IHostConfiguration {
 public:
  void SetOption(const wchar_t* plugin, const wchar_t* option, const wchar_t* value) {
    options_[{plugin, option}] = value;
  }
  // `plugin` is not owned. Null takes the one of that name away.
  void Add(const wchar_t* name, IOrnBaseInterface* plugin) { plugins_[name] = plugin; }

  IComponentManager* GetComponentManager() override { return this; }

  uint32_t GetObject(const wchar_t* name, const InterfaceId& id, void** object) override {
    *object = nullptr;
    if (std::wstring(name) == kConfigurationName) *object = static_cast<IHostConfiguration*>(this);
    if (const auto plugin = plugins_.find(name);
        plugin != plugins_.end() && plugin->second != nullptr) {
      *object = plugin->second->GetInterface(id);
    }
    if (*object == nullptr) return error::kNotFound;
    ++references_;
    return error::kSuccess;
  }
  void ReleaseObject(const wchar_t*) override { --references_; }
  // What was given out and not given back.
  int references() const { return references_; }

  const wchar_t* GetOption(const wchar_t* plugin, const wchar_t* option) override {
    const auto found = options_.find({plugin, option});
    return found == options_.end() ? nullptr : found->second.c_str();
  }
  const wchar_t* GetDataFolder() override { return L""; }
  const wchar_t* GetRun() override { return L"run"; }
  const wchar_t* ResolvePath(const wchar_t* path) override { return path; }

 private:
  std::atomic<int> references_{0};
  std::map<std::pair<std::wstring, std::wstring>, std::wstring> options_;
  std::map<std::wstring, IOrnBaseInterface*> plugins_;
};

}  // namespace host
