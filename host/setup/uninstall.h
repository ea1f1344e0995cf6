#pragma once

#include "host/setup/setup_log.h"
#include "host/setup/setup_options.h"

namespace host::setup {

// Removes what is installed, and the data that an earlier removal has kept. Goes on after a failure
// and names what is left; it can be run again then.
//
// Where this program itself is one of the installed, it and its folder are removed by a command
// processor once it has ended, or, where that one cannot be started, by the next start of Windows.
ExitCode Uninstall(const SetupOptions& options, SetupLog& log);

}  // namespace host::setup
