#include "module/jobs/child_process.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <io.h>

#include <sstream>

#include "module/frame/environment.h"
#include "module/frame/scope_guard.h"
#include "module/frame/utf.h"
#include "module/jobs/testing/child_roles.h"
#include "module/jobs/testing/process_counts.h"

namespace {

using orn::ChildProcess;
using orn::UniqueHandle;
using testing::UnorderedElementsAreArray;

uint32_t Launch(ChildProcess<void*>& child, const orn::StringT<wchar_t>& command_line,
                bool redirect_output = false, bool restore_path = false) {
  return child.Launch(command_line, /*showWindow=*/false, redirect_output, /*workingDir=*/{},
                      restore_path);
}

std::string ReadToEnd(HANDLE pipe) {
  std::string text;
  char buffer[4096];
  DWORD count = 0;
  while (ReadFile(pipe, buffer, sizeof(buffer), &count, nullptr))
    text.append(buffer, count);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_BROKEN_PIPE});
  return text;
}

std::wstring Variable(const wchar_t* name) {
  std::wstring value(32768, L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return value;
}

// This process's environment; the entry of the path reads "Path=" and `path` if one is given.
std::vector<std::string> Environment(const char* path = nullptr) {
  std::vector<std::string> entries;
  wchar_t* const block = GetEnvironmentStringsW();
  for (const wchar_t* entry = block; *entry != 0; entry += wcslen(entry) + 1) {
    const bool replace = path != nullptr && _wcsnicmp(entry, L"PATH=", 5) == 0;
    entries.push_back(replace ? std::string("Path=") + path : orn::ToUtf8(entry).c_str());
  }
  FreeEnvironmentStringsW(block);
  return entries;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

UniqueHandle MakeEvent(const wchar_t* name, bool inheritable = false) {
  SECURITY_ATTRIBUTES security = {sizeof(security), nullptr, inheritable};
  return UniqueHandle(CreateEventW(&security, /*manualReset=*/TRUE, /*signalled=*/FALSE, name));
}

// Sets the event whose handle has the number given, if there is such a handle in this process.
CHILD_ROLE(WritesToBothStreams) {
  fputs("out ", stdout);
  fflush(stdout);
  fputs("err", stderr);
  SetEvent(reinterpret_cast<HANDLE>(std::stoull(arguments[0])));
  return 3;
}

CHILD_ROLE(PrintsItsEnvironment) {
  _setmode(_fileno(stdout), _O_BINARY);
  for (const std::string& entry : Environment())
    printf("%s\n", entry.c_str());
  return 0;
}

CHILD_ROLE(WaitsForEvent) {
  const UniqueHandle event = MakeEvent(orn::ToWide(arguments[0]).c_str());
  WaitForSingleObject(event.get(), INFINITE);
  return 0;
}

TEST(ChildProcess, OutputAndErrorsShareOnePipeAndNothingElseIsInherited) {
  const UniqueHandle other = MakeEvent(nullptr, /*inheritable=*/true);
  const auto number = std::to_string(reinterpret_cast<uintptr_t>(other.get()));
  ChildProcess<void*> child;
  EXPECT_EQ(child.process_id(), 0xFFFFFFFFu);
  ASSERT_EQ(Launch(child, RoleCommandLine("WritesToBothStreams", number), true), 0u);
  EXPECT_EQ(child.process_id(), GetProcessId(child.process()));
  DWORD flags = 0;
  EXPECT_TRUE(GetHandleInformation(child.stdout_read(), &flags));
  EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);

  EXPECT_EQ(ReadToEnd(child.stdout_read()), "out err");
  WaitForSingleObject(child.process(), INFINITE);
  EXPECT_EQ(WaitForSingleObject(other.get(), 0), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(Launch(child, RoleCommandLine("PrintsItsEnvironment")), 170u)
      << "it holds a process, if one that has ended";
}

TEST(ChildProcess, ChildSeesTheMachinesPathAndThisProcessKeepsItsOwn) {
  const TestFolder folder;
  const std::wstring program = TestProgram();
  folder.Copy(program.substr(program.find_last_of(L'\\') + 1), L"only_along_the_old_path.exe");
  const auto command = L"only_along_the_old_path.exe --child=PrintsItsEnvironment";
  const std::wstring own_path = Variable(L"PATH");
  ASSERT_FALSE(own_path.empty());
  const orn::ScopeGuard unset([] { SetEnvironmentVariableW(orn::kOldPathVariable, nullptr); });
  {
    SetEnvironmentVariableW(orn::kOldPathVariable, folder.path().c_str());
    ChildProcess<void*> child;
    ASSERT_EQ(Launch(child, command, true, true), 0u);
    EXPECT_EQ(Variable(L"PATH"), own_path);
    // Wine starts a process with its entries in another order.
    EXPECT_THAT(Lines(ReadToEnd(child.stdout_read())),
                UnorderedElementsAreArray(Environment(orn::ToUtf8(folder.path()).c_str())));
  }
  {
    SetEnvironmentVariableW(orn::kOldPathVariable, nullptr);
    ChildProcess<void*> child;
    EXPECT_EQ(Launch(child, command, true, true), 2u) << "the code is that of the start";
    EXPECT_EQ(child.process(), nullptr);
    ASSERT_EQ(Launch(child, RoleCommandLine("PrintsItsEnvironment"), true, true), 0u);
    EXPECT_THAT(Lines(ReadToEnd(child.stdout_read())), UnorderedElementsAreArray(Environment()));
    EXPECT_EQ(Variable(L"PATH"), own_path);
  }
}

TEST(ChildProcess, LeavesTheProcessAloneAndNoHandleOpen) {
  const std::wstring name = UniqueName();
  const UniqueHandle end = MakeEvent(name.c_str());
  const auto command = RoleCommandLine("WaitsForEvent", orn::ToUtf8(name).c_str());
  const auto launch_and_drop = [&](UniqueHandle& process) {
    ChildProcess<void*> child;
    child.SetExitCallback([] { ADD_FAILURE() << "it is gone before the process ends"; });
    EXPECT_EQ(Launch(child, L"no_such_program.exe", true), 2u);
    EXPECT_EQ(Launch(child, command, true), 0u);
    DuplicateHandle(GetCurrentProcess(), child.process(), GetCurrentProcess(), process.put(), 0,
                    FALSE, DUPLICATE_SAME_ACCESS);
  };
  UniqueHandle processes[10];
  launch_and_drop(processes[0]);
  const size_t before = CountHandles();
  for (size_t i = 1; i < std::size(processes); ++i)
    launch_and_drop(processes[i]);
  // Less than one for each more than those held here: Wine itself makes a few when it first needs
  // them.
  EXPECT_LT(CountHandles(), before + 2 * (std::size(processes) - 1));

  for (const UniqueHandle& process : processes) {
    EXPECT_EQ(WaitForSingleObject(process.get(), 0), DWORD{WAIT_TIMEOUT});
  }
  SetEvent(end.get());
  for (const UniqueHandle& process : processes)
    WaitForSingleObject(process.get(), INFINITE);
}

TEST(ChildProcess, TellsOfTheEnd) {
  const UniqueHandle told = MakeEvent(nullptr);
  ChildProcess<void*> child;
  child.SetExitCallback([&] { SetEvent(told.get()); });
  ASSERT_EQ(Launch(child, RoleCommandLine("PrintsItsEnvironment")), 0u);
  WaitForSingleObject(told.get(), INFINITE);
  EXPECT_EQ(WaitForSingleObject(child.process(), 0), DWORD{WAIT_OBJECT_0});
}

}  // namespace
