#pragma once

#include <string>

#include "host/setup/setup_log.h"

namespace host::setup {

// Ends every process, of all users, whose program lies in `folder`, at any depth, but for this one:
// each is asked to quit, as Windows asks when it shuts down, and ended after a few seconds. False
// where one could not be ended.
bool EndProgramsIn(const std::wstring& folder, SetupLog& log);

}  // namespace host::setup
