#include "host/service/stop_signal.h"

#include <atomic>

namespace host {
namespace {

bool IsInServicesSession() {
  DWORD session = 0;
  return ProcessIdToSessionId(GetCurrentProcessId(), &session) && session == 0;
}

BOOL WINAPI OnConsoleEvent(DWORD event) {
  // There it tells of anybody who leaves the machine, and is not for the processes of a service.
  if (event == CTRL_LOGOFF_EVENT && IsInServicesSession()) return TRUE;
  static std::atomic<bool> asked{false};
  if (asked.exchange(true) && (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT)) {
    TerminateProcess(GetCurrentProcess(), 1);
  }
  SetEvent(StopSignal());
  // When the console is closed the system ends the process as soon as this returns: the stop ends
  // it first, or the system does a few seconds from now.
  if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
    Sleep(INFINITE);
  }
  return TRUE;
}

}  // namespace

void CatchConsoleStop() {
  StopSignal();
  SetConsoleCtrlHandler(OnConsoleEvent, /*add=*/TRUE);
}

HANDLE StopSignal() {
  static const HANDLE signal =
      CreateEventW(nullptr, /*manualReset=*/TRUE, /*signalled=*/FALSE, /*name=*/nullptr);
  return signal;
}

}  // namespace host
