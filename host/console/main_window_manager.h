#pragma once

#include <json/value.h>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>

#include "host/common/sync.h"
#include "host/plugins/common/task_thread.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/console_integration.h"

namespace host::console {

// The plug-in "Console.MainWindow": which remote shell sessions run, as the features' agents tell
// it for the banner. Each agent is asked by its method "GetOngoingTerminalSessions" when it
// registers and whenever Ask is called, on a thread of the manager; its event
// "SetActiveTerminalSessions" brings the list anew.
//
// Any thread, but an agent may not unregister from inside a call. An agent that completes a method
// later does so before it unregisters.
class MainWindowManager final : public IOrnBaseInterface, public ConsoleIntegration::IManager {
 public:
  // `changed` is called when there is another list, on any thread and outside all locks.
  explicit MainWindowManager(std::function<void()> changed);
  MainWindowManager(const MainWindowManager&) = delete;
  MainWindowManager& operator=(const MainWindowManager&) = delete;
  // Waits for the call that runs.
  virtual ~MainWindowManager();

  void* GetInterface(const InterfaceId& id) override;

  // 0; 87 for null or an agent without a name; 183 where its feature has one.
  uint32_t Register(ConsoleIntegration::IAgent* agent) override;
  // Also drops what the agent told. When this has returned no call of it runs or comes. 0; 1168 for
  // a stranger.
  uint32_t Unregister(ConsoleIntegration::IAgent* agent) override;
  // 0; 87 where a name is missing; 632 for an unknown event; 1168 where no agent of the feature is
  // registered.
  uint32_t SendEvent(const wchar_t* feature, const wchar_t* method,
                     const Json::Value& value) override;

  // Has all agents asked, soon.
  void Ask();
  // The last list of the feature, `{"sessions":[{"startTimestamp":n}, ...]}` if it is well-behaved;
  // null for none.
  Json::Value GetList(const std::wstring& feature);

 private:
  class Method;
  struct Registration {
    ConsoleIntegration::IAgent* agent = nullptr;  // Not owned.
    Json::Value list;
    uint64_t events = 0;  // Events that came. A result that is older than the last one is dropped.
    std::list<std::unique_ptr<Method>> methods;  // That were called and not completed.
  };

  void Call(const std::wstring& feature);
  void OnCompleted(Method& method, int32_t status);

  const std::function<void()> changed_;

  Mutex mutex_;
  Condition returned_;
  // Guarded by mutex_.
  std::map<std::wstring, Registration> registrations_;  // By feature.
  ConsoleIntegration::IAgent* running_ = nullptr;       // The agent that is being called.

  TaskThread thread_;  // Last: it uses the others.
};

}  // namespace host::console
