// TsrConsole.exe: shows the person at the machine who is connected and what happened.

#include "host/common/host_presence.h"
#include "host/console/command_line.h"
#include "host/console/console_process.h"
#include "host/console/parent_console.h"
#include "host/console/single_instance.h"
#include "host/console/verify.h"
#include "host/console/watch.h"
#include "host/console/window/window.h"
#include "host/service/configuration.h"
#include "host/service/report.h"
#include "host/service/stop_signal.h"
#include "module/frame/windows.h"

#include <shellapi.h>

namespace {

using host::console::CommandLine;
using host::console::TellError;

// Not 1, which says of a history that it was changed.
constexpr int kWrongUse = 2;

bool PrintLine(const std::string& line) {
  DWORD written = 0;
  return WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(line.size()),
                   &written, /*overlapped=*/nullptr) != 0;
}

int Quit(host::console::SingleInstance& instance) {
  uint32_t status = 0;
  const bool was_there = instance.Quit(status);
  if (status != 0) {
    host::ReportError(L"The console does not end: " + host::DescribeCode(status));
    return 1;
  }
  host::ReportProgress(was_there ? L"The console has ended" : L"No console was running");
  return 0;
}

int Run(int count, const wchar_t* const* arguments) {
  const auto command_line = host::console::ParseCommandLine(count, arguments);
  if (!command_line) {
    TellError(host::console::kHelp);
    return kWrongUse;
  }
  if (command_line->verb == CommandLine::Verb::kHelp) {
    host::ReportProgress(host::console::kHelp);
    return 0;
  }
  if (!command_line->history.empty()) return host::console::TellVerification(command_line->history);
  static host::Configuration configuration;
  host::ConfigurationProblem problem;
  if (!host::ReadConfiguration(command_line->configuration, configuration, problem)) {
    TellError(host::DescribeProblem(command_line->configuration, problem.line, problem.text,
                                    problem.code));
    return command_line->verb == CommandLine::Verb::kVerifyHistory ? 2 : 1;
  }
  if (command_line->verb == CommandLine::Verb::kVerifyHistory) {
    return host::console::TellVerification(configuration.history);
  }
  SetEnvironmentVariableW(host::kConfigurationFolderVariable, configuration.folder.c_str());
  if (!configuration.instance.empty()) {
    SetEnvironmentVariableW(host::kInstanceVariable, configuration.instance.c_str());
  }
  if (command_line->verb == CommandLine::Verb::kWatch) {
    host::CatchConsoleStop();
    auto* const process = new host::console::ConsoleProcess(configuration, command_line->language);
    if (!process->Start(/*log=*/false)) process->End(1);
    process->Run([](host::console::IConsoleState& state) {
      host::console::Watch(state, host::StopSignal(), PrintLine);
      return 0;
    });
  }

  static host::console::SingleInstance instance;
  if (const uint32_t status = instance.Open(configuration.file); status != 0) {
    host::ReportError(L"The console of this user cannot be reached: " + host::DescribeCode(status));
    return 1;
  }
  if (command_line->verb == CommandLine::Verb::kQuit) return Quit(instance);
  if (!instance.Claim()) {
    if (!command_line->tray) instance.Show();
    return 0;
  }
  const host::console::WindowOptions options{
      .start_hidden = command_line->tray, .show = instance.show(), .quit = instance.quit()};
  auto* const process = new host::console::ConsoleProcess(configuration, command_line->language);
  if (!process->Start(/*log=*/true)) {
    TellError(L"The console cannot be started. Its log says why: " + configuration.data + L"\\log");
    process->End(1);
  }
  process->Run([&](host::console::IConsoleState& state) {
    return host::console::RunWindow(state, options);
  });
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int) {
  host::console::AttachToParentConsole();
  int count = 0;
  wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  return Run(count, arguments);
}
