#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/common/host_intake.h"
#include "host/service/component_manager.h"
#include "host/service/configuration.h"
#include "module/frame/exported_object.h"
#include "module/frame/plugin_interfaces.h"

namespace host {

// The plug-ins of a configuration, from the first Init to the last UnInit. All operations belong to
// one thread. It is never destroyed, see HostProcess.
class PluginSequence {
 public:
  // None is owned. `step` is called when one more plug-in has been started or stopped.
  PluginSequence(const Configuration& configuration, IServMain& main, ComponentManager& components,
                 std::function<void()> step)
      : configuration_(configuration),
        main_(main),
        components_(components),
        step_(std::move(step)) {}
  PluginSequence(const PluginSequence&) = delete;
  PluginSequence& operator=(const PluginSequence&) = delete;

  // Starts them in the configuration's order, each with its name in the component manager once it
  // runs. False, with a report, where one fails that is not optional: those before it run then.
  bool Start();
  // What comes from outside is let in, or no more (host_intake.h). The second without the first has
  // no effect.
  void OpenIntakes();
  void CloseIntakes();
  // Stops all that run, then un-initialises them.
  void Stop();

  // Those that run, in the order of their starts.
  std::vector<IServPlugin*> plugins() const;

 private:
  struct Plugin {
    const PluginEntry* entry = nullptr;  // The configuration's.
    ExportedObject<IServPlugin> object;
    IHostIntake* intake = nullptr;  // Null for most.
  };

  bool StartPlugin(Plugin& plugin);
  std::vector<Plugin*> StopOrder() const;

  const Configuration& configuration_;
  IServMain& main_;
  ComponentManager& components_;
  const std::function<void()> step_;
  // Those that started, in their order.
  std::vector<std::unique_ptr<Plugin>> plugins_;
  bool intakes_open_ = false;
};

}  // namespace host
