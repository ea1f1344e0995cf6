#include "module/frame/thread_pool.h"

#include <system_error>
#include <utility>

#include "module/frame/handle.h"
#include "module/frame/thread_name.h"

namespace {

[[noreturn]] void ThrowLastError(const char* what) {
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

}  // namespace

ThreadPool::ThreadPool(size_t thread_count) {
  workers_.reserve(thread_count);
  try {
    while (workers_.size() < thread_count)
      workers_.emplace_back([this] { Work(); });
  } catch (...) {
    Stop();
    throw;
  }
}

ThreadPool::~ThreadPool() {
  if (stopping_ == 0) Stop();
}

void ThreadPool::Post(std::function<void()> task) {
  {
    std::lock_guard lock(tasks_mutex_);
    tasks_.push_back(std::move(task));
  }
  std::lock_guard lock(sleepers_mutex_);
  if (sleepers_.empty()) return;
  SetEvent(sleepers_.back());
  sleepers_.pop_back();
}

void ThreadPool::Stop() {
  stopping_ = 1;
  {
    std::lock_guard lock(sleepers_mutex_);
    for (const HANDLE sleeper : sleepers_)
      SetEvent(sleeper);
    sleepers_.clear();
  }
  for (std::thread& worker : workers_) {
    if (worker.joinable()) worker.join();
  }
}

void ThreadPool::DropQueued() {
  std::deque<std::function<void()>> dropped;  // Destroyed after the lock is released.
  std::lock_guard lock(tasks_mutex_);
  dropped.swap(tasks_);
}

void ThreadPool::Work() {
  orn::SetThreadName(L"ThreadPool worker");
  while (stopping_ == 0) {
    std::unique_lock lock(tasks_mutex_);
    while (tasks_.empty() && stopping_ == 0)
      Sleep(lock);
    if (tasks_.empty()) return;
    // A thread that was woken for a task runs it, even if Stop has come meanwhile.
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
  }
}

void ThreadPool::Sleep(std::unique_lock<std::mutex>& tasks_lock) {
  const orn::UniqueHandle woken(CreateEventW(/*lpEventAttributes=*/nullptr, /*bManualReset=*/FALSE,
                                             /*bInitialState=*/FALSE, /*lpName=*/nullptr));
  if (!woken) ThrowLastError("CreateEventW");
  {
    std::lock_guard lock(sleepers_mutex_);
    // Stop does not take the lock on the tasks: it may have come between the worker's test and
    // here, and has then woken nobody.
    if (stopping_ != 0) return;
    sleepers_.push_back(woken.get());
  }
  tasks_lock.unlock();
  if (WaitForSingleObject(woken.get(), INFINITE) != WAIT_OBJECT_0) {
    ThrowLastError("WaitForSingleObject");
  }
  tasks_lock.lock();
}
