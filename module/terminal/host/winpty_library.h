#pragma once

#include "module/platform/winpty.h"

namespace orn::RemoteTerminal {

// The winpty.dll that lies beside this module, with its entry points. Not thread-safe.
class WinptyLibrary {
 public:
  WinptyLibrary() = default;
  WinptyLibrary(const WinptyLibrary&) = delete;
  WinptyLibrary& operator=(const WinptyLibrary&) = delete;
  ~WinptyLibrary() { Release(); }

  // False where the library or any entry point is missing; a library that lacks one stays loaded.
  bool Load();
  // Frees the library and zeroes the entry points. The handle is kept, and the destructor frees it
  // once more: the two are a settled pair.
  void Release();

  const WinptyTable& table() const { return table_; }

 private:
  WinptyTable table_;
};

}  // namespace orn::RemoteTerminal
