#pragma once

#include <cstddef>

// What this process holds, for tests that nothing is left over. (GetProcessHandleCount would say 0
// under Wine.)
size_t CountHandles();
size_t CountThreads();
// Processes started by this one that live.
size_t CountChildren();
