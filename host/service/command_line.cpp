#include "host/service/command_line.h"

#include <wchar.h>

#include "host/common/file_path.h"
#include "host/service/configuration.h"

namespace host {

const wchar_t* const kUsage =
    L"usage: TsrSecurityService /process [/config FILE]   runs the host in the foreground\n"
    L"       TsrSecurityService /stop    [/config FILE]   stops the host that FILE describes\n"
    L"FILE is looked up in the folder that ORN_TSR_CONFIG names, then beside the program, unless "
    L"it "
    L"is a path; at first it is the program's name with \".xml\".";

std::optional<CommandLine> ParseCommandLine(int count, const wchar_t* const* arguments) {
  std::optional<CommandLine::Verb> verb;
  bool restricted = false;
  std::wstring configuration;
  for (int i = 1; i < count; ++i) {
    const auto is = [&](const wchar_t* text) { return _wcsicmp(arguments[i], text) == 0; };
    if (is(L"/process") && !verb) {
      verb = CommandLine::Verb::kRun;
    } else if (is(L"/stop") && !verb) {
      verb = CommandLine::Verb::kStop;
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
