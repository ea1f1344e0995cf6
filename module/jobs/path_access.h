#pragma once

#include <cstdint>

#include "module/frame/path_string.h"

namespace orn::RemoteAccess {

inline constexpr uint32_t kReadAccess = 1;   // FILE_READ_DATA
inline constexpr uint32_t kWriteAccess = 2;  // FILE_WRITE_DATA

// Whether this process may read from or write to the file or folder itself, by the permissions on
// it. Of a folder it says nothing about what is in it. False also where they cannot be read. Any
// thread.
bool CheckPathAccess(const PathStringT<260>& path, uint32_t access);

}  // namespace orn::RemoteAccess
