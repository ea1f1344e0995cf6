// The shell of the project's own Wine prefixes. Windows has PowerShell; Wine has an empty program in its
// place. This one stands there instead and runs cmd.exe in the same console, with the same handles,
// until it ends, and passes its exit code on. It is no part of what is installed on Windows.

#include <string>

#include "module/frame/handle.h"

namespace {

// Ctrl-C is the shell's business; only its end is this program's. A handler and not
// SetConsoleCtrlHandler(nullptr, TRUE): that one the shell would inherit.
BOOL WINAPI IgnoreInterrupt(DWORD event) {
  return event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
}

}  // namespace

int wmain() {
  SetConsoleCtrlHandler(IgnoreInterrupt, /*Add=*/TRUE);

  std::wstring program(MAX_PATH, L'\0');
  program.resize(GetSystemDirectoryW(program.data(), MAX_PATH));
  program += L"\\cmd.exe";

  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(program.c_str(), /*commandLine=*/nullptr, /*processAttributes=*/nullptr,
                      /*threadAttributes=*/nullptr, /*inheritHandles=*/TRUE, /*creationFlags=*/0,
                      /*environment=*/nullptr, /*currentDirectory=*/nullptr, &startup, &process)) {
    return static_cast<int>(GetLastError());
  }
  const orn::UniqueHandle thread(process.hThread);
  const orn::UniqueHandle shell(process.hProcess);
  WaitForSingleObject(shell.get(), INFINITE);
  DWORD exit_code = 1;
  GetExitCodeProcess(shell.get(), &exit_code);
  return static_cast<int>(exit_code);
}
