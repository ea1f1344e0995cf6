#pragma once

#include <deque>
#include <iterator>
#include <mutex>
#include <string>

#include "host/common/file_path.h"
#include "host/common/host_configuration.h"
#include "host/service/configuration.h"
#include "module/frame/guid.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/windows.h"

namespace host {

// The configuration as plug-ins get it from the component manager.
class ConfigurationObject : public IOrnBaseInterface, public IHostConfiguration {
 public:
  // `configuration` is not owned. A run that begins here is handed down to the processes that this
  // one starts, by its environment.
  explicit ConfigurationObject(const Configuration& configuration) : configuration_(configuration) {
    wchar_t run[64] = L"";
    const DWORD length = GetEnvironmentVariableW(kRunVariable, run, std::size(run));
    run_ = length > 0 && length < std::size(run) ? run : orn::GenerateGuid().c_str();
    SetEnvironmentVariableW(kRunVariable, run_.c_str());
  }
  virtual ~ConfigurationObject() = default;

  void* GetInterface(const InterfaceId& id) override {
    if (id == IHostConfiguration::kInterfaceId) return static_cast<IHostConfiguration*>(this);
    if (id == IOrnBaseInterface::kInterfaceId) return static_cast<IOrnBaseInterface*>(this);
    return nullptr;
  }

  const wchar_t* GetOption(const wchar_t* plugin, const wchar_t* option) override {
    for (const PluginEntry& entry : configuration_.plugins) {
      if (entry.name != plugin) continue;
      const auto found = entry.options.find(option);
      return found == entry.options.end() ? nullptr : found->second.c_str();
    }
    return nullptr;
  }

  const wchar_t* GetDataFolder() override { return configuration_.data.c_str(); }

  const wchar_t* GetRun() override { return run_.c_str(); }

  const wchar_t* ResolvePath(const wchar_t* path) override {
    const std::lock_guard lock(mutex_);
    return resolved_.emplace_back(ConfiguredPath(configuration_.folder, path)).c_str();
  }

 private:
  static constexpr wchar_t kRunVariable[] = L"ORN_TSR_RUN";

  const Configuration& configuration_;
  std::wstring run_;
  std::mutex mutex_;
  std::deque<std::wstring> resolved_;  // Guarded by mutex_. Its texts stay where they are.
};

}  // namespace host
