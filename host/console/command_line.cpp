#include "host/console/command_line.h"

#include <wchar.h>

#include <utility>

#include "host/common/file_path.h"
#include "host/service/configuration.h"
#include "module/frame/windows.h"

namespace host::console {
namespace {

constexpr const wchar_t* kConfiguration = L"TsrConsole.exe.xml";

// Beside the program or in ORN_TSR_CONFIG, as for every host; else where it is installed.
std::wstring DefaultConfiguration() {
  std::wstring found = FindConfiguration(kConfiguration);
  if (GetFileAttributesW(found.c_str()) != INVALID_FILE_ATTRIBUTES) return found;
  return ConfiguredPath(L"", std::wstring(L"%ProgramData%\\Tessaro\\config\\") + kConfiguration);
}

}  // namespace

const wchar_t* const kHelp =
    L"usage: TsrConsole [/tray] [/language CODE] [/config FILE]\n"
    L"                  shows who is connected to this machine and what happened, in a window;\n"
    L"                  /tray: as an icon beside the clock at first\n"
    L"       TsrConsole /watch [/language CODE] [/config FILE]\n"
    L"                  prints the same as a line of JSON, and another one for each change\n"
    L"       TsrConsole /verify-history [FILE] [/config FILE]\n"
    L"                  tells whether the history is as it was written; exit code 0: it is,\n"
    L"                  1: a record was changed or removed, 2: that cannot be told\n"
    L"       TsrConsole /quit [/config FILE]\n"
    L"                  ends the window and the icon of this user\n"
    L"       TsrConsole /help\n"
    L"/language takes the language of that code, \"de\" for one, for this run and not the user's "
    L"choice.\n"
    L"The configuration FILE is looked up in the folder that ORN_TSR_CONFIG names, then beside the "
    L"program,\nunless it is a path; at first it is TsrConsole.exe.xml, which may also lie in\n"
    L"%ProgramData%\\Tessaro\\config.";

std::optional<CommandLine> ParseCommandLine(int count, const wchar_t* const* arguments) {
  using Verb = CommandLine::Verb;
  CommandLine line;
  bool has_verb = false;
  const auto verb = [&](Verb given) {
    line.verb = given;
    return !std::exchange(has_verb, true);
  };
  for (int i = 1; i < count; ++i) {
    const auto is = [&](const wchar_t* text) { return _wcsicmp(arguments[i], text) == 0; };
    const auto value = [&](std::wstring& into) {
      if (!into.empty() || i + 1 >= count || *arguments[i + 1] == 0) return false;
      into = arguments[++i];
      return true;
    };
    bool good = false;
    if (is(L"/help") || is(L"/?") || is(L"--help")) {
      good = verb(Verb::kHelp);
    } else if (is(L"/watch")) {
      good = verb(Verb::kWatch);
    } else if (is(L"/quit")) {
      good = verb(Verb::kQuit);
    } else if (is(L"/verify-history")) {
      good = verb(Verb::kVerifyHistory);
      if (i + 1 < count && *arguments[i + 1] != L'/')
        line.history = AbsolutePath(L".", arguments[++i]);
    } else if (is(L"/tray")) {
      good = !std::exchange(line.tray, true);
    } else if (is(L"/language")) {
      good = value(line.language);
    } else if (is(L"/config")) {
      good = value(line.configuration);
    }
    if (!good) return std::nullopt;
  }
  const bool shows = line.verb == Verb::kWindow || line.verb == Verb::kWatch;
  if ((line.tray && line.verb != Verb::kWindow) || (!line.language.empty() && !shows)) {
    return std::nullopt;
  }
  line.configuration =
      line.configuration.empty() ? DefaultConfiguration() : FindConfiguration(line.configuration);
  return line;
}

}  // namespace host::console
