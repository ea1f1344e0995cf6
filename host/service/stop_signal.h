#pragma once

#include "module/frame/windows.h"

namespace host {

// Has the console's Ctrl-C, Ctrl-Break and closing ask for an orderly stop instead of ending the
// process. A second Ctrl-C ends it at once, with exit code 1.
void CatchConsoleStop();

// The manual-reset event that they set. Not owned by the caller.
HANDLE StopSignal();

}  // namespace host
