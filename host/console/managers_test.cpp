#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "host/console/main_window_manager.h"
#include "host/console/tasks_manager.h"
#include "module/frame/error_codes.h"
#include "module/frame/testing/semaphore.h"

namespace host::console {
namespace {

using ::Console::Tasks::Task;

Task MakeTask(const wchar_t* id, const wchar_t* name = L"name") {
  Task task;
  task.id = id;
  task.name = name;
  return task;
}

// Answers when it is let.
struct GatedProvider final : ::Console::Tasks::ITasksProvider {
  void GetTasks(std::vector<Task>& tasks) override {
    const std::vector<Task> answer = truth;
    asked.Release();
    gate.Acquire();
    tasks.insert(tasks.end(), answer.begin(), answer.end());
    ++calls;
  }
  std::vector<Task> truth;  // Changed while no call runs, or one is at the gate.
  std::atomic<int> calls{0};
  Semaphore asked;
  Semaphore gate;
};

TEST(TasksManager, ShowsWhatTheProvidersAnswer) {
  Semaphore told;
  TasksManager manager([&] { told.Release(); });
  GatedProvider provider;
  provider.truth = {MakeTask(L"a", L"one"), MakeTask(L"b")};
  ASSERT_EQ(manager.RegisterProvider(L"p", &provider), 0u);
  provider.gate.Release();
  told.Acquire();
  {
    // A push replaces by id, shows at once and has the providers asked.
    provider.asked.Acquire();
    ASSERT_EQ(manager.AddTask(MakeTask(L"a", L"two"), 0), 0u);
    ASSERT_EQ(manager.GetTasks().size(), 2u);
    EXPECT_STREQ(manager.GetTasks()[0].name.c_str(), L"two");
    told.Acquire();
    provider.asked.Acquire();
  }
  {
    // What is pushed while an answer is on its way is not lost by that answer.
    manager.AddTask(MakeTask(L"c"), 0);
    told.Acquire();
    provider.truth.push_back(MakeTask(L"c"));
    provider.gate.Release();
    provider.asked.Acquire();
    EXPECT_EQ(manager.GetTasks().size(), 3u);
    // And what ends meanwhile does not come back by it.
    EXPECT_EQ(manager.RemoveTask(L"b"), 0u);
    told.Acquire();
    provider.truth = {MakeTask(L"a"), MakeTask(L"c")};
    provider.gate.Release();
    provider.asked.Acquire();
    EXPECT_EQ(manager.GetTasks().size(), 2u);
  }
  {
    // What no provider confirms goes.
    manager.AddTask(MakeTask(L"ghost"), 0);
    told.Acquire();
    provider.gate.Release(2);
    told.Acquire();
    EXPECT_EQ(manager.GetTasks().size(), 2u);
  }
  provider.gate.Release(100);
  EXPECT_EQ(manager.UnregisterProvider(L"p"), 0u);
}

TEST(TasksManager, UnregisteredProviderIsNotCalledAnyMoreAndItsTasksAreGone) {
  TasksManager manager([] {});
  auto provider = std::make_unique<GatedProvider>();
  provider->truth = {MakeTask(L"a")};
  manager.RegisterProvider(L"p", provider.get());
  manager.AddTask(MakeTask(L"early"), 0);
  provider->asked.Acquire();
  std::thread unregistering([&] {
    EXPECT_EQ(manager.UnregisterProvider(L"p"), 0u);
    EXPECT_TRUE(manager.GetTasks().empty());
    provider.reset();
  });
  provider->gate.Release(100);
  unregistering.join();
  manager.Refresh();
}

TEST(TasksManager, TaskWhoseEndNobodyTellsOfGoesByItself) {
  Semaphore told;
  TasksManager manager([&] { told.Release(); }, std::chrono::milliseconds(10));
  GatedProvider provider;
  provider.truth = {MakeTask(L"a")};
  manager.RegisterProvider(L"p", &provider);
  provider.gate.Release();
  told.Acquire();
  provider.asked.Acquire();
  // At the gate once more, by the clock.
  provider.asked.Acquire();
  EXPECT_EQ(manager.GetTasks().size(), 1u);
  provider.truth.clear();
  provider.gate.Release(2);
  told.Acquire();
  told.Acquire();
  EXPECT_TRUE(manager.GetTasks().empty());
  // Nobody is asked any more then.
  EXPECT_EQ(provider.calls, 3);
  manager.UnregisterProvider(L"p");
}

// An agent whose method waits until it is let, and completes twice.
struct TestAgent final : ConsoleIntegration::IAgent {
  void GetName(orn::StringT<wchar_t>* sink) override { *sink = L"RemoteAccess"; }
  void RunMethod(ConsoleIntegration::IMethod* method) override {
    method_name = method->GetName();
    (*method->GetResult())["sessions"].append(1);
    called.Release();
    gate.Acquire();
    method->Complete(0);
    method->Complete(0);
    done.Release();
  }
  std::wstring method_name;
  Semaphore called, gate, done;
};

TEST(MainWindowManager, KeepsTheListThatWasToldLast) {
  const auto start = [](const Json::Value& list) {
    return list.isObject() ? list["sessions"][0].asInt() : 0;
  };
  std::atomic<int> changes{0};
  MainWindowManager manager([&] { ++changes; });
  TestAgent agent;
  ASSERT_EQ(manager.Register(&agent), 0u);
  {
    // A new agent is asked; it counts once, however often it completes the call.
    agent.called.Acquire();
    EXPECT_EQ(agent.method_name, L"GetOngoingTerminalSessions");
    agent.gate.Release();
    agent.done.Acquire();
    EXPECT_EQ(start(manager.GetList(L"RemoteAccess")), 1);
    EXPECT_EQ(changes, 1);
  }
  Json::Value pushed;
  pushed["sessions"].append(7);
  {
    // An answer that was on its way when an event came is older than it.
    manager.Ask();
    agent.called.Acquire();
    EXPECT_EQ(manager.SendEvent(L"RemoteAccess", L"SetActiveTerminalSessions", pushed), 0u);
    agent.gate.Release();
    agent.done.Acquire();
    EXPECT_EQ(start(manager.GetList(L"RemoteAccess")), 7);
  }
  {
    // Unregister waits for the call that runs; what comes later is nobody's.
    manager.Ask();
    agent.called.Acquire();
    std::thread unregistering([&] { EXPECT_EQ(manager.Unregister(&agent), 0u); });
    agent.gate.Release();
    unregistering.join();
    agent.done.Acquire();
    EXPECT_TRUE(manager.GetList(L"RemoteAccess").isNull());
    EXPECT_EQ(manager.SendEvent(L"RemoteAccess", L"SetActiveTerminalSessions", pushed),
              error::kNotFound);
  }
}

}  // namespace
}  // namespace host::console
