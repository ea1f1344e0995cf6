#pragma once

#include <cstdint>
#include <string>

#include "host/setup/setup_log.h"

namespace host::setup {

// Removes what the console keeps of each user: his folder, and his settings if he is signed in,
// whose registry is there only then. False where something is left, which is told.
bool RemoveUserTraces(SetupLog& log);

// Removes a folder, with all that is in it, in which somebody with fewer rights may write and may
// put links while this goes on: each folder is held so that nobody can move it, no link is
// followed, and a folder that is reached by one is refused with 1921. A status, 0
// also where there is none.
uint32_t RemoveForeignFolder(const std::wstring& folder);

}  // namespace host::setup
