#pragma once

#include <string_view>

namespace host::storage {

// Whether files in a storage may have that name (UTF-8): it is one name, of a file on any system,
// and cannot lead anywhere else.
bool IsStorageName(std::string_view name);

}  // namespace host::storage
