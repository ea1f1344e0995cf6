#pragma once

#include "host/console/console_state.h"
#include "module/frame/windows.h"

namespace host::console {

struct WindowOptions {
  // Only the tray icon is shown at first. Where there is no tray the window starts minimised.
  bool start_hidden = false;
  // Auto-reset events that other threads and processes reach the window by. Not owned; either may
  // be null.
  //
  // Brings the window forward. A process that sets it for another one calls
  // AllowSetForegroundWindow(ASFW_ANY) first, or the system only lets the taskbar button flash.
  HANDLE show = nullptr;
  // Closes the window and its tray icon, as the menu's "Quit" does.
  HANDLE quit = nullptr;
};

// Shows what the state tells until the user or `options.quit` ends it: the open sessions, the
// history, a tray icon, and a notice when a session starts or ends. Runs the window on the calling
// thread and is the state's listener meanwhile. Returns the exit code of the program: 0, or 1 where
// no window can be made.
int RunWindow(IConsoleState& state, const WindowOptions& options);

}  // namespace host::console
