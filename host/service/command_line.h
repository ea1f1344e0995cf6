#pragma once

#include <optional>
#include <string>

namespace host {

struct CommandLine {
  enum class Verb {
    kRun,        // /process: runs the host in the foreground, to its end
    kStop,       // /stop: asks the host of this configuration to stop and waits for its end
    kInstall,    // /install: makes a Windows service of it
    kUninstall,  // /uninstall: stops and removes that service
    kService,    // /service: runs the host as a service; Windows' service manager says so
    kHelp,       // /help: tells how the program is used
  };
  Verb verb = Verb::kRun;
  bool restricted = false;  // /restricted: the process has its low rights already (low_rights.h).
  std::wstring configuration;  // The full path.
};

// Reads `VERB [/config FILE]`, in any order, letters in any case.
// FILE is one of FindConfiguration; without /config it is the program's own path followed by
// ".xml". Nothing for anything else.
std::optional<CommandLine> ParseCommandLine(int count, const wchar_t* const* arguments);

// How the program is used.
extern const wchar_t* const kUsage;

}  // namespace host
