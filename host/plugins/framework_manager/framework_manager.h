#pragma once

#include "host/common/host_configuration.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/framework.h"

namespace host {

// "Framework.Manager": configuration values of the agent's plug-ins, which are this plug-in's own
// options in the host's configuration: the key is the option's name.
class FrameworkManager final : public Framework::IPluginConfig, public IServPlugin {
 public:
  FrameworkManager() = default;
  FrameworkManager(const FrameworkManager&) = delete;
  FrameworkManager& operator=(const FrameworkManager&) = delete;
  virtual ~FrameworkManager() = default;

  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  int32_t Start() override { return 0; }
  void Stop() override {}

  // Null before Init and after UnInit, too.
  const wchar_t* GetValue(const wchar_t* key) override;

 private:
  const logging::LogReference log_;
  ServPlugin<IHostConfiguration> configuration_{kConfigurationName};
};

}  // namespace host
