#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "module/frame/log_reference.h"
#include "module/frame/windows.h"

namespace host {

// The host program's use of the log library beside it. Whatever else logs in this process then
// finds the library loaded and set up.
class LogSession {
 public:
  LogSession() = default;
  LogSession(const LogSession&) = delete;
  LogSession& operator=(const LogSession&) = delete;

  // Loads the library and has it follow the <log> element of `configuration_file`, also through
  // later changes. Returns a status: 0, or why there is no log.
  uint32_t Start(const std::wstring& configuration_file);
  // Writes out what is held back; the last thing before the process ends.
  void End();

 private:
  HMODULE library_ = nullptr;  // Never unloaded.
  std::optional<logging::LogReference> reference_;
};

}  // namespace host
