#pragma once

#include <optional>
#include <string>

namespace host::console {

struct CommandLine {
  enum class Verb {
    kWindow,         // Shows the window, or brings the one forward that is there.
    kWatch,          // /watch
    kVerifyHistory,  // /verify-history
    kQuit,           // /quit
    kHelp,           // /help
  };
  Verb verb = Verb::kWindow;
  bool tray = false;           // /tray: only the icon at first.
  std::wstring configuration;  // The full path.
  std::wstring language;       // /language CODE; empty for the user's choice.
  std::wstring history;  // /verify-history FILE: the full path; empty for the configuration's.
};

// Reads what kHelp tells, in any order, letters in any case. Nothing for anything else.
std::optional<CommandLine> ParseCommandLine(int count, const wchar_t* const* arguments);

// How the program is used.
extern const wchar_t* const kHelp;

}  // namespace host::console
