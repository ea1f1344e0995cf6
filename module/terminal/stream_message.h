#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "module/frame/base64.h"
#include "module/frame/json.h"
#include "module/terminal/terminal_events.h"

namespace orn::RemoteAccess {

// What a stream can ask of a terminal; terminal.h has the form.
struct StreamMessage {
  enum class Kind { kNone, kData, kResize, kStreamStop, kStreamError };

  Kind kind = Kind::kNone;
  std::vector<uint8_t> bytes;  // of kData
  TerminalSize size;           // of kResize
};

// Takes any text: what is no message is kNone, and what is missing in one is empty or 0.
StreamMessage ReadStreamMessage(const std::string& text, JsonReader& reader,
                                Base64ObjectImplementation& base64);

}  // namespace orn::RemoteAccess
