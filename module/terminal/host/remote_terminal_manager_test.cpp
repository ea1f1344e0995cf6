#include "module/terminal/host/remote_terminal_manager.h"

#include <gmock/gmock.h>

#include "module/frame/environment.h"
#include "module/frame/scope_guard.h"
#include "module/frame/testing/semaphore.h"
#include "module/frame/testing/test_folder.h"
#include "module/frame/utf.h"
#include "module/jobs/testing/child_roles.h"

namespace {

using orn::StringT;
using orn::UniqueHandle;
using orn::RemoteTerminal::IRemoteTerminalManager;
using orn::RemoteTerminal::RemoteTerminalManager;

// The two pipes of a terminal, as whoever opened it uses them.
class Terminal {
 public:
  uint32_t Open(RemoteTerminalManager& manager, const char* id) {
    StringT<wchar_t> conin;
    StringT<wchar_t> conout;
    const uint32_t code = manager.OpenTerminal(id, {80, 24}, conin, conout);
    conin_.reset(CreateFileW(conin.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    conout_.reset(CreateFileW(conout.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    return code;
  }

  // False where the output ends before.
  bool ReadUntil(const std::string& text) {
    while (output_.find(text) == std::string::npos) {
      char buffer[4096];
      DWORD count = 0;
      if (!ReadFile(conout_.get(), buffer, sizeof(buffer), &count, nullptr)) return false;
      output_.append(buffer, count);
    }
    output_.clear();
    return true;
  }
  bool ReadToEnd() { return !ReadUntil("what is never written"); }

  bool Answers(const std::string& line, const std::string& answer) {
    DWORD count = 0;
    const std::string typed = line + "\r";
    WriteFile(conin_.get(), typed.data(), static_cast<DWORD>(typed.size()), &count, nullptr);
    return ReadUntil(answer);
  }
  // The caret keeps the echo of what is typed from being taken for the output.
  bool Echoes(const std::string& word) { return Answers("echo ^" + word, word); }
  bool Exits() { return !Answers("exit", "what is never written"); }

 private:
  orn::UniqueFile conin_, conout_;
  std::string output_;
};

struct Subscriber : IRemoteTerminalManager::IRemoteTerminalManagerNotifications {
  void OnTerminalClosed(const StringT<char>& id) override {
    ids.emplace_back(id.c_str());
    told.Release();
  }
  std::vector<std::string> ids;
  Semaphore told;
};

// Prints its console's size, in one piece: winpty puts its own sequences between two.
CHILD_ROLE(PrintsTheSize) {
  setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info);
  printf("size=%dx%d.", info.srWindow.Right - info.srWindow.Left + 1,
         info.srWindow.Bottom - info.srWindow.Top + 1);
  return 0;
}

TEST(RemoteTerminalManager, TerminalsAreIndependentAndOnlyAShellsOwnEndIsTold) {
  // Never destroyed: once a shell has exited by itself that would end the process.
  auto& manager = *new RemoteTerminalManager;
  ASSERT_EQ(manager.Start(), 0);
  SetEnvironmentVariableW(orn::kOldPathVariable, L"c:\\old");
  const orn::ScopeGuard unset([] { SetEnvironmentVariableW(orn::kOldPathVariable, nullptr); });
  Subscriber subscriber;
  EXPECT_EQ(manager.Register(&subscriber), 0u);
  EXPECT_EQ(manager.Register(&subscriber), 1627u);
  Terminal first, second;
  ASSERT_EQ(first.Open(manager, "first"), 0u);
  ASSERT_EQ(second.Open(manager, "second"), 0u);
  EXPECT_EQ(Terminal().Open(manager, "first"), 183u);
  EXPECT_EQ(manager.SetSize("unknown", {100, 30}), 1168u);
  EXPECT_EQ(manager.SetSize("first", {100, 30}), 0u);
  EXPECT_TRUE(first.Answers("terminal_host_test --child=PrintsTheSize", "size=100x30."));
  EXPECT_TRUE(first.Answers("echo [%PATH%]", "[c:\\old]")) << "the machine's";

  manager.CloseTerminal("unknown");
  manager.CloseTerminal("first");
  EXPECT_TRUE(first.ReadToEnd());
  EXPECT_EQ(manager.SetSize("first", {80, 24}), 1168u);
  for (const char* id : {"one", "one"}) {
    Terminal terminal;
    ASSERT_EQ(terminal.Open(manager, id), 0u);
    EXPECT_TRUE(terminal.Exits());
    subscriber.told.Acquire();
  }
  EXPECT_TRUE(second.Echoes("alive"));
  manager.Stop();  // Behind the last cleanup.
  EXPECT_TRUE(second.ReadToEnd());
  EXPECT_THAT(subscriber.ids, testing::ElementsAre("one", "one"));
}

// With the real library but without its agent.
CHILD_ROLE(OpensWithoutAnAgent) {
  RemoteTerminalManager manager;
  if (const int32_t code = manager.Start(); code != 0) return code;
  if (Terminal().Open(manager, "id") != 1627) return 1;
  if (Terminal().Open(manager, "id") != 183) return 2;
  manager.CloseTerminal("id");
  if (Terminal().Open(manager, "id") != 1627) return 3;
  manager.Stop();
  return 0;
}

TEST(RemoteTerminalManager, FailedStartStaysUntilItIsClosed) {
  const TestFolder folder;
  const std::wstring program = folder / L"test.exe", library = folder / L"winpty.dll";
  CopyFileW(TestProgram().c_str(), program.c_str(), /*failIfExists=*/TRUE);
  EXPECT_EQ(RoleProcess("OpensWithoutAnAgent", nullptr, program).Await(), 5002u);
  CopyFileW(L"winpty.dll", library.c_str(), /*failIfExists=*/TRUE);
  EXPECT_EQ(RoleProcess("OpensWithoutAnAgent", nullptr, program).Await(), 0u);
}

CHILD_ROLE(MeetsHazard) {
  LoadLibraryW(L"winpty.dll");
  Subscriber subscriber;
  {
    RemoteTerminalManager manager;
    Terminal terminal;
    manager.Register(&subscriber);
    if (manager.Start() != 0 || terminal.Open(manager, "id") != 0) return 1;
    if (arguments[0] == "CloseBeforeCleanup") {
      manager.CloseTerminal("id");
      manager.OnProcessTerminate("id");
      Sleep(INFINITE);
    }
    if (arguments[0] == "ShellExit") {
      terminal.Exits();
      subscriber.told.Acquire();
    }
    manager.Stop();
    if (arguments[0] == "CloseAfterStop") manager.CloseTerminal("id");
  }
  return GetModuleHandleW(L"winpty.dll") != nullptr ? 2 : 0;
}

TEST(RemoteTerminalManager, SettledHazardsEndTheProcess) {
  const auto meet = [](const std::string& hazard) {
    return RoleProcess("MeetsHazard " + hazard).Await();
  };
  EXPECT_EQ(meet("CloseBeforeCleanup"), EXCEPTION_ACCESS_VIOLATION);
  EXPECT_EQ(meet("CloseAfterStop"), EXCEPTION_ACCESS_VIOLATION);
  EXPECT_EQ(meet("ShellExit"), 3u) << "std::terminate";
  EXPECT_EQ(meet("Destruction"), 0u) << "it frees winpty a second time";
}

}  // namespace
