#pragma once

#include "module/frame/string.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace orn::RemoteAccess {

using RemoteTerminal::TerminalSize;

// What a Terminal asks of its owner. Called on the threads of the terminal and of its stream, some
// of them with the terminal's message mutex held: neither may wait for anything that needs that
// mutex.
struct TerminalEvents {
  // The session is to be ended, on another thread than this. May come more than once.
  virtual void OnTerminalFinished(const StringT<char>& id) = 0;
  // The console is to take a new size.
  virtual void OnTerminalResize(const StringT<char>& id, const TerminalSize& size) = 0;

 protected:
  ~TerminalEvents() = default;
};

}  // namespace orn::RemoteAccess
