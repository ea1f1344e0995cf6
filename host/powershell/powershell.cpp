// The shell of the project's own Wine prefixes. Windows has PowerShell; Wine has an empty program
// in its place. This one stands there instead and runs cmd.exe in the same console, with the same
// handles, until it ends, and passes its exit code on. It is no part of what is installed on
// Windows.

#include <cstddef>
#include <string>
#include <vector>

#include "module/frame/handle.h"

namespace {

HANDLE interrupted;  // A Ctrl-C came while the present shell ran.

// Ctrl-C is the shell's business; only its end is this program's. A handler and not
// SetConsoleCtrlHandler(nullptr, TRUE): that one the shell would inherit.
BOOL WINAPI OnInterrupt(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  SetEvent(interrupted);
  return TRUE;
}

// Wine ends a program that does not handle Ctrl-C with the exit code 0, and its cmd.exe is one.
// Both programs are told at once, so that the word may come here a moment after the shell's end.
bool EndedByInterrupt(DWORD exit_code) {
  constexpr DWORD kGraceMilliseconds = 100;
  return exit_code == 0 && WaitForSingleObject(interrupted, kGraceMilliseconds) == WAIT_OBJECT_0;
}

// Starts processes into a job that ends with this program, so that the shell and all that it starts
// do so too. They are born into it: assigning them later would leave one behind where this program
// is ended in between.
class JobOfTheShell {
 public:
  JobOfTheShell() : job_(CreateJobObjectW(/*security=*/nullptr, /*name=*/nullptr)) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));

    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, /*count=*/1, /*flags=*/0, &size);
    memory_.resize(size);
    startup_.StartupInfo.cb = sizeof(startup_);
    startup_.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    InitializeProcThreadAttributeList(startup_.lpAttributeList, /*count=*/1, /*flags=*/0, &size);
    list_[0] = job_.get();
    UpdateProcThreadAttribute(startup_.lpAttributeList, /*flags=*/0, PROC_THREAD_ATTRIBUTE_JOB_LIST,
                              list_, sizeof(list_), /*previous=*/nullptr, /*returnSize=*/nullptr);
  }

  bool Start(const std::wstring& program, PROCESS_INFORMATION& process) {
    return CreateProcessW(program.c_str(), /*commandLine=*/nullptr, /*processAttributes=*/nullptr,
                          /*threadAttributes=*/nullptr, /*inheritHandles=*/TRUE,
                          EXTENDED_STARTUPINFO_PRESENT, /*environment=*/nullptr,
                          /*currentDirectory=*/nullptr, &startup_.StartupInfo, &process) != FALSE;
  }

 private:
  orn::UniqueHandle job_;
  HANDLE list_[1] = {};
  std::vector<std::byte> memory_;
  STARTUPINFOEXW startup_ = {};
};

}  // namespace

int wmain() {
  JobOfTheShell job;
  const orn::UniqueHandle event(CreateEventW(/*security=*/nullptr, /*manualReset=*/FALSE,
                                             /*initialState=*/FALSE, /*name=*/nullptr));
  interrupted = event.get();
  SetConsoleCtrlHandler(OnInterrupt, /*Add=*/TRUE);

  std::wstring program(MAX_PATH, L'\0');
  program.resize(GetSystemDirectoryW(program.data(), MAX_PATH));
  program += L"\\cmd.exe";

  // A shell ends by Ctrl-C only the command that runs. Here a new one goes on in its place.
  for (;;) {
    ResetEvent(interrupted);
    PROCESS_INFORMATION process = {};
    if (!job.Start(program, process)) return static_cast<int>(GetLastError());
    const orn::UniqueHandle thread(process.hThread);
    const orn::UniqueHandle shell(process.hProcess);
    WaitForSingleObject(shell.get(), INFINITE);
    DWORD exit_code = 1;
    GetExitCodeProcess(shell.get(), &exit_code);
    if (!EndedByInterrupt(exit_code)) return static_cast<int>(exit_code);
  }
}
