#pragma once

#include <cstdint>
#include <string>

#include "module/frame/handle.h"

namespace host::console {

// The one console window of this user in this Windows session, for a configuration. Others of the
// user reach it by the events; another user at the same machine has one of his own.
class SingleInstance {
 public:
  // `configuration` is the full path. A status: 0, or why the objects cannot be had.
  uint32_t Open(const std::wstring& configuration);

  // This process is the one until it ends; the thread must live as long. False where there is one.
  bool Claim();
  // Brings the one that is there forward.
  void Show();
  // Has it end, and waits for that. False where there is none. 1460 in `status` where it does not
  // end in time.
  bool Quit(uint32_t& status);

  // Auto-reset. Not owned by the caller.
  HANDLE show() const { return show_.get(); }
  HANDLE quit() const { return quit_.get(); }

 private:
  orn::UniqueHandle claim_;  // A mutex.
  orn::UniqueHandle show_;
  orn::UniqueHandle quit_;
};

}  // namespace host::console
