#pragma once

#include <cstdint>

#include "module/frame/string.h"

namespace orn {

// Hash of the ids of jobs, runs and terminals, for unordered containers: djb2 over the UTF-16
// units, or over the bytes as signed values, up to the first zero.
struct IdHash {
  size_t operator()(const StringT<wchar_t>& id) const noexcept { return Hash<wchar_t>(id.c_str()); }
  size_t operator()(const StringT<char>& id) const noexcept {
    return Hash<signed char>(id.c_str());
  }

 private:
  template <class Unit, class CharT>
  static size_t Hash(const CharT* id) noexcept {
    uint64_t hash = 5381;
    for (; *id != CharT{}; ++id)
      hash = hash * 33 + static_cast<uint64_t>(static_cast<Unit>(*id));
    return hash;
  }
};

}  // namespace orn
