#pragma once

#include <cstdint>
#include <vector>

#include "module/console/language_manager.h"
#include "module/feature/remote_access.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/console_tasks.h"

namespace orn::RemoteAccess::Console {

// Puts each open shell session on the console's list of tasks, so that the person at the machine
// sees that an administrator is connected, and since when; exported as
// "RemoteAccess.Console.ActiveTaskProvider". It keeps no list of its own.
//
// Settled rules: without a translation service the process ends with the first task; Stop leaves
// the tasks on the list.
class ActiveTaskProvider final : public IServPlugin,
                                 public IRemoteAccess::IStateEvent,
                                 public ::Console::Tasks::ITasksProvider {
 public:
  ActiveTaskProvider() = default;
  ActiveTaskProvider(const ActiveTaskProvider&) = delete;
  ActiveTaskProvider& operator=(const ActiveTaskProvider&) = delete;
  virtual ~ActiveTaskProvider() = default;

  // IServPlugin
  void* GetInterface(const InterfaceId& id) override;
  // Makes the host known to the shared LanguageManager until UnInit. 5002 without the feature or
  // the tasks manager.
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  // What the feature or the manager says to the registration.
  int32_t Start() override;
  void Stop() override;

  // IStateEvent, one call at a time. 5002 without the manager, whose answers do not count.
  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override;

  // ITasksProvider, on the manager's thread: a live call. Leaves the list as it is where that
  // fails.
  void GetTasks(std::vector<::Console::Tasks::Task>& tasks) override;

 private:
  using Task = ::Console::Tasks::Task;

  static Task BuildTask(const TerminalSessionState& state);
  uint32_t RetrieveActiveTerminalSessions();

  const logging::LogReference log_;
  const LanguageManager::Handle language_;  // Or the host would be forgotten.
  ServPlugin<IRemoteAccess> remote_access_{L"RemoteAccess"};
  ServPlugin<::Console::Tasks::IManager> tasks_{L"Console.Tasks.Manager"};
};

}  // namespace orn::RemoteAccess::Console
