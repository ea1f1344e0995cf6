#include "host/service/service_install.h"

#include <memory>

#include "host/service/report.h"
#include "module/frame/handle.h"

namespace host {
namespace {

constexpr DWORD kPause = 50;           // Milliseconds.
constexpr DWORD kLongestStep = 60000;  // As the service hints, for one plug-in.

// Keeps GetLastError.
struct CloseService {
  void operator()(SC_HANDLE handle) const {
    const DWORD error = GetLastError();
    CloseServiceHandle(handle);
    SetLastError(error);
  }
};
using UniqueService = std::unique_ptr<SC_HANDLE__, CloseService>;

UniqueService OpenManager(DWORD access) {
  return UniqueService(OpenSCManagerW(/*machine=*/nullptr, /*database=*/nullptr, access));
}

// Null on failure, with GetLastError.
UniqueService Open(const std::wstring& name, DWORD access) {
  const UniqueService manager = OpenManager(SC_MANAGER_CONNECT);
  return UniqueService(manager ? OpenServiceW(manager.get(), name.c_str(), access) : nullptr);
}

std::wstring CommandLineOf(const Configuration& configuration, const std::wstring& program) {
  return L"\"" + program + L"\" /service /config \"" + configuration.file + L"\"";
}

// Milliseconds in which the service's process is gone, whatever happens in it.
uint32_t StopLimit(const Configuration& configuration) {
  return 1000 * (configuration.stop_limit + 5);
}

bool RestartAfterFailures(SC_HANDLE service) {
  SC_ACTION actions[] = {
      {SC_ACTION_RESTART, 1000}, {SC_ACTION_RESTART, 5000}, {SC_ACTION_RESTART, 60000}};
  SERVICE_FAILURE_ACTIONSW failures{};
  failures.dwResetPeriod = 3600;  // Seconds without a failure after which they are counted anew.
  failures.cActions = 3;
  failures.lpsaActions = actions;
  // Also after an end that the service told of, as that of a start which failed.
  SERVICE_FAILURE_ACTIONS_FLAG always = {.fFailureActionsOnNonCrashFailures = TRUE};
  return ChangeServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS, &failures) &&
         ChangeServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS_FLAG, &always);
}

// What the manager shows of the service, and what it does when that ends.
void Describe(SC_HANDLE service, const Configuration& configuration) {
  std::wstring text = L"Remote administration of this machine: shell, files, commands.";
  SERVICE_DESCRIPTIONW description = {.lpDescription = text.data()};
  ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &description);
  // Windows alone would give ten seconds.
  SERVICE_PRESHUTDOWN_INFO limit = {.dwPreshutdownTimeout = configuration.stop_limit * 1000};
  ChangeServiceConfig2W(service, SERVICE_CONFIG_PRESHUTDOWN_INFO, &limit);
  if (!RestartAfterFailures(service)) {
    ReportError(L"Service " + configuration.name + L" will not be started again after a failure: " +
                DescribeCode(GetLastError()));
  }
}

// Asks the service to stop and waits until its process has ended. By that process and not by its
// state: a new start, or a removal, must not meet it.
uint32_t StopAndWait(SC_HANDLE service, uint32_t limit) {
  SERVICE_STATUS_PROCESS status{};
  DWORD length = 0;
  if (!QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                            sizeof(status), &length)) {
    return GetLastError();
  }
  if (status.dwCurrentState == SERVICE_STOPPED || status.dwProcessId == 0) return 0;
  const orn::UniqueHandle process(OpenProcess(SYNCHRONIZE, /*inherit=*/FALSE, status.dwProcessId));
  // It may have ended without the manager's knowing yet.
  if (!process && GetLastError() == ERROR_INVALID_PARAMETER) return 0;
  if (!process) return GetLastError();
  if (WaitForSingleObject(process.get(), 0) == WAIT_OBJECT_0) return 0;
  SERVICE_STATUS ignored{};
  if (!ControlService(service, SERVICE_CONTROL_STOP, &ignored) &&
      GetLastError() != ERROR_SERVICE_NOT_ACTIVE && status.dwCurrentState != SERVICE_STOP_PENDING) {
    return GetLastError();
  }
  return WaitForSingleObject(process.get(), limit) == WAIT_OBJECT_0 ? 0 : ERROR_TIMEOUT;
}

}  // namespace

uint32_t InstallService(const Configuration& configuration, const std::wstring& program) {
  const UniqueService manager = OpenManager(SC_MANAGER_CREATE_SERVICE);
  if (!manager) return GetLastError();
  const UniqueService service(CreateServiceW(
      manager.get(), configuration.name.c_str(), configuration.name.c_str(),
      SERVICE_CHANGE_CONFIG | SERVICE_START, SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START,
      SERVICE_ERROR_NORMAL, CommandLineOf(configuration, program).c_str(), /*group=*/nullptr,
      /*tag=*/nullptr, /*dependencies=*/nullptr, /*account=*/nullptr, /*password=*/nullptr));
  if (!service) return GetLastError();
  Describe(service.get(), configuration);
  return 0;
}

uint32_t UpdateService(const Configuration& configuration, const std::wstring& program) {
  const UniqueService service = Open(configuration.name, SERVICE_CHANGE_CONFIG | SERVICE_START);
  if (!service) return GetLastError();
  if (!ChangeServiceConfigW(service.get(), SERVICE_NO_CHANGE, SERVICE_AUTO_START, SERVICE_NO_CHANGE,
                            CommandLineOf(configuration, program).c_str(), /*group=*/nullptr,
                            /*tag=*/nullptr, /*dependencies=*/nullptr, /*account=*/nullptr,
                            /*password=*/nullptr, /*displayName=*/nullptr)) {
    return GetLastError();
  }
  Describe(service.get(), configuration);
  return 0;
}

uint32_t SuspendRestarts(const std::wstring& name) {
  const UniqueService service = Open(name, SERVICE_CHANGE_CONFIG | SERVICE_START);
  if (!service) return GetLastError();
  SC_ACTION none{};
  SERVICE_FAILURE_ACTIONSW failures{};
  failures.lpsaActions = &none;  // With a count of 0: those that there are go.
  return ChangeServiceConfig2W(service.get(), SERVICE_CONFIG_FAILURE_ACTIONS, &failures)
             ? 0
             : GetLastError();
}

uint32_t StartInstalledService(const std::wstring& name) {
  const UniqueService service = Open(name, SERVICE_START | SERVICE_QUERY_STATUS);
  if (!service) return GetLastError();
  if (!StartServiceW(service.get(), 0, nullptr) &&
      GetLastError() != ERROR_SERVICE_ALREADY_RUNNING) {
    return GetLastError();
  }
  DWORD checkpoint = 0;
  for (DWORD waited = 0;; waited += kPause) {
    SERVICE_STATUS status{};
    if (!QueryServiceStatus(service.get(), &status)) return GetLastError();
    if (status.dwCurrentState == SERVICE_RUNNING) return 0;
    if (status.dwCurrentState != SERVICE_START_PENDING) return ERROR_SERVICE_SPECIFIC_ERROR;
    if (status.dwCheckPoint != checkpoint) waited = 0;
    checkpoint = status.dwCheckPoint;
    if (waited > kLongestStep) return ERROR_TIMEOUT;
    Sleep(kPause);
  }
}

uint32_t StopService(const Configuration& configuration, bool& running) {
  const UniqueService service = Open(configuration.name, SERVICE_STOP | SERVICE_QUERY_STATUS);
  if (!service) return GetLastError();
  SERVICE_STATUS status{};
  running = QueryServiceStatus(service.get(), &status) && status.dwCurrentState != SERVICE_STOPPED;
  return StopAndWait(service.get(), StopLimit(configuration));
}

uint32_t UninstallService(const Configuration& configuration) {
  const UniqueService service =
      Open(configuration.name, DELETE | SERVICE_STOP | SERVICE_QUERY_STATUS);
  if (!service) return GetLastError();
  if (const uint32_t status = StopAndWait(service.get(), StopLimit(configuration)); status != 0)
    return status;
  return DeleteService(service.get()) ? 0 : GetLastError();
}

}  // namespace host
