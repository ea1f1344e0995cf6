#include "module/terminal/host/remote_terminal_manager.h"

#include <gmock/gmock.h>

#include <condition_variable>

#include "module/frame/handle.h"
#include "module/frame/utf.h"
#include "module/jobs/testing/child_roles.h"
#include "module/jobs/testing/process_counts.h"

namespace {

using orn::StringT;
using orn::RemoteTerminal::IRemoteTerminalManager;
using orn::RemoteTerminal::RemoteTerminalManager;

// The two pipes of a console, as whoever opened the terminal uses them.
class Console {
 public:
  uint32_t Open(IRemoteTerminalManager& manager, const char* id) {
    StringT<wchar_t> conin, conout;
    const uint32_t code = manager.OpenTerminal(id, {.cols = 80, .rows = 24}, conin, conout);
    if (code != 0) return code;
    conin_ = OpenPipe(conin, GENERIC_WRITE);
    conout_ = OpenPipe(conout, GENERIC_READ);
    EXPECT_TRUE(conin_ && conout_);
    return code;
  }

  void Type(const std::string& text) {
    DWORD count = 0;
    EXPECT_TRUE(
        WriteFile(conin_.get(), text.data(), static_cast<DWORD>(text.size()), &count, nullptr));
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

  // The caret keeps the echo of what is typed from being taken for the output.
  bool Echoes(const std::string& word) {
    Type("echo ^" + word + "\r");
    return ReadUntil(word);
  }

 private:
  static orn::UniqueFile OpenPipe(const StringT<wchar_t>& name, DWORD access) {
    return orn::UniqueFile(
        CreateFileW(name.c_str(), access, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  }

  orn::UniqueFile conin_, conout_;
  std::string output_;
};

class Subscriber : public IRemoteTerminalManager::IRemoteTerminalManagerNotifications {
 public:
  void OnTerminalClosed(const StringT<char>& id) override {
    const std::lock_guard lock(mutex_);
    closed_.emplace_back(id.c_str());
    changed_.notify_all();
  }

  std::vector<std::string> WaitFor(size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return closed_.size() >= count; });
    return closed_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> closed_;
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

TEST(RemoteTerminalManager, TerminalsAreIndependentAndEndWhenTheyAreClosed) {
  RemoteTerminalManager manager;
  ASSERT_EQ(manager.Start(), 0);
  Subscriber subscriber;
  EXPECT_EQ(manager.Register(&subscriber), 0u);
  Console first, second;
  ASSERT_EQ(first.Open(manager, "first"), 0u);
  ASSERT_EQ(second.Open(manager, "second"), 0u);
  EXPECT_EQ(Console().Open(manager, "first"), 183u);
  EXPECT_TRUE(first.Echoes("marker"));
  EXPECT_TRUE(second.Echoes("other"));

  EXPECT_EQ(manager.SetSize("unknown", {100, 30}), 1168u);
  EXPECT_EQ(manager.SetSize("first", {100, 30}), 0u);
  first.Type(orn::ToUtf8(RoleCommandLine("PrintsTheSize").view()).c_str() + std::string("\r"));
  EXPECT_TRUE(first.ReadUntil("size=100x30."));

  manager.CloseTerminal("unknown");
  manager.CloseTerminal("first");
  EXPECT_TRUE(first.ReadToEnd());
  EXPECT_TRUE(second.Echoes("alive"));
  EXPECT_EQ(manager.SetSize("first", {80, 24}), 1168u);

  manager.Stop();
  EXPECT_TRUE(second.ReadToEnd());
  EXPECT_THAT(subscriber.WaitFor(0), testing::IsEmpty()) << "only a shell's own end is told";
}

TEST(RemoteTerminalManager, ShellThatExitsByItselfIsReportedOnce) {
  // Never destroyed: that would end the process.
  auto& manager = *new RemoteTerminalManager;
  ASSERT_EQ(manager.Start(), 0);
  Subscriber subscriber, gone;
  EXPECT_EQ(manager.Register(&gone), 0u);
  EXPECT_EQ(manager.Register(&subscriber), 0u);
  EXPECT_EQ(manager.Register(&subscriber), 1627u);
  EXPECT_EQ(manager.Unregister(&gone), 0u);
  EXPECT_EQ(manager.Unregister(&gone), 1627u);

  size_t told = 0;
  for (const char* id : {"one", "two", "one"}) {
    Console console;
    ASSERT_EQ(console.Open(manager, id), 0u);
    console.Type("exit\r");
    EXPECT_TRUE(console.ReadToEnd());
    subscriber.WaitFor(++told);
  }
  manager.Stop();  // Behind the last cleanup.
  EXPECT_THAT(subscriber.WaitFor(3), testing::ElementsAre("one", "two", "one"));
  EXPECT_THAT(gone.WaitFor(0), testing::IsEmpty());
}

TEST(RemoteTerminalManager, SessionsLeaveNoProcessThreadOrHandle) {
  RemoteTerminalManager manager;
  ASSERT_EQ(manager.Start(), 0);
  const auto use_session = [&manager] {
    Console console;
    ASSERT_EQ(console.Open(manager, "id"), 0u);
    EXPECT_TRUE(console.Echoes("marker"));
    const auto processes = Descendants();
    EXPECT_GE(processes.size(), 2u) << "winpty's agent and the shell";
    manager.CloseTerminal("id");
    for (const auto& process : processes)
      WaitForSingleObject(process.get(), INFINITE);
  };
  use_session();
  const size_t threads = CountThreads(), handles = CountHandles();
  for (size_t i = 0; i < 20; ++i)
    use_session();
  // Less than one for each session: Wine itself makes a few when it first needs them.
  EXPECT_LT(CountThreads(), threads + 20);
  EXPECT_LT(CountHandles(), handles + 20);
  manager.Stop();
}

// A start that fails, with the real library but without its agent.
CHILD_ROLE(OpensWithoutAnAgent) {
  RemoteTerminalManager manager;
  if (manager.Start() != 0) return 1;
  if (Console().Open(manager, "id") != 1627) return 2;
  if (Console().Open(manager, "id") != 183) return 3;
  manager.CloseTerminal("id");
  if (Console().Open(manager, "id") != 1627) return 4;
  manager.Stop();
  return 0;
}

CHILD_ROLE(StartsWithoutWinpty) {
  RemoteTerminalManager manager;
  if (manager.Start() != 5002) return 1;
  // One that lacks what is needed stays loaded, until the manager ends.
  return GetModuleHandleW(L"winpty.dll") != nullptr ? 2 : 0;
}

TEST(RemoteTerminalManager, MissingPiecesOfWinptyAreToldApart) {
  const std::wstring self = TestProgram().substr(TestProgram().find_last_of(L'\\') + 1);
  const TestFolder folder;
  const std::wstring program = folder.Copy(self, L"test.exe");
  EXPECT_EQ(RunChild("StartsWithoutWinpty", program), 0u);
  folder.Copy(L"ServiceInstance.Comm.Testing.dll", L"winpty.dll");
  EXPECT_EQ(RunChild("StartsWithoutWinpty", program), 2u);
  folder.Copy(L"winpty.dll", L"winpty.dll");
  EXPECT_EQ(RunChild("OpensWithoutAnAgent", program), 0u);
}

CHILD_ROLE(CleansUpATerminalThatIsClosedAlready) {
  RemoteTerminalManager manager;
  manager.Start();
  manager.OnProcessTerminate("closed");
  Sleep(INFINITE);
  return 0;
}

CHILD_ROLE(DestroysAManagerWhoseShellHasExited) {
  RemoteTerminalManager manager;
  Subscriber subscriber;
  manager.Start();
  manager.Register(&subscriber);
  Console console;
  console.Open(manager, "id");
  console.Type("exit\r");
  console.ReadToEnd();
  subscriber.WaitFor(1);
  manager.Stop();
  return 0;
}

CHILD_ROLE(ClosesAfterTheStop) {
  RemoteTerminalManager manager;
  manager.Start();
  Console console;
  console.Open(manager, "id");
  manager.Stop();
  manager.CloseTerminal("id");
  return 0;
}

CHILD_ROLE(DestroysAManagerAfterItsStop) {
  const HMODULE own = LoadLibraryW(L"winpty.dll");
  {
    RemoteTerminalManager manager;
    manager.Start();
    manager.Stop();
    if (GetModuleHandleW(L"winpty.dll") != own) return 1;
  }
  return GetModuleHandleW(L"winpty.dll") != nullptr ? 2 : 0;
}

TEST(RemoteTerminalManager, SettledHazardsEndTheProcess) {
  EXPECT_EQ(RunChild("CleansUpATerminalThatIsClosedAlready"), EXCEPTION_ACCESS_VIOLATION);
  EXPECT_EQ(RunChild("ClosesAfterTheStop"), EXCEPTION_ACCESS_VIOLATION);
  EXPECT_EQ(RunChild("DestroysAManagerWhoseShellHasExited"), 3u) << "std::terminate";
  EXPECT_EQ(RunChild("DestroysAManagerAfterItsStop"), 0u) << "it frees winpty a second time";
}

}  // namespace
