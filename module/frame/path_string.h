#pragma once

#include <cstddef>

#include "module/frame/string.h"

namespace orn {

// A wide string with room for `kInside` characters in the object itself; a longer text moves to the
// heap, so paths over MAX_PATH work. It points into itself: it may be copied, never moved by bytes.
template <size_t kInside>
class PathStringT : public StringT<wchar_t> {
 public:
  PathStringT() noexcept { UseStorage(control_, block_, kInside); }
  PathStringT(const wchar_t* text) : PathStringT() { *this = text; }  // Implicit, as in the base.
  PathStringT(const StringT<wchar_t>& text) : PathStringT() { *this = text; }
  explicit PathStringT(std::wstring_view text) : PathStringT() { *this = text; }
  PathStringT(const PathStringT& other) : PathStringT() { *this = other; }
  ~PathStringT() { Release(); }  // Before the storage goes.

  PathStringT& operator=(const PathStringT& other) {
    StringT<wchar_t>::operator=(other);
    return *this;
  }
  using StringT<wchar_t>::operator=;

 private:
  detail::StringControl control_;
  alignas(8) std::byte block_[detail::StringBlockSize<wchar_t>(kInside)];
};

}  // namespace orn
