#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "host/common/sync.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/console_tasks.h"

namespace host::console {

// The plug-in "Console.Tasks.Manager": what runs at this machine now.
//
// The truth is what the registered providers answer. They are asked one after the other on a thread
// of the manager: when one comes or goes, after every push, and every `check` while there is
// a task, so that one whose end nobody tells of does not stay. What is pushed shows at once, and
// stays if a provider confirms it.
//
// Any thread, but a provider may not unregister from inside a call of its own.
class TasksManager final : public IOrnBaseInterface, public ::Console::Tasks::IManager {
 public:
  // How often the providers are asked while there is a task.
  static constexpr std::chrono::milliseconds kCheck = std::chrono::seconds(4);

  // `asked` is called when the tasks may be different, and whenever all providers have answered; on
  // any thread and outside all locks.
  explicit TasksManager(std::function<void()> asked, std::chrono::milliseconds check = kCheck);
  TasksManager(const TasksManager&) = delete;
  TasksManager& operator=(const TasksManager&) = delete;
  // Waits for the provider that is being asked.
  virtual ~TasksManager();

  void* GetInterface(const InterfaceId& id) override;

  // 0; 87 for a task without an id.
  uint32_t AddTask(const ::Console::Tasks::Task& task, uint32_t options) override;
  // 0; 87 for null; 1168 where there is no such task.
  uint32_t RemoveTask(const wchar_t* id) override;
  // 0; 87 where one of the two is missing; 183 where the name is taken.
  uint32_t RegisterProvider(const wchar_t* name,
                            ::Console::Tasks::ITasksProvider* provider) override;
  // Also drops the provider's tasks. When this has returned no call of it runs or comes. 0; 87 for
  // null; 1168 where there is no such provider.
  uint32_t UnregisterProvider(const wchar_t* name) override;

  // In the order in which they came.
  std::vector<::Console::Tasks::Task> GetTasks();
  // Has the providers asked, soon.
  void Refresh();

 private:
  struct Entry {
    ::Console::Tasks::Task task;
    std::wstring provider;  // Empty until one has confirmed it.
  };
  using Entries = std::vector<Entry>;

  Entries::iterator FindLocked(const orn::StringT<wchar_t>& id);
  void ChangedLocked();
  void Run();
  // Those that are known already stay where they are.
  void KeepOrderLocked(Entries& answers) const;
  // Leaves the lock during calls. False where something changed meanwhile, so that the answers may
  // be old.
  bool AskLocked(Lock& lock, Entries& answers);

  const std::function<void()> asked_;
  const std::chrono::milliseconds check_;

  Mutex mutex_;
  Condition changed_;
  // Guarded by mutex_.
  std::map<std::wstring, ::Console::Tasks::ITasksProvider*> providers_;  // Not owned.
  std::wstring running_;  // The provider that is being asked.
  Entries entries_;
  uint64_t changes_ = 0;
  bool refresh_ = false;
  bool stopping_ = false;

  std::thread thread_;  // Last: it uses the others.
};

}  // namespace host::console
