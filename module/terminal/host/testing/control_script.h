#pragma once

#include <string>
#include <vector>

#include "module/platform/service_control.h"

// What the control object of the test library answers and what it was asked, shared with the test
// through the library's export "GetControlScript".
struct ControlScript {
  bool serves_control = true;
  std::vector<uint32_t> running;  // answers of IsRunning in turn; the last one stays
  uint32_t register_result = 0;
  std::vector<uint32_t> states_to_tell;  // told from within Register

  std::wstring name;  // of the object made last
  std::vector<uint32_t> stop_timeouts;
  int observers = 0;
};

inline constexpr uint32_t kStopResult = 77;

using GetControlScriptFunction = ControlScript* (*)();
