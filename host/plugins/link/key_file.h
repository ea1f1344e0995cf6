#pragma once

#include <optional>
#include <string>

namespace host::link {

// The enrolment key or other secret in a file: one word of printable ASCII, without the white space
// around it. Nothing where the file cannot be read, holds anything else or has 1 KiB or more.
std::optional<std::wstring> ReadKeyFile(const std::wstring& path);

}  // namespace host::link
