// TsrSetup.exe: installs, upgrades and removes the agent.

#include "module/frame/windows.h"

#include <shellapi.h>

#include "host/common/file_path.h"
#include "host/common/security.h"
#include "host/service/report.h"
#include "host/setup/install.h"
#include "host/setup/setup_log.h"
#include "host/setup/setup_options.h"
#include "host/setup/uninstall.h"

namespace {

using host::setup::ExitCode;
using host::setup::SetupOptions;

// Starts the removal anew, as whom the user allows. It is not waited for: it removes this program.
bool StartElevated(const SetupOptions& options) {
  SHELLEXECUTEINFOW start{};
  start.cbSize = sizeof(start);
  start.lpVerb = L"runas";
  const std::wstring program = host::ProgramPath();
  start.lpFile = program.c_str();
  start.lpParameters = options.keep_data ? L"uninstall /keep-data" : L"uninstall";
  start.nShow = SW_SHOWNORMAL;
  return ShellExecuteExW(&start);
}

ExitCode Run(const SetupOptions& options, host::setup::SetupLog& log) {
  if (!host::IsAdministrator()) {
    if (options.elevate && StartElevated(options)) return ExitCode::kDone;
    log.Fail(
        L"This needs an administrator: start it from a command prompt that was opened with "
        L"\"Run as administrator\"");
    return ExitCode::kNoRights;
  }
  // Nobody else can hold it up.
  host::SecurityDescriptor access(L"D:(A;;GA;;;BA)");
  const orn::UniqueHandle one(
      CreateMutexW(access.attributes(), /*initialOwner=*/FALSE, L"Global\\TessaroSetup"));
  const DWORD wait = one ? WaitForSingleObject(one.get(), 0) : WAIT_FAILED;
  if (wait != WAIT_OBJECT_0 && wait != WAIT_ABANDONED) {
    log.Fail(L"Another set-up is at work");
    return ExitCode::kBusy;
  }
  return options.verb == SetupOptions::Verb::kInstall ? Install(options, log)
                                                      : Uninstall(options, log);
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  SetupOptions options;
  std::wstring problem;
  if (!host::setup::ParseOptions(count, arguments, options, problem)) {
    host::ReportError(problem + L"\n\n" + host::setup::kUsage);
    return static_cast<int>(ExitCode::kBadArguments);
  }
  if (options.verb == SetupOptions::Verb::kHelp) {
    host::ReportProgress(host::setup::kUsage);
    return 0;
  }
  host::setup::SetupLog log;
  const ExitCode code = Run(options, log);
  log.Note(L"Exit code " + std::to_wstring(static_cast<int>(code)));
  if (code != ExitCode::kDone && !log.file().empty())
    host::ReportError(L"What was done is in " + log.file());
  return static_cast<int>(code);
}
