#pragma once

#include <cstdint>
#include <vector>

#include "module/frame/interface_id.h"
#include "module/frame/string.h"

// The list of running tasks that the console of the machine shows, plug-in "Console.Tasks.Manager".
// The order of the operations is binary contract. Operations with a result return 0 for success.
namespace Console::Tasks {

// The order of the fields is binary contract.
struct Task {
  orn::StringT<wchar_t> id;
  orn::StringT<wchar_t> name;
  orn::StringT<wchar_t> description;
};

struct ITasksProvider {
  // Appends the tasks that run now. Called on the manager's thread.
  virtual void GetTasks(std::vector<Task>& tasks) = 0;

 protected:
  ~ITasksProvider() = default;
};

// Any thread.
struct IManager {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{683334E8-D8B2-41C9-803D-9C31794B65E3}");
  static constexpr const wchar_t* kTypeName = L"Console::Tasks::IManager";

  // A task that is there already is replaced. `options` is 0.
  virtual uint32_t AddTask(const Task& task, uint32_t options) = 0;
  virtual uint32_t RemoveTask(const wchar_t* id) = 0;
  // `provider` is borrowed until UnregisterProvider has returned.
  virtual uint32_t RegisterProvider(const wchar_t* name, ITasksProvider* provider) = 0;
  virtual uint32_t UnregisterProvider(const wchar_t* name) = 0;

 protected:
  ~IManager() = default;
};

}  // namespace Console::Tasks
