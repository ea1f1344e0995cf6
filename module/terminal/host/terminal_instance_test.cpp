#include "module/terminal/host/terminal_instance.h"

#include <gmock/gmock.h>

#include "module/frame/environment.h"
#include "module/frame/scope_guard.h"

namespace {

using orn::StringT;
using orn::UniqueHandle;
using orn::RemoteTerminalInstance::TerminalInstance;
using orn::RemoteTerminalInstance::TerminalInstanceEvents;

UniqueHandle MakeEvent() {
  return UniqueHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

// winpty without a console. It notes what is taken and given back; the function `failing` fails.
struct PretendedWinpty {
  static inline std::string failing;
  static inline std::string calls;
  static inline std::wstring path;  // the PATH that the shell is given
  static inline UniqueHandle shell;

  template <class T>
  static T* Take(const char* name) {
    Note(name);
    return failing == name ? nullptr : reinterpret_cast<T*>(&calls);
  }
  static void Note(const std::string& name) { calls += name + " "; }

  static winpty_spawn_config_t* NewSpawnConfig(uint64_t, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR block,
                                               winpty_error_ptr_t*) {
    path.clear();
    for (; block != nullptr && *block != 0; block += wcslen(block) + 1) {
      if (_wcsnicmp(block, L"PATH=", 5) == 0) path = block;
    }
    return Take<winpty_spawn_config_t>("spawn_config_new");
  }
  static BOOL Spawn(winpty_t*, const winpty_spawn_config_t*, HANDLE* process, HANDLE*, DWORD*,
                    winpty_error_ptr_t*) {
    if (Take<void>("spawn") == nullptr) return FALSE;
    return DuplicateHandle(GetCurrentProcess(), shell.get(), GetCurrentProcess(), process, 0, FALSE,
                           DUPLICATE_SAME_ACCESS);
  }

  static constexpr WinptyTable kTable = {
      .module = nullptr,
      .config_new = [](auto...) { return Take<winpty_config_t>("config_new"); },
      .config_set_initial_size = [](auto...) {},
      .config_set_agent_timeout = [](auto...) {},
      .open = [](auto...) { return Take<winpty_t>("open"); },
      .config_free = [](auto...) { Note("config_free"); },
      .conin_name = [](auto...) -> LPCWSTR { return failing == "conin" ? nullptr : L"conin"; },
      .conout_name = [](auto...) -> LPCWSTR { return failing == "conout" ? nullptr : L"conout"; },
      .conerr_name = nullptr,
      .spawn_config_new = NewSpawnConfig,
      .spawn = Spawn,
      .set_size = [](auto...) -> BOOL { return failing != "set_size"; },
      .spawn_config_free = [](auto...) { Note("spawn_config_free"); },
      .free = [](auto...) { Note("free"); },
  };
};

struct Events : TerminalInstanceEvents {
  void OnProcessTerminate(const StringT<char>& id) override {
    ids.emplace_back(id.c_str());
    SetEvent(told.get());
  }
  std::vector<std::string> ids;
  UniqueHandle told = MakeEvent();
};

class TerminalInstanceTest : public testing::Test {
 protected:
  TerminalInstanceTest() {
    PretendedWinpty::failing.clear();
    PretendedWinpty::calls.clear();
    PretendedWinpty::shell = MakeEvent();
  }

  uint32_t Start() { return instance_.Start("id", 80, 24, conin_, conout_); }

  StringT<wchar_t> conin_, conout_;
  TerminalInstance instance_{PretendedWinpty::kTable};
};

TEST(TerminalInstance, FailedStartTakesNothingBackUntilItIsStopped) {
  const std::pair<const char*, const char*> cases[] = {
      {"config_new", "config_new free "},
      {"open", "config_new open free "},
      {"conin", "config_new open config_free free "},
      {"conout", "config_new open config_free free "},
      {"spawn_config_new", "config_new open config_free spawn_config_new free "},
      {"spawn", "config_new open config_free spawn_config_new spawn free "},
  };
  for (const auto& [failing, calls] : cases) {
    PretendedWinpty::failing = failing;
    PretendedWinpty::calls.clear();
    TerminalInstance instance(PretendedWinpty::kTable);
    StringT<wchar_t> conin, conout;
    EXPECT_EQ(instance.Start("id", 80, 24, conin, conout), 1627u) << failing;
    instance.Stop();
    EXPECT_EQ(PretendedWinpty::calls, calls);
  }
}

TEST_F(TerminalInstanceTest, TellsOfADeathOnceAndOfAStopNever) {
  Events events;
  ASSERT_EQ(Start(), 0u);
  EXPECT_STREQ(conin_.c_str(), L"conin");
  EXPECT_STREQ(conout_.c_str(), L"conout");
  instance_.SetEvents(&events);
  EXPECT_EQ(instance_.SetSize(100, 30), 0u);
  PretendedWinpty::failing = "set_size";
  EXPECT_EQ(instance_.SetSize(100, 30), 1627u);
  {
    TerminalInstance stopped(PretendedWinpty::kTable);
    ASSERT_EQ(stopped.Start("stopped", 80, 24, conin_, conout_), 0u);
    stopped.SetEvents(&events);
    stopped.Stop();
  }
  {
    TerminalInstance early(PretendedWinpty::kTable);
    SetEvent(PretendedWinpty::shell.get());
    ASSERT_EQ(early.Start("dies before anybody listens", 80, 24, conin_, conout_), 0u);
    early.Stop();
  }
  WaitForSingleObject(events.told.get(), INFINITE);
  instance_.Stop();
  EXPECT_THAT(events.ids, testing::ElementsAre("id"));
}

TEST_F(TerminalInstanceTest, ShellGetsTheMachinesPathOrElseTheEnvironmentAsItIs) {
  const orn::ScopeGuard unset([] { SetEnvironmentVariableW(orn::kOldPathVariable, nullptr); });
  wchar_t* block = nullptr;
  for (const wchar_t* useless : {static_cast<const wchar_t*>(nullptr), L""}) {
    SetEnvironmentVariableW(orn::kOldPathVariable, useless);
    EXPECT_EQ(TerminalInstance::FixEnvironmentVars(&block), 203u);
    EXPECT_EQ(block, nullptr);
    ASSERT_EQ(Start(), 0u);
    instance_.Stop();
    EXPECT_EQ(PretendedWinpty::path, L"") << "it inherits";
  }
  SetEnvironmentVariableW(orn::kOldPathVariable, L"c:\\old");
  ASSERT_EQ(Start(), 0u);
  instance_.Stop();
  EXPECT_EQ(PretendedWinpty::path, L"Path=c:\\old");
}

}  // namespace
