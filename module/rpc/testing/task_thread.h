#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace messaging::testing {

// Runs tasks one at a time and in order. What is left at the end does not run.
class task_thread {
 public:
  task_thread() : thread_([this] { run(); }) {}
  task_thread(const task_thread&) = delete;
  task_thread& operator=(const task_thread&) = delete;
  ~task_thread() { stop(); }

  void post(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    changed_.notify_all();
  }

  // While paused, tasks wait; the one that runs goes on.
  void pause(bool paused) {
    const std::lock_guard lock(mutex_);
    paused_ = paused;
    changed_.notify_all();
  }

  void stop() {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
      changed_.notify_all();
    }
    if (thread_.joinable()) thread_.join();
  }

 private:
  void run() {
    std::unique_lock lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return stopping_ || (!paused_ && !tasks_.empty()); });
      if (stopping_) return;
      std::function<void()> task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      task();
      task = nullptr;
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by mutex_.
  std::deque<std::function<void()>> tasks_;
  bool paused_ = false;
  bool stopping_ = false;

  std::thread thread_;  // Last: it uses what stands above.
};

}  // namespace messaging::testing
