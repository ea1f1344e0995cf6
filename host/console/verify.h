#pragma once

#include <string>

namespace host::console {

// Verifies the history at the full path `file` and tells the outcome in a sentence. The exit code
// of the program: 0 where it is as it was written, 1 where a record was changed or removed, 2 where
// it cannot be read.
int TellVerification(const std::wstring& file);

}  // namespace host::console
