#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "module/frame/windows.h"

// A fixed number of threads for long waits; tasks start in the order in which they were posted. It
// runs from construction until Stop and cannot be started again.
class ThreadPool {
 public:
  explicit ThreadPool(size_t thread_count);
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;
  // Stops, unless that was done already.
  ~ThreadPool();

  // Any thread. Wakes the thread that went to sleep last. After Stop the task is kept and nothing
  // runs it.
  void Post(std::function<void()> task);

  // Returns when the tasks that run have ended, and with them the one that a thread was just being
  // woken for; those still queued never run. Not from a task, and by one thread at a time.
  void Stop();

  // Destroys the tasks that nobody has taken yet. Any thread.
  void DropQueued();

 private:
  void Work();
  // Called and returns with `tasks_lock` held on tasks_mutex_.
  void Sleep(std::unique_lock<std::mutex>& tasks_lock);

  std::vector<std::thread> workers_;  // Fixed after construction, until Stop joins them.
  std::atomic<int32_t> stopping_{0};

  std::mutex tasks_mutex_;
  std::deque<std::function<void()>> tasks_;  // Guarded by tasks_mutex_.

  // Taken after tasks_mutex_, if both.
  std::mutex sleepers_mutex_;
  std::vector<HANDLE> sleepers_;  // Guarded by sleepers_mutex_. Events of the threads asleep.
};
