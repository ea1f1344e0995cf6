#pragma once

#include <functional>

#include "host/console/providers.h"
#include "host/console/state.h"
#include "host/service/component_manager.h"
#include "host/service/configuration.h"
#include "host/service/configuration_object.h"
#include "host/service/log_session.h"
#include "host/service/plugin_sequence.h"
#include "module/frame/plugin_interfaces.h"

namespace host::console {

// The life of the console that a configuration describes: its plug-ins, what there is to be seen,
// and the one who shows it. Unlike a host it declares no name: each user of the machine has one of
// his own. All operations belong to one thread.
//
// It is never destroyed, see HostProcess.
class ConsoleProcess final : public IServMain {
 public:
  // `configuration` is not owned. `language` is for this run, empty for the user's choice.
  ConsoleProcess(const Configuration& configuration, std::wstring language);
  ConsoleProcess(const ConsoleProcess&) = delete;
  ConsoleProcess& operator=(const ConsoleProcess&) = delete;
  virtual ~ConsoleProcess() = default;

  IComponentManager* GetComponentManager() override { return &components_; }

  // Where `log` is true the log of the configuration is written. False, with a report, where the
  // console cannot be started: then it can only End.
  bool Start(bool log);
  // Ends the process with the exit code that `show` gives, which gets what there is to be seen.
  [[noreturn]] void Run(const std::function<int(IConsoleState&)>& show);
  [[noreturn]] void End(int exit_code);

 private:
  const Configuration& configuration_;
  ConfigurationObject configuration_object_;
  ComponentManager components_;
  LogSession log_;
  PluginSequence plugins_{configuration_, *this, components_, [] {}};
  Providers providers_{*this};
  ConsoleState state_;
};

}  // namespace host::console
