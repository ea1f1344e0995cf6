#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "module/frame/string.h"

namespace orn {

struct DirectoryEntry {
  std::wstring path;  // the folder's, with the entry's name behind
  uint64_t size = 0;  // as the folder lists it; of a regular file only
  bool is_regular_file = false;
  bool is_directory = false;
};

// Visits everything below a folder, at any depth, a folder before what is in it. Links to folders
// are visited and not entered; the folder itself may be one. Returns 0, also where `visit` has
// ended the walk by false, or the Windows code of the first folder that could not be read: that
// ends the walk too.
uint32_t WalkDirectory(const StringT<wchar_t>& folder,
                       const std::function<bool(const DirectoryEntry&)>& visit);

}  // namespace orn
