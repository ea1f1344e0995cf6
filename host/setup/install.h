#pragma once

#include "host/setup/setup_log.h"
#include "host/setup/setup_options.h"

namespace host::setup {

// Installs the package that this program belongs to, or upgrades what is installed. A failure takes
// back what was done: an upgrade leaves the version of before, running again.
ExitCode Install(const SetupOptions& options, SetupLog& log);

}  // namespace host::setup
