#pragma once

#include <cstddef>

namespace orn {

// The environment variable that holds the machine's PATH while the service runs with one of its
// own.
inline constexpr const wchar_t* kOldPathVariable = L"ORN_TSR_OLD_PATH";

// Copies an environment block and replaces each entry "PATH=...", in any case, by "Path=" and
// `path`. All other entries stay as they are, in their order; a block without such an entry gets
// none. `replaced` says how many there were. An empty block gives a single zero.
//
// The result is given back with free(); null when memory is exhausted.
wchar_t* BuildBlockWithPath(const wchar_t* block, const wchar_t* path, size_t& replaced);

}  // namespace orn
