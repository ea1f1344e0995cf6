#pragma once

#include <cstdint>
#include <map>
#include <mutex>

#include "module/frame/turnstile.h"

// A reader-writer lock that is held in the name of a thread. The order of the operations is binary
// contract.
struct ISyncRWLock {
  // A `threadId` of 0 means the calling thread.
  virtual void LockRead(uint32_t threadId) = 0;
  virtual void UnlockRead(uint32_t threadId) = 0;
  virtual void LockWrite(uint32_t threadId) = 0;
  virtual void UnlockWrite(uint32_t threadId) = 0;

 protected:
  ~ISyncRWLock() = default;
};

// Re-entrant for readers and for the writer, who may also read; prefers writers: a new reader
// queues behind a waiting writer, a thread that reads already does not. Any thread.
//
// Misuse is a program error and ends the process: asking to write while reading, or unlocking what
// that thread does not hold.
class CSyncRWLock : public ISyncRWLock {
 public:
  CSyncRWLock() = default;
  CSyncRWLock(const CSyncRWLock&) = delete;
  CSyncRWLock& operator=(const CSyncRWLock&) = delete;

  void LockRead(uint32_t threadId) override;
  void UnlockRead(uint32_t threadId) override;
  void LockWrite(uint32_t threadId) override;
  // The writer's role ends when its read and write locks are both given back, in either order.
  void UnlockWrite(uint32_t threadId) override;

 private:
  void HandOverToWriterLocked();
  void ReleaseWriterRoleLocked();

  std::mutex mutex_;
  // Guarded by mutex_, which nobody holds while asleep.
  orn::Turnstile reader_queue_;
  orn::Turnstile writer_queue_;
  uint32_t waiting_readers_ = 0;
  uint32_t waiting_writers_ = 0;
  // Whoever wakes a sleeper has counted it as active already.
  uint32_t active_readers_ = 0;
  uint32_t active_writers_ = 0;
  uint32_t writer_thread_ = 0;
  uint32_t writer_read_count_ = 0;
  uint32_t writer_write_count_ = 0;
  std::map<uint32_t, uint32_t> readers_;  // Thread to depth.
};
