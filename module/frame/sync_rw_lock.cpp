#include "module/frame/sync_rw_lock.h"

#include <atomic>
#include <exception>

#ifdef _WIN32
#include "module/frame/windows.h"
#endif

namespace {

uint32_t CurrentThreadId() {
#ifdef _WIN32
  return GetCurrentThreadId();
#else
  static std::atomic<uint32_t> last_id{0};
  thread_local const uint32_t id = ++last_id;
  return id;
#endif
}

uint32_t HolderOf(uint32_t threadId) {
  return threadId != 0 ? threadId : CurrentThreadId();
}

// A lock that is used wrongly guards nothing any more, and there is nobody to report it to.
void Require(bool condition) {
  if (!condition) std::terminate();
}

}  // namespace

void CSyncRWLock::LockRead(uint32_t threadId) {
  const uint32_t id = HolderOf(threadId);
  std::unique_lock lock(mutex_);
  if (active_readers_ > 0) {
    if (const auto reader = readers_.find(id); reader != readers_.end()) {
      ++reader->second;
      return;
    }
  }
  if (writer_thread_ == id) {
    ++writer_read_count_;
    return;
  }
  if (active_writers_ == 0 && waiting_writers_ == 0) {
    ++active_readers_;
  } else {
    ++waiting_readers_;
    reader_queue_.Wait(lock);
  }
  readers_[id] = 1;
}

void CSyncRWLock::UnlockRead(uint32_t threadId) {
  const uint32_t id = HolderOf(threadId);
  std::lock_guard lock(mutex_);
  if (active_readers_ > 0) {
    const auto reader = readers_.find(id);
    Require(reader != readers_.end());
    if (--reader->second > 0) return;
    readers_.erase(reader);
    if (--active_readers_ == 0 && waiting_writers_ > 0) HandOverToWriterLocked();
    return;
  }
  Require(active_writers_ > 0 && writer_thread_ == id && writer_read_count_ > 0);
  --writer_read_count_;
  ReleaseWriterRoleLocked();
}

void CSyncRWLock::LockWrite(uint32_t threadId) {
  const uint32_t id = HolderOf(threadId);
  std::unique_lock lock(mutex_);
  // A reader that asked to write would wait for itself.
  Require(active_readers_ == 0 || !readers_.contains(id));
  if (active_writers_ > 0 && writer_thread_ == id) {
    ++writer_write_count_;
    return;
  }
  if (active_readers_ == 0 && active_writers_ == 0) {
    ++active_writers_;
  } else {
    ++waiting_writers_;
    writer_queue_.Wait(lock);
  }
  writer_thread_ = id;
  writer_read_count_ = 0;
  writer_write_count_ = 1;
}

void CSyncRWLock::UnlockWrite(uint32_t threadId) {
  const uint32_t id = HolderOf(threadId);
  std::lock_guard lock(mutex_);
  Require(active_writers_ > 0 && writer_thread_ == id && writer_write_count_ > 0);
  --writer_write_count_;
  ReleaseWriterRoleLocked();
}

void CSyncRWLock::ReleaseWriterRoleLocked() {
  if (writer_read_count_ != 0 || writer_write_count_ != 0) return;
  writer_thread_ = 0;
  --active_writers_;
  if (waiting_writers_ > 0) {
    HandOverToWriterLocked();
  } else if (waiting_readers_ > 0) {
    active_readers_ = waiting_readers_;
    waiting_readers_ = 0;
    reader_queue_.Admit(active_readers_);
  }
}

void CSyncRWLock::HandOverToWriterLocked() {
  --waiting_writers_;
  ++active_writers_;
  writer_queue_.Admit(1);
}
