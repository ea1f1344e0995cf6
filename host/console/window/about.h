#pragma once

#include <string>

namespace host::console {

// The version of the running program's file, as "1.0.0". Empty where it has none.
std::wstring ProgramVersion();

}  // namespace host::console
