// The threads and locks of the event queue service on the build machine's standard library.

#include "host/framework/worker_pool.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "host/common/sync.h"

using host::Clock;

struct TP_POOL {
  size_t most_threads = 0;
  std::mutex mutex;
  std::condition_variable changed;
  // Guarded by mutex.
  std::deque<std::function<void()>> work;
  std::vector<std::thread> threads;
  size_t idle = 0;
  Clock::time_point due = Clock::time_point::max();
  bool is_closing = false;

  void Work() {
    std::unique_lock lock(mutex);
    for (;;) {
      ++idle;
      changed.wait(lock, [this] { return is_closing || !work.empty(); });
      --idle;
      if (work.empty()) return;
      const std::function<void()> next = std::move(work.front());
      work.pop_front();
      lock.unlock();
      next();
      lock.lock();
    }
  }

  void Time(const std::function<void()>& on_timer) {
    std::unique_lock lock(mutex);
    while (!is_closing) {
      if (due == Clock::time_point::max()) {
        changed.wait(lock);
      } else if (Clock::now() < due) {
        changed.wait_until(lock, Clock::time_point(due));
      } else {
        due = Clock::time_point::max();
        lock.unlock();
        on_timer();
        lock.lock();
      }
    }
  }
};

namespace host {

uint32_t WorkerPool::Open(uint32_t most_threads, PTP_TIMER_CALLBACK on_timer, void* context) {
  pool_ = new TP_POOL;
  pool_->most_threads = most_threads;
  pool_->threads.emplace_back([pool = pool_, on_timer, context] {
    pool->Time([&] { on_timer(nullptr, context, nullptr); });
  });
  return 0;
}

void WorkerPool::Close() {
  if (pool_ == nullptr) return;
  {
    const std::lock_guard lock(pool_->mutex);
    pool_->is_closing = true;
    pool_->changed.notify_all();
  }
  for (std::thread& thread : pool_->threads)
    thread.join();
  delete std::exchange(pool_, nullptr);
}

uint32_t WorkerPool::Submit(PTP_SIMPLE_CALLBACK callback, void* context) {
  const std::lock_guard lock(pool_->mutex);
  pool_->work.emplace_back([=] { callback(nullptr, context); });
  // One of the threads is the timer's.
  if (pool_->idle < pool_->work.size() && pool_->threads.size() <= pool_->most_threads) {
    pool_->threads.emplace_back([pool = pool_] { pool->Work(); });
  }
  pool_->changed.notify_all();
  return 0;
}

void WorkerPool::SetTimer(std::chrono::milliseconds delay) {
  const std::lock_guard lock(pool_->mutex);
  pool_->due = Clock::now() + delay;
  pool_->changed.notify_all();
}

void Mutex::lock() noexcept {
  while (std::atomic_ref(state_).exchange(this) != nullptr)
    std::this_thread::yield();
}

void Mutex::unlock() noexcept {
  std::atomic_ref(state_).store(nullptr);
}

namespace {

std::condition_variable_any any_condition;  // Whoever waits may wake for nothing.

}  // namespace

void Condition::NotifyAll() noexcept {
  any_condition.notify_all();
}

bool Condition::WaitOnce(Lock& lock, Clock::time_point deadline) noexcept {
  if (deadline != Clock::time_point::max()) {
    return any_condition.wait_until(lock, deadline) == std::cv_status::no_timeout;
  }
  any_condition.wait(lock);
  return true;
}

}  // namespace host
