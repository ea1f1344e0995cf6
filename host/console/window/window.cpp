#include "host/console/window/window.h"

namespace host::console {

int RunWindow(IConsoleState& /*state*/, const WindowOptions& options) {
  WaitForSingleObject(options.quit, INFINITE);
  return 0;
}

}  // namespace host::console
