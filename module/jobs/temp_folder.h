#pragma once

#include "module/frame/path_string.h"

// Temporary folders: a root of a fixed name below the user's temporary folder, and in it one folder
// of a fresh name for each piece of work. `root` is the root's name, `function` the qualified name
// of the caller, under which failures are logged. Any thread.

namespace orn {

// The path of the root, whether it exists or not; empty on failure.
PathStringT<260> TempRootFolder(const wchar_t* root);

// Makes a folder in the root, and the root itself if need be. Empty on failure, which is logged.
PathStringT<260> GenerateTempFolder(const wchar_t* function, const wchar_t* root);

// Deletes the root with all that is in it.
void CleanupTempRootFolder(const wchar_t* function, const wchar_t* root);

}  // namespace orn
