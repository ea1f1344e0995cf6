#pragma once

#include <cstdint>

#include "module/frame/string.h"

namespace orn {

// Hash of the ids of jobs and runs, for unordered containers: djb2 over the UTF-16 units up to the
// first zero.
struct IdHash {
  size_t operator()(const StringT<wchar_t>& id) const noexcept {
    uint64_t hash = 5381;
    for (const wchar_t* unit = id.c_str(); *unit != L'\0'; ++unit)
      hash = hash * 33 + *unit;
    return hash;
  }
};

}  // namespace orn
