#include "module/jobs/child_process.h"

#include <gtest/gtest.h>

#include "module/frame/environment.h"
#include "module/frame/scope_guard.h"
#include "module/frame/testing/semaphore.h"
#include "module/frame/testing/test_folder.h"
#include "module/frame/utf.h"
#include "module/jobs/testing/child_roles.h"

namespace {

using orn::ChildProcess;
using orn::UniqueHandle;

uint32_t Launch(ChildProcess<void*>& child, const orn::StringT<wchar_t>& command_line,
                bool restore_path = false) {
  return child.Launch(command_line, /*showWindow=*/false, /*redirectOutput=*/true,
                      /*workingDir=*/{}, restore_path);
}

std::string Output(const ChildProcess<void*>& child) {
  std::string text;
  char buffer[4096];
  DWORD count = 0;
  while (ReadFile(child.stdout_read(), buffer, sizeof(buffer), &count, nullptr))
    text.append(buffer, count);
  return text;
}

std::string PathSeenBy(const orn::StringT<wchar_t>& command_line, bool restore_path) {
  ChildProcess<void*> child;
  EXPECT_EQ(Launch(child, command_line, restore_path), 0u);
  return Output(child);
}

// Sets the event whose handle has the number given, if there is such a handle in this process.
CHILD_ROLE(WritesToBothStreams) {
  fputs("out ", stdout);
  fflush(stdout);
  fputs("err", stderr);
  SetEvent(reinterpret_cast<HANDLE>(std::stoull(arguments[0])));
  return 0;
}

CHILD_ROLE(PrintsItsPath) {
  // Its other variables have to be there, too.
  printf("%s", getenv("SystemRoot") != nullptr ? getenv("PATH") : "");
  return 0;
}

CHILD_ROLE(Waits) {
  Sleep(INFINITE);
  return 0;
}

TEST(ChildProcess, OutputAndErrorsShareOnePipeAndNothingElseIsInherited) {
  SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
  const UniqueHandle other(CreateEventW(&inheritable, /*manualReset=*/TRUE, FALSE, nullptr));
  const auto number = std::to_string(reinterpret_cast<uintptr_t>(other.get()));
  Semaphore told;
  ChildProcess<void*> child;
  child.SetExitCallback([&] { told.Release(); });
  ASSERT_EQ(Launch(child, RoleCommandLine("WritesToBothStreams " + number)), 0u);
  EXPECT_EQ(child.process_id(), GetProcessId(child.process()));
  DWORD flags = 0;
  EXPECT_TRUE(GetHandleInformation(child.stdout_read(), &flags));
  EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);

  EXPECT_EQ(Output(child), "out err");
  told.Acquire();
  EXPECT_EQ(WaitForSingleObject(child.process(), 0), DWORD{WAIT_OBJECT_0});
  EXPECT_EQ(WaitForSingleObject(other.get(), 0), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(Launch(child, RoleCommandLine("PrintsItsPath")), 170u) << "though it has ended";
}

TEST(ChildProcess, ChildSeesTheMachinesPathAndThisProcessKeepsItsOwn) {
  const TestFolder folder;
  CopyFileW(TestProgram().c_str(), (folder / L"along_the_old_path.exe").c_str(), TRUE);
  const auto command = L"along_the_old_path.exe --child=PrintsItsPath";
  const auto own = RoleCommandLine("PrintsItsPath");
  const std::string own_path = getenv("PATH");
  {
    SetEnvironmentVariableW(orn::kOldPathVariable, (folder / L"").c_str());
    const orn::ScopeGuard unset([] { SetEnvironmentVariableW(orn::kOldPathVariable, nullptr); });
    EXPECT_EQ(PathSeenBy(command, true), orn::ToUtf8((folder / L"")).c_str());
    EXPECT_EQ(PathSeenBy(own, false), own_path);
  }
  ChildProcess<void*> child;
  EXPECT_EQ(Launch(child, command, /*restore_path=*/true), 2u) << "the code is that of the start";
  EXPECT_EQ(PathSeenBy(own, true), own_path);
}

TEST(ChildProcess, LeavesTheProcessAloneAndNoHandleOpen) {
  size_t before = 0;
  for (int i = 0; i < 10; ++i) {
    UniqueHandle process;
    {
      ChildProcess<void*> child;
      child.SetExitCallback([] { ADD_FAILURE() << "it is gone before the process ends"; });
      EXPECT_EQ(Launch(child, L"no_such_program.exe"), 2u);
      EXPECT_EQ(Launch(child, RoleCommandLine("Waits")), 0u);
      DuplicateHandle(GetCurrentProcess(), child.process(), GetCurrentProcess(), process.put(), 0,
                      FALSE, DUPLICATE_SAME_ACCESS);
    }
    EXPECT_EQ(WaitForSingleObject(process.get(), 0), DWORD{WAIT_TIMEOUT});
    TerminateProcess(process.get(), 0);
    if (i == 0) before = CountHandles();
  }
  // Less than one for each: Wine itself makes a few when it first needs them.
  EXPECT_LT(CountHandles(), before + 9);
}

}  // namespace
