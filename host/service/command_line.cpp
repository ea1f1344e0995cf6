#include "host/service/command_line.h"

#include <wchar.h>

#include <algorithm>
#include <iterator>

#include "host/common/file_path.h"
#include "host/service/configuration.h"

namespace host {

namespace {

struct NamedVerb {
  const wchar_t* name;
  CommandLine::Verb verb;
};

constexpr NamedVerb kVerbs[] = {
    {L"/process", CommandLine::Verb::kRun},     {L"/stop", CommandLine::Verb::kStop},
    {L"/install", CommandLine::Verb::kInstall}, {L"/uninstall", CommandLine::Verb::kUninstall},
    {L"/service", CommandLine::Verb::kService}, {L"/help", CommandLine::Verb::kHelp},
    {L"/?", CommandLine::Verb::kHelp},          {L"--help", CommandLine::Verb::kHelp},
};

}  // namespace

const wchar_t* const kUsage =
    L"TsrSecurityService runs the plug-ins of a configuration as one process of the agent.\n"
    L"\n"
    L"usage: TsrSecurityService /process   [/config FILE]   runs the host in the foreground, "
    L"until\n"
    L"                                                      Ctrl-C or /stop\n"
    L"       TsrSecurityService /stop      [/config FILE]   stops the host that FILE describes "
    L"and\n"
    L"                                                      waits for its end\n"
    L"       TsrSecurityService /install   [/config FILE]   makes a Windows service of it\n"
    L"       TsrSecurityService /uninstall [/config FILE]   stops and removes that service\n"
    L"       TsrSecurityService /help                       tells this\n"
    L"\n"
    L"FILE is looked up in the folder that ORN_TSR_CONFIG names, then beside the program, unless\n"
    L"it is a path; at first it is the program's name with \".xml\".\n"
    L"\n"
    L"exit codes: 0 done, or stopped in order; 1 failed, with the reason on the standard error\n"
    L"stream and in the log.";

std::optional<CommandLine> ParseCommandLine(int count, const wchar_t* const* arguments) {
  std::optional<CommandLine::Verb> verb;
  bool restricted = false;
  std::wstring configuration;
  for (int i = 1; i < count; ++i) {
    const auto is = [&](const wchar_t* text) { return _wcsicmp(arguments[i], text) == 0; };
    const auto named = std::ranges::find_if(kVerbs, is, &NamedVerb::name);
    if (named != std::end(kVerbs) && !verb) {
      verb = named->verb;
    } else if (is(L"/restricted")) {
      restricted = true;
    } else if (is(L"/config") && configuration.empty() && i + 1 < count && *arguments[i + 1] != 0) {
      configuration = arguments[++i];
    } else {
      return std::nullopt;
    }
  }
  if (!verb) return std::nullopt;
  return CommandLine{.verb = *verb,
                     .restricted = restricted,
                     .configuration = configuration.empty() ? ProgramPath() + L".xml"
                                                            : FindConfiguration(configuration)};
}

}  // namespace host
