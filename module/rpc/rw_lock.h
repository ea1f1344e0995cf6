#pragma once

#include "module/frame/sync_rw_lock.h"

namespace messaging::rpc {

// CSyncRWLock for std::shared_lock and std::unique_lock. A writer waits for those that read, not
// for those that come after it.
class rw_lock {
 public:
  rw_lock() = default;
  rw_lock(const rw_lock&) = delete;
  rw_lock& operator=(const rw_lock&) = delete;

  void lock() { lock_.LockWrite(0); }
  void unlock() { lock_.UnlockWrite(0); }
  void lock_shared() { lock_.LockRead(0); }
  void unlock_shared() { lock_.UnlockRead(0); }

 private:
  CSyncRWLock lock_;
};

}  // namespace messaging::rpc
