#pragma once

#include <condition_variable>
#include <mutex>

// A counting semaphore for tests. That of libstdc++ is no use here: without futexes all semaphores
// sleep in a few shared condition variables, where waking one thread may wake that of another
// semaphore instead.
class Semaphore {
 public:
  void Release(int count = 1) {
    const std::lock_guard lock(mutex_);
    count_ += count;
    released_.notify_all();
  }

  void Acquire() {
    std::unique_lock lock(mutex_);
    released_.wait(lock, [&] { return count_ > 0; });
    --count_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable released_;
  int count_ = 0;
};

// Holds up who enters until the test lets him go on.
class Gate {
 public:
  void Enter() {
    entered_.Release();
    open_.Acquire();
  }
  void WaitForEntry() { entered_.Acquire(); }
  void Open(int count = 1) { open_.Release(count); }

 private:
  Semaphore entered_;
  Semaphore open_;
};
