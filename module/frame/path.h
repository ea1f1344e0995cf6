#pragma once

#include <string_view>

#include "module/frame/path_string.h"
#include "module/frame/string.h"

// Names of files and folders, and folders as a whole. Any thread.

namespace orn {

// Joins: exactly one separator stands between the two, whatever `left` ends in and `right` begins
// with. An empty `right` changes nothing; an empty `left` gets no separator. `right` must not lie
// in `left`.
void AppendPath(StringT<wchar_t>& left, std::wstring_view right);

// These end in a backslash. False, and the empty path, on failure.
bool GetTempFolder(PathStringT<260>& path);
// The folder of the DLL or program that this code is linked into. A name longer than what `path`
// has room for is a failure.
bool GetModuleFolder(PathStringT<260>& path);

// Sees to it that the path ends in a backslash; one of MAX_PATH characters or more stays as it is.
void AddBackslash(PathStringT<260>& path);

// Creates the folder and what is missing above it. True where the path exists, be it a file;
// otherwise GetLastError says why not.
bool CreateFolderRecursively(PathStringT<260>& path);

// Deletes a folder with all that is in it, read-only or not, and goes on after a failure. True when
// nothing is left; false also where there is no such folder. Of a link to a folder only the link
// goes.
bool DeleteFolderRecursively(PathStringT<260>& path);

// The shortest text for the same path, by its text alone: no "." and no "..", where a name stands
// before it, no doubled separators, `\\` for `/`. What names a share, a device or a volume at the
// beginning stays, as does a separator at the end; a path of which nothing would stay becomes ".".
// Nothing is above a root; an empty path stays empty.
void NormalizePath(StringT<wchar_t>& path);

}  // namespace orn
