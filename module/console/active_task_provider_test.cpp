#include "module/console/active_task_provider.h"

#include "module/console/testing/console_in_agent.h"
#include "module/console/testing/utc.h"

namespace orn::RemoteAccess::Console {
namespace {

using ::Console::Tasks::ITasksProvider;
using ::Console::Tasks::Task;

// The host's translation service answers some texts in capitals.
struct ActiveTaskProviderTest : ConsoleInAgent, ::Console::Tasks::IManager, ILanguageManager {
  const Utc utc;
  std::vector<std::wstring> calls;
  uint32_t manager_answer = 0;
  ActiveTaskProvider provider;

  ActiveTaskProviderTest() {
    plugins[L"Console.Tasks.Manager"] = static_cast<::Console::Tasks::IManager*>(this);
    plugins[L"LanguageManager"] = static_cast<ILanguageManager*>(this);
  }
  uint32_t Tell(std::wstring call) {
    calls.push_back(std::move(call));
    return 0;
  }
  uint32_t AddTask(const Task& task, uint32_t) override {
    Tell(std::wstring(L"add ") + task.id.c_str() + L": " + task.name.c_str() + L": " +
         task.description.c_str());
    return 5;
  }
  uint32_t RemoveTask(const wchar_t* id) override { return Tell(std::wstring(L"remove ") + id); }
  uint32_t RegisterProvider(const wchar_t* name, ITasksProvider*) override {
    EXPECT_STREQ(name, L"RemoteAccess.Console.ActiveTaskProvider");
    Tell(L"register");
    return manager_answer;
  }
  uint32_t UnregisterProvider(const wchar_t*) override { return Tell(L"unregister"); }
  uint32_t Translate(const wchar_t* text, const wchar_t* name_space,
                     StringT<wchar_t>* result) override {
    EXPECT_STREQ(name_space, L"console");
    const std::wstring_view key(text);
    if (key == L"Remote Shell Connection") *result = L"SHELL";
    if (key == L"Session Started:") *result = L"BEGAN:  ";
    return result->empty() ? 1168 : 0;
  }
  void AddPunctuation(StringT<wchar_t>& sentence, int32_t code) override {
    sentence += L'<';
    sentence += static_cast<wchar_t>(code);
  }
};

TEST_F(ActiveTaskProviderTest, OpenSessionsAreOnTheListInTheLanguageOfTheHost) {
  using Calls = std::vector<std::wstring>;
  constexpr const wchar_t* kBegan =
      L": SHELL: Administrator started a remote shell connection<. BEGAN: ";
  const auto take = [this] { return std::exchange(calls, {}); };
  NeedsBoth(provider, L"Console.Tasks.Manager");
  {
    feature.refusal = 1627;
    EXPECT_EQ(provider.Start(), 1627);
    EXPECT_EQ(take(), Calls{L"unregister"});
    feature.refusal = 0;
    manager_answer = 183;
    EXPECT_EQ(provider.Start(), 183);
    EXPECT_EQ(take(), (Calls{L"register", L"unregister"}));
    EXPECT_TRUE(feature.state_observers.empty());
    manager_answer = 0;
  }
  feature.sessions = {Session("a", true, 1714727100), Session("b", true, 0)};
  ASSERT_EQ(provider.Start(), 0);
  EXPECT_EQ(take(), (Calls{L"register", std::wstring(L"add a") + kBegan + L"3 May, 09:05",
                           std::wstring(L"add b") + kBegan}));
  provider.OnTerminalSessionStateChanged(Session("c", true, 1727740740));
  provider.OnTerminalSessionStateChanged(Session("c", false, 1727740740));
  EXPECT_EQ(take(), (Calls{std::wstring(L"add c") + kBegan + L"30 Sept, 23:59", L"remove c"}));
  std::vector<Task> tasks(1);
  provider.GetTasks(tasks);
  ASSERT_EQ(tasks.size(), 3u);
  EXPECT_EQ(tasks[2].id, L"b");
  feature.status = 2250;
  provider.GetTasks(tasks);
  EXPECT_EQ(tasks.size(), 3u);
  provider.Stop();
  EXPECT_EQ(take(), Calls{L"unregister"});
  provider.UnInit();
  EXPECT_EQ(held, 0);
  EXPECT_EQ(provider.OnTerminalSessionStateChanged(Session("d", true, 1)), 5002u);
}

}  // namespace
}  // namespace orn::RemoteAccess::Console
