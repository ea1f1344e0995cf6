#pragma once

#include <algorithm>
#include <cstdint>

#include "module/frame/windows.h"

namespace host::log {

// How deep each thread is in traced functions. A slot of the system and no thread_local: the
// compiler's runtime would call into this library when a thread ends, also after the library was
// unloaded.
class ThreadDepth {
 public:
  ThreadDepth() : slot_(TlsAlloc()) {}
  ~ThreadDepth() { TlsFree(slot_); }
  ThreadDepth(const ThreadDepth&) = delete;
  ThreadDepth& operator=(const ThreadDepth&) = delete;

  // Applies `change`, 1 on entry, 0xFFFF on exit, and gives the depth at which the line stands: an
  // entry and its exit stand equally deep. A thread that left more than it entered is at 0.
  uint32_t Change(uint16_t change) {
    const auto depth = static_cast<int32_t>(reinterpret_cast<intptr_t>(TlsGetValue(slot_)));
    const int32_t changed = std::max(depth + static_cast<int16_t>(change), 0);
    if (changed != depth) {
      TlsSetValue(slot_, reinterpret_cast<void*>(static_cast<intptr_t>(changed)));
    }
    return static_cast<uint32_t>(std::min(depth, changed));
  }

 private:
  const DWORD slot_;
};

}  // namespace host::log
