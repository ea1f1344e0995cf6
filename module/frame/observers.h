#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "module/frame/error_codes.h"
#include "module/frame/sync_rw_lock.h"

// A lock of type `Lock` under the name that events ask for.
template <class Lock>
class __Event_LockAdaptor : public Lock {};

// The subscribers of an object's events, in order of registration (event.h fires them):
//
//   SynchronyzedObjectContainer<IStateEvent*> observers_;
//   ...
//   return observers_.Add(observer);
//
// Any thread. A firing holds the read lock to its end, so Remove returns only when no call of the
// subscriber is under way. For the same reason a subscriber that calls Add or Remove on this list
// from inside its notification ends the process.
template <class Pointer>
class SynchronyzedObjectContainer;

template <class T>
class SynchronyzedObjectContainer<T*> : public __Event_LockAdaptor<CSyncRWLock> {
 public:
  // `subscriber` is not owned. Returns 0, or 1627 where it is there already.
  uint32_t Add(T* subscriber) {
    const WriteLock lock(*this);
    if (std::find(subscribers_.begin(), subscribers_.end(), subscriber) != subscribers_.end()) {
      return error::kFailed;
    }
    subscribers_.push_back(subscriber);
    return error::kSuccess;
  }

  // Returns 0, or 1627 where it is not there.
  uint32_t Remove(T* subscriber) {
    const WriteLock lock(*this);
    const auto found = std::find(subscribers_.begin(), subscribers_.end(), subscriber);
    if (found == subscribers_.end()) return error::kFailed;
    subscribers_.erase(found);
    return error::kSuccess;
  }

  // With this container's lock held.
  const std::vector<T*>& subscribers() const noexcept { return subscribers_; }

 private:
  class WriteLock {
   public:
    explicit WriteLock(CSyncRWLock& lock) : lock_(lock) { lock_.LockWrite(0); }
    ~WriteLock() { lock_.UnlockWrite(0); }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;

   private:
    CSyncRWLock& lock_;
  };

  std::vector<T*> subscribers_;
};
