#include "host/console/state.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "host/console/command_line.h"
#include "host/console/single_instance.h"
#include "host/console/watch.h"
#include "host/history/history_store.h"
#include "host/language/language_manager.h"
#include "host/plugins/common/fake_host.h"
#include "host/testing/fake_client.h"
#include "module/frame/error_codes.h"
#include "module/frame/testing/semaphore.h"
#include "module/frame/testing/test_folder.h"

namespace host::console {
namespace {

using ::Console::Tasks::Task;
using host::testing::FakeClient;

// What is called of it, in letters; each call waits until it is let.
struct GatedWork final : Connection::IWork {
  bool Begin() override { return Step('B'); }
  void End() override { Step('E'); }
  void Check() override { Step('C'); }
  bool Step(char letter) {
    calls += letter;
    entered.Release();
    gate.Acquire();
    return begins;
  }
  std::string calls;  // Read while a call is at the gate.
  std::atomic<bool> begins{true};
  Semaphore entered, gate;
};

TEST(Connection, EachServiceIsBegunAndEndedOnceHoweverItComesAndGoes) {
  using std::chrono::milliseconds;
  constexpr milliseconds kNever = std::chrono::hours(1);
  {
    // One that is there already; lost while it is being begun; two more, in quick succession.
    FakeClient client;
    GatedWork work;
    client.Come(1);
    Connection connection(client, work, kNever, kNever);
    connection.Start();
    work.entered.Acquire();
    client.Come(1);  // Told late.
    client.Go();
    EXPECT_FALSE(connection.IsThere());
    client.Come(2);
    client.Go();
    client.Come(3);
    EXPECT_TRUE(connection.IsThere());
    work.gate.Release(3);
    work.entered.Acquire();
    work.entered.Acquire();
    client.Go();
    work.gate.Release(3);
    work.entered.Acquire();
    connection.Stop();
    EXPECT_EQ(work.calls, "BEBE");
  }
  {
    // A start that fails is tried again while the service is there, and has no end.
    FakeClient client;
    GatedWork work;
    work.begins = false;
    Connection connection(client, work, milliseconds(1), milliseconds(1));
    connection.Start();
    client.Come(1);
    work.entered.Acquire();
    work.gate.Release();
    work.entered.Acquire();
    work.begins = true;
    work.gate.Release();
    work.entered.Acquire();
    EXPECT_EQ(work.calls, "BBC");
    work.gate.Release(10);
    connection.CheckSoon();
    work.entered.Acquire();
    connection.Stop();
    EXPECT_EQ(work.calls, "BBCCE");
    client.Come(2);
  }
}

// The module's providers: sessions that a test opens, told in the language of the moment.
struct FakeProviders final : IProviders,
                             ::Console::Tasks::ITasksProvider,
                             ConsoleIntegration::IAgent {
  FakeProviders(ConsoleState& state, ILanguages& languages)
      : state_(state), languages_(languages) {}
  bool Prepare() override { return true; }
  bool Start() override {
    state_.tasks().RegisterProvider(L"p", this);
    state_.main_window().Register(this);
    return true;
  }
  void End() override {
    state_.main_window().Unregister(this);
    state_.tasks().UnregisterProvider(L"p");
  }
  void RenewBanner() override { banner = sessions.load(); }
  void GetTasks(std::vector<Task>& tasks) override {
    for (int i = 0; i < sessions; ++i) {
      Task task;
      task.id = std::to_wstring(i).c_str();
      task.name = languages_.GetLanguage().c_str();
      tasks.push_back(task);
    }
  }
  void GetName(orn::StringT<wchar_t>* name) override { *name = L"RemoteAccess"; }
  void RunMethod(ConsoleIntegration::IMethod* method) override {
    Json::Value& list = (*method->GetResult())["sessions"] = Json::arrayValue;
    for (int i = 0; i < banner; ++i)
      list.append(Json::objectValue)["startTimestamp"] = Json::Int64(i);
    if (banner > 0) list.append("not a session");
    method->Complete(0);
  }

  ConsoleState& state_;
  ILanguages& languages_;
  std::atomic<int> sessions{0};
  std::atomic<int> banner{0};
};

// What the console shows, waited for.
struct Shown final : IConsoleState::IListener {
  explicit Shown(ConsoleState& state) : state_(state) { state_.SetListener(this); }
  ~Shown() { state_.SetListener(nullptr); }
  void OnChanged() override { changed_.Release(); }
  // Ends when it is so.
  void Until(const std::function<bool()>& condition) {
    while (!condition())
      changed_.Acquire();
  }
  ConsoleState& state_;
  Semaphore changed_;
};

TEST(ConsoleState, ShowsSessionsWhileTheServiceIsThereAndHistoryAlways) {
  TestFolder folder;
  FakeHost host;
  FakeClient client;
  folder.Folder(L"languages");
  folder.Write(L"languages\\de.json", R"({"name": "Deutsch", "console": {"Quit": "Beenden"}})");
  LanguageManager languages(folder / L"languages");
  host.Add(L"RemoteAccess", &client);
  host.Add(L"LanguageManager", &languages);
  ConsoleState state({.history = folder / L"later\\history.db", .language = L"en"});
  FakeProviders providers(state, languages);
  ASSERT_EQ(state.Start(host, providers, {}), 0u);
  Shown shown(state);
  {
    // The banner's list lacks a session that the tasks have: it is begun anew.
    providers.sessions = 2;
    providers.banner = 1;
    client.Come(1);
    shown.Until([&] { return state.GetSessionStarts().size() == 2; });
    EXPECT_EQ(state.GetSessions()[1].id, L"1");
  }
  {
    // The language is that of all texts, at once.
    EXPECT_EQ(state.Translate(L"Quit"), L"Quit");
    state.SetLanguage(L"de");
    RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Software\\Tessaro\\Console", L"language");
    EXPECT_EQ(state.Translate(L"Quit"), L"Beenden");
    shown.Until([&] { return state.GetSessions()[0].name == L"de"; });
  }
  {
    // With the service all sessions go, and come back as the next one has them.
    client.Go();
    EXPECT_TRUE(state.GetSessions().empty());
    EXPECT_TRUE(state.GetSessionStarts().empty());
    providers.sessions = providers.banner = 1;
    client.Come(2);
    shown.Until([&] { return state.GetSessions().size() == 1; });
  }
  {
    // A history that is begun while somebody looks, then grows, then is another one.
    folder.Folder(L"later");
    history::HistoryStore store(folder / L"later\\history.db");
    ASSERT_EQ(store.Open(), 0u);
    IHistory::Event::Data data;
    data.values.Add(1, L"b");
    data.values.Add(0, L"a");
    ASSERT_EQ(store.Add(data, L"Unknown"), 0u);
    shown.Until([&] { return state.GetHistorySize() == 1; });
    EXPECT_EQ(state.ReadHistory(0, 5)[0].details, L"0: a, 1: b");
    for (int i = 0; i < 100; ++i)
      ASSERT_EQ(store.Add(data, L"More"), 0u);
    shown.Until([&] { return state.GetHistorySize() == 101; });
    const auto lines = state.ReadHistory(50, 200);
    ASSERT_EQ(lines.size(), 51u);
    EXPECT_EQ(lines.front().sequence, 51);
    EXPECT_EQ(lines.back().title, L"Unknown");
    EXPECT_EQ(state.ReadHistory(0, 1)[0].sequence, 101);
    store.Close();
    ASSERT_TRUE(DeleteFileW((folder / L"later\\history.db").c_str()));
    shown.Until([&] { return state.GetHistorySize() == 0; });
  }
  const std::string line = DescribeState(state);
  EXPECT_NE(
      line.find("\"banner\":{\"sessions\":[{\"startTimestamp\":0}]},\"history\":{\"newest\":null,"
                "\"size\":0},\"language\":\"de\",\"service\":true"),
      std::string::npos)
      << line;
  state.Stop();
  EXPECT_TRUE(state.GetSessions().empty());
  EXPECT_EQ(host.references(), 0);
}

TEST(SingleInstance, SecondOneReachesTheFirstUntilThatEnds) {
  SingleInstance first, second;
  ASSERT_EQ(first.Open(L"C:\\A\\console.xml"), 0u);
  ASSERT_EQ(second.Open(L"c:\\a\\CONSOLE.XML"), 0u);
  uint32_t status = 0;
  EXPECT_FALSE(second.Quit(status));
  Semaphore claimed;
  // The owner of a claim is a thread, which ends without giving it back.
  std::thread window([&] {
    EXPECT_TRUE(first.Claim());
    claimed.Release();
    EXPECT_EQ(WaitForSingleObject(first.show(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(first.quit(), INFINITE), WAIT_OBJECT_0);
  });
  claimed.Acquire();
  EXPECT_FALSE(second.Claim());
  second.Show();
  EXPECT_TRUE(second.Quit(status));
  EXPECT_EQ(status, 0u);
  window.join();
}

TEST(ConsoleCommandLine, RefusesWhatDoesNotBelongTogether) {
  const auto parse = [](std::vector<const wchar_t*> arguments) {
    arguments.insert(arguments.begin(), L"TsrConsole.exe");
    return ParseCommandLine(static_cast<int>(arguments.size()), arguments.data());
  };
  EXPECT_EQ(parse({L"/verify-history", L"C:\\a\\..\\b.db"})->history, L"C:\\b.db");
  EXPECT_EQ(parse({L"/verify-history", L"/config", L"C:\\c.xml"})->configuration, L"C:\\c.xml");
  EXPECT_FALSE(parse({L"/watch", L"/tray"}));
  EXPECT_FALSE(parse({L"/quit", L"/language", L"de"}));
  EXPECT_FALSE(parse({L"/language", L""}));
}

}  // namespace
}  // namespace host::console
