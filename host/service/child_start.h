#pragma once

#include <cstdint>
#include <string>

#include "module/frame/handle.h"

namespace host {

struct ChildStart {
  std::wstring command_line;
  HANDLE job = nullptr;    // Not owned. The process is in it before it runs.
  HANDLE token = nullptr;  // Not owned. Null: this process's own rights.
};

// A job object that ends every process in it with its last handle. Null on failure, with
// GetLastError.
orn::UniqueHandle CreateKillOnCloseJob();

// Starts a process without a window of its own, which inherits the standard streams and nothing
// else. Being apart from the starter's console it is not asked to stop by that one's Ctrl-C.
// Returns a status.
uint32_t StartChild(const ChildStart& start, orn::UniqueHandle& process);

}  // namespace host
