#pragma once

#include <cstddef>
#include <vector>

#include "module/frame/handle.h"

// What this process holds, for tests that nothing is left over. (GetProcessHandleCount would say 0
// under Wine.)
size_t CountHandles();
size_t CountThreads();
// The processes that this one has started, and those that they have, to wait for their end.
std::vector<orn::UniqueHandle> Descendants();
