#pragma once

#include <string>

#include "module/frame/string.h"

namespace orn::RemoteAccess {

// The streams of the open terminals, for those who have something to tell there. Any thread.
struct ITerminalMessages {
  virtual bool IsTerminalAvailable(const StringT<char>& id) = 0;
  // Sends over the stream of a session; only logs where there is none.
  virtual void SendMessageOverStream(const StringT<char>& id, const std::string& type,
                                     const std::string& content) = 0;

 protected:
  ~ITerminalMessages() = default;
};

}  // namespace orn::RemoteAccess
