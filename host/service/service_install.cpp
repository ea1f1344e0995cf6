#include "host/service/service_install.h"

#include <memory>

#include "host/common/file_path.h"
#include "host/service/report.h"
#include "module/frame/handle.h"

namespace host {
namespace {

struct CloseService {
  void operator()(SC_HANDLE handle) const { CloseServiceHandle(handle); }
};
using UniqueService = std::unique_ptr<SC_HANDLE__, CloseService>;

UniqueService OpenManager(DWORD access) {
  return UniqueService(OpenSCManagerW(/*machine=*/nullptr, /*database=*/nullptr, access));
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

uint32_t InstallService(const Configuration& configuration) {
  const UniqueService manager = OpenManager(SC_MANAGER_CREATE_SERVICE);
  if (!manager) return GetLastError();
  const std::wstring command_line =
      L"\"" + ProgramPath() + L"\" /service /config \"" + configuration.file + L"\"";
  const UniqueService service(CreateServiceW(
      manager.get(), configuration.name.c_str(), configuration.name.c_str(),
      SERVICE_CHANGE_CONFIG | SERVICE_START, SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START,
      SERVICE_ERROR_NORMAL, command_line.c_str(), /*group=*/nullptr, /*tag=*/nullptr,
      /*dependencies=*/nullptr, /*account=*/nullptr, /*password=*/nullptr));
  if (!service) return GetLastError();

  std::wstring text = L"Remote administration of this machine: shell, files, commands.";
  SERVICE_DESCRIPTIONW description = {.lpDescription = text.data()};
  ChangeServiceConfig2W(service.get(), SERVICE_CONFIG_DESCRIPTION, &description);
  // Windows alone would give ten seconds.
  SERVICE_PRESHUTDOWN_INFO limit = {.dwPreshutdownTimeout = configuration.stop_limit * 1000};
  ChangeServiceConfig2W(service.get(), SERVICE_CONFIG_PRESHUTDOWN_INFO, &limit);
  if (!RestartAfterFailures(service.get())) {
    ReportError(L"Service " + configuration.name + L" will not be started again after a failure: " +
                DescribeCode(GetLastError()));
  }
  return 0;
}

uint32_t UninstallService(const Configuration& configuration) {
  const UniqueService manager = OpenManager(SC_MANAGER_CONNECT);
  if (!manager) return GetLastError();
  const UniqueService service(OpenServiceW(manager.get(), configuration.name.c_str(),
                                           DELETE | SERVICE_STOP | SERVICE_QUERY_STATUS));
  if (!service) return GetLastError();
  const uint32_t limit = 1000 * (configuration.stop_limit + 5);
  if (const uint32_t status = StopAndWait(service.get(), limit); status != 0) return status;
  return DeleteService(service.get()) ? 0 : GetLastError();
}

}  // namespace host
