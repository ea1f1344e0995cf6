#include "host/service/command_line.h"

#include <wchar.h>

#include "host/common/file_path.h"

namespace host {
namespace {

std::wstring ConfigurationPath(const std::wstring& given) {
  const std::wstring program = ProgramPath();
  if (given.empty()) return program + L".xml";
  if (given.find_first_of(L"\\/:") == std::wstring::npos) return FolderOf(program) + L'\\' + given;
  return AbsolutePath(L".", given);
}

}  // namespace

const wchar_t* const kUsage =
    L"usage: TsrSecurityService /process [/config FILE]   runs the host in the foreground\n"
    L"       TsrSecurityService /stop    [/config FILE]   stops the host that FILE describes\n"
    L"FILE is looked up beside the program unless it is a path; at first it is the program's name "
    L"with \".xml\".";

std::optional<CommandLine> ParseCommandLine(int count, const wchar_t* const* arguments) {
  std::optional<CommandLine::Verb> verb;
  std::wstring configuration;
  for (int i = 1; i < count; ++i) {
    const auto is = [&](const wchar_t* text) { return _wcsicmp(arguments[i], text) == 0; };
    if (is(L"/process") && !verb) {
      verb = CommandLine::Verb::kRun;
    } else if (is(L"/stop") && !verb) {
      verb = CommandLine::Verb::kStop;
    } else if (is(L"/config") && configuration.empty() && i + 1 < count && *arguments[i + 1] != 0) {
      configuration = arguments[++i];
    } else {
      return std::nullopt;
    }
  }
  if (!verb) return std::nullopt;
  return CommandLine{.verb = *verb, .configuration = ConfigurationPath(configuration)};
}

}  // namespace host
