#include "module/console/active_task_provider.h"

#include <cstdlib>
#include <ctime>

#include "module/console/testing/console_in_agent.h"

namespace orn::RemoteAccess::Console {
namespace {

using ::Console::Tasks::ITasksProvider;
using ::Console::Tasks::Task;

// The host's translation service has capitals for some texts.
struct ActiveTaskProviderTest : ConsoleInAgent, ::Console::Tasks::IManager, ILanguageManager {
  using Calls = std::vector<std::wstring>;
  Calls calls;
  uint32_t manager_refusal = 0;
  ActiveTaskProvider provider;

  uint32_t Tell(std::wstring call, uint32_t answer = 0) {
    calls.push_back(std::move(call));
    return answer;
  }
  uint32_t AddTask(const Task& task, uint32_t) override {
    return Tell(
        std::wstring(task.id.view()) + L": " + task.name.c_str() + L": " + task.description.c_str(),
        5);
  }
  uint32_t RemoveTask(const wchar_t* id) override { return Tell(std::wstring(L"remove ") + id); }
  uint32_t RegisterProvider(const wchar_t* name, ITasksProvider*) override {
    return Tell(name, manager_refusal);
  }
  uint32_t UnregisterProvider(const wchar_t*) override { return Tell(L"unregister"); }
  uint32_t Translate(const wchar_t* text, const wchar_t*, StringT<wchar_t>* result) override {
    if (std::wstring_view(text) == L"Remote Shell Connection") *result = L"SHELL";
    if (std::wstring_view(text) == L"Session Started:") *result = L"BEGAN:  ";
    return result->empty() ? 1168 : 0;
  }
  void AddPunctuation(StringT<wchar_t>& sentence, int32_t code) override {
    sentence += std::to_wstring(code);
  }
};

TEST_F(ActiveTaskProviderTest, OpenSessionsAreOnTheListInTheLanguageOfTheHost) {
  const std::wstring name = L"RemoteAccess.Console.ActiveTaskProvider";
  const std::wstring began = L": SHELL: Administrator started a remote shell connection46 BEGAN: ";
  const auto take = [this] { return std::exchange(calls, {}); };
  _putenv("TZ=UTC0");
  _tzset();
  plugins[L"Console.Tasks.Manager"] = static_cast<::Console::Tasks::IManager*>(this);
  plugins[L"LanguageManager"] = static_cast<ILanguageManager*>(this);
  NeedsFeatureAnd(L"Console.Tasks.Manager", provider);
  EXPECT_EQ(take(), Calls{L"unregister"});
  manager_refusal = 183;
  EXPECT_EQ(provider.Start(), 183);
  EXPECT_EQ(take(), (Calls{name, L"unregister"}));
  EXPECT_TRUE(state_observers.empty());
  manager_refusal = 0;
  sessions = {{"a", true, 1714727100}, {"b", true, 0}};
  ASSERT_EQ(provider.Start(), 0);
  EXPECT_EQ(take(), (Calls{name, L"a" + began + L"3 May, 09:05", L"b" + began}));
  provider.OnTerminalSessionStateChanged({"c", true, 1727740740});
  provider.OnTerminalSessionStateChanged({"c", false, 1727740740});
  EXPECT_EQ(take(), (Calls{L"c" + began + L"30 Sept, 23:59", L"remove c"}));
  std::vector<Task> tasks(1);
  provider.GetTasks(tasks);
  status = 2250;
  provider.GetTasks(tasks);
  ASSERT_EQ(tasks.size(), 3u);
  EXPECT_EQ(tasks[2].id, L"b");
  provider.Stop();
  EXPECT_EQ(take(), Calls{L"unregister"});
  provider.UnInit();
  EXPECT_EQ(held, 0);
  EXPECT_EQ(provider.OnTerminalSessionStateChanged({"d", true, 1}), 5002u);
}

}  // namespace
}  // namespace orn::RemoteAccess::Console
