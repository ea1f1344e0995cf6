// TsrSecurityService.exe: runs the plug-ins of its configuration as one host.

#include <optional>

#include "host/common/file_path.h"
#include "host/common/host_presence.h"
#include "host/service/command_line.h"
#include "host/service/configuration.h"
#include "host/service/host_process.h"
#include "host/service/low_rights.h"
#include "host/service/report.h"
#include "host/service/service_install.h"
#include "host/service/stop_signal.h"
#include "host/service/windows_service.h"

namespace {

// Asks the host of this name to stop and waits for the end of its process.
int StopHost(const host::Configuration& configuration) {
  host::HostPresence presence;
  bool running = false;
  uint32_t status = presence.Open(configuration.name);
  if (status == 0) status = presence.RequestStop(running);
  if (status != 0) {
    host::ReportError(L"Host " + configuration.name + L" cannot be stopped: " +
                      host::DescribeCode(status));
    return 1;
  }
  // It ends by itself when its own limit for that is over.
  if (running) WaitForSingleObject(presence.life(), INFINITE);
  host::ReportProgress(L"Host " + configuration.name +
                       (running ? L" has stopped" : L" was not running"));
  return 0;
}

int Tell(const host::Configuration& configuration, uint32_t status, const wchar_t* done,
         const wchar_t* failed) {
  const std::wstring service = L"Service " + configuration.name;
  if (status == 0) {
    host::ReportProgress(service + done);
  } else {
    host::ReportError(service + failed + host::DescribeCode(status));
  }
  return status == 0 ? 0 : 1;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const auto command_line = host::ParseCommandLine(count, arguments);
  if (!command_line) {
    host::ReportError(host::kUsage);
    return 1;
  }
  if (command_line->verb == host::CommandLine::Verb::kHelp) {
    host::ReportProgress(host::kUsage);
    return 0;
  }
  static host::Configuration configuration;
  host::ConfigurationProblem problem;
  if (!host::ReadConfiguration(command_line->configuration, configuration, problem)) {
    host::ReportError(host::DescribeProblem(command_line->configuration, problem.line, problem.text,
                                            problem.code));
    return 1;
  }
  SetEnvironmentVariableW(host::kConfigurationFolderVariable, configuration.folder.c_str());
  if (!configuration.instance.empty()) {
    SetEnvironmentVariableW(host::kInstanceVariable, configuration.instance.c_str());
  }
  switch (command_line->verb) {
    case host::CommandLine::Verb::kStop:
      return StopHost(configuration);
    case host::CommandLine::Verb::kInstall:
      return Tell(configuration, host::InstallService(configuration, host::ProgramPath()),
                  L" is installed", L" cannot be installed: ");
    case host::CommandLine::Verb::kUninstall:
      return Tell(configuration, host::UninstallService(configuration), L" is removed",
                  L" cannot be removed: ");
    case host::CommandLine::Verb::kService:
      return Tell(configuration, host::WindowsService::Run(configuration), L"",
                  L" is run by Windows alone: ");
    case host::CommandLine::Verb::kHelp:
    case host::CommandLine::Verb::kRun:
      break;
  }

  host::CatchConsoleStop();
  if (configuration.low_rights && !command_line->restricted) {
    return host::RunWithLowRights(configuration);
  }
  if (configuration.low_rights && !host::HasLowRights()) {
    host::ReportError(command_line->configuration + L": the process has more than low rights");
    return 1;
  }
  (new host::HostProcess(configuration))->Run();
}
