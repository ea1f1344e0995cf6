#pragma once

#include "module/frame/path_string.h"

namespace orn::RemoteAccess {

// Whether the path begins with that of the folder in which the agent is installed, in any case of
// letters: as text, so a folder beside it whose name only begins alike counts as inside. False
// where no such folder is known. Any thread.
bool IsInsideProductFolder(const PathStringT<260>& path);

}  // namespace orn::RemoteAccess
