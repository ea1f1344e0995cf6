#include "host/service/windows_service.h"

#include "host/service/stop_signal.h"

namespace host {
namespace {

constexpr DWORD kStartHint = 60000;  // Milliseconds, for one plug-in.

}  // namespace

WindowsService* WindowsService::instance_ = nullptr;

uint32_t WindowsService::Run(const Configuration& configuration) {
  instance_ = new WindowsService(configuration);  // As long as the process.
  std::wstring name = configuration.name;
  const SERVICE_TABLE_ENTRYW services[] = {{name.data(), &WindowsService::Main}, {}};
  if (!StartServiceCtrlDispatcherW(services)) return GetLastError();
  // The service has told of its end; its thread ends the process.
  for (;;)
    Sleep(INFINITE);
}

void WINAPI WindowsService::Main(DWORD, wchar_t**) {
  WindowsService& service = *instance_;
  service.handle_ = RegisterServiceCtrlHandlerExW(service.configuration_.name.c_str(),
                                                  &WindowsService::OnControl, &service);
  {
    const std::lock_guard lock(service.mutex_);
    service.status_.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    service.status_.dwCurrentState = SERVICE_START_PENDING;
    service.status_.dwWaitHint = kStartHint;
    service.ReportLocked();
  }
  (new HostProcess(service.configuration_, &service))->Run();
}

DWORD WINAPI WindowsService::OnControl(DWORD control, DWORD, void*, void* context) {
  switch (control) {
    case SERVICE_CONTROL_STOP:
    case SERVICE_CONTROL_SHUTDOWN:
    case SERVICE_CONTROL_PRESHUTDOWN:
      // Told before the host hears of it, whose end is to be the last that is told.
      static_cast<WindowsService*>(context)->OnStopping();
      SetEvent(StopSignal());
      return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
      return NO_ERROR;
    default:
      return ERROR_CALL_NOT_IMPLEMENTED;
  }
}

void WindowsService::OnStep() {
  const std::lock_guard lock(mutex_);
  ++status_.dwCheckPoint;
  ReportLocked();
}

void WindowsService::OnRunning() {
  const std::lock_guard lock(mutex_);
  status_.dwCurrentState = SERVICE_RUNNING;
  status_.dwControlsAccepted =
      SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN | SERVICE_ACCEPT_PRESHUTDOWN;
  status_.dwCheckPoint = 0;
  status_.dwWaitHint = 0;
  ReportLocked();
}

void WindowsService::OnStopping() {
  const std::lock_guard lock(mutex_);
  // A start that failed ends as one.
  if (status_.dwCurrentState != SERVICE_RUNNING) return;
  status_.dwCurrentState = SERVICE_STOP_PENDING;
  status_.dwControlsAccepted = 0;
  status_.dwWaitHint = configuration_.stop_limit * 1000;
  ReportLocked();
}

void WindowsService::OnEnd(uint32_t exit_code) {
  const std::lock_guard lock(mutex_);
  const bool asked = status_.dwCurrentState == SERVICE_STOP_PENDING;
  status_.dwCurrentState = SERVICE_STOPPED;
  status_.dwCheckPoint = 0;
  status_.dwWaitHint = 0;
  // A stop that took too long is no reason to start again.
  if (exit_code != 0 && !asked) {
    status_.dwWin32ExitCode = ERROR_SERVICE_SPECIFIC_ERROR;
    status_.dwServiceSpecificExitCode = exit_code;
  }
  ReportLocked();
}

void WindowsService::ReportLocked() {
  SetServiceStatus(handle_, &status_);
}

}  // namespace host
