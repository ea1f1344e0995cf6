#pragma once

#include "module/frame/string.h"

namespace orn {

// The text of a new GUID: 36 lower-case characters, 8-4-4-4-12, no braces. The last two groups come
// from eight bytes read as one little-endian number, so they are reversed against the usual text
// form; nothing parses them back. Empty on failure.
StringT<wchar_t> GenerateGuid();

}  // namespace orn
