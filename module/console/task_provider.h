#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "module/feature/remote_access.h"
#include "module/frame/id_hash.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/console_integration.h"

namespace orn::RemoteAccess::Console {

// Tells the main window which shell sessions are open, as data for its banner, exported as
// "RemoteAccess.Console.TaskProvider". All of them go out on each change, as
//
//   {"sessions": [{"startTimestamp": 1700000000}, ...]}
//
// in no order, and the window may ask for the same.
//
// Settled rules: what was open stays known after Stop, and a session that is known already keeps
// its time when the open ones are asked for at Start.
class TaskProvider final : public IServPlugin,
                           public IRemoteAccess::IStateEvent,
                           public ConsoleIntegration::IAgent {
 public:
  TaskProvider() = default;
  TaskProvider(const TaskProvider&) = delete;
  TaskProvider& operator=(const TaskProvider&) = delete;
  virtual ~TaskProvider() = default;

  // IServPlugin
  void* GetInterface(const InterfaceId& id) override;
  // 5002 without the feature or the window.
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  // What the feature or the window says to the registration.
  int32_t Start() override;
  void Stop() override;

  // IStateEvent, one call at a time. 0.
  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override;

  // IAgent, on the window's thread. A call without a name is not completed; one of an unknown
  // method is with 4317.
  void GetName(StringT<wchar_t>* name) override;
  void RunMethod(ConsoleIntegration::IMethod* method) override;

 private:
  using IMethod = ConsoleIntegration::IMethod;

  void GetOngoingTerminalSessions(IMethod* method);
  uint32_t RetrieveActiveTerminalSessions();
  std::vector<int64_t> GetStartTimes();

  const logging::LogReference log_;
  ServPlugin<IRemoteAccess> remote_access_{L"RemoteAccess"};
  ServPlugin<ConsoleIntegration::IManager> console_{L"Console.MainWindow"};

  // No call out of the class is made while it is held.
  std::mutex sessions_lock_;
  // Start times by id; guarded by sessions_lock_.
  std::unordered_map<StringT<char>, int64_t, IdHash> active_sessions_;
};

}  // namespace orn::RemoteAccess::Console
