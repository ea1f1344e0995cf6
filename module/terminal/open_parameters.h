#pragma once

#include <cstdint>
#include <string>

#include "module/terminal/terminal_events.h"

namespace orn::RemoteAccess {

// The parameters of "OpenTerminal".
struct OpenParameters {
  std::string stream_id;
  TerminalSize size{.cols = 80, .rows = 24};
  uint32_t inactivity_timeout = 300;  // seconds
};

// False where the text is no JSON. What is there but no number counts as missing.
bool ReadOpenParameters(const std::string& text, OpenParameters& parameters);

}  // namespace orn::RemoteAccess
