#include "host/plugins/common/task_thread.h"

#include <future>
#include <memory>
#include <utility>

#include "module/frame/thread_name.h"

namespace host {

void TaskThread::Start(const wchar_t* name) {
  {
    const Lock lock(mutex_);
    taking_ = true;
  }
  thread_ = std::thread([this, name] {
    orn::SetThreadName(name);
    Run();
  });
}

bool TaskThread::Post(Task task, size_t limit) {
  const Lock lock(mutex_);
  if (!taking_ || queue_.size() >= limit) return false;
  queue_.push_back(std::move(task));
  changed_.NotifyAll();
  return true;
}

void TaskThread::PostAndWait(Task task) {
  auto job = std::make_shared<std::packaged_task<void()>>(std::move(task));
  const std::future<void> end = job->get_future();
  Post([job] { (*job)(); });
  job.reset();  // A job that nobody holds any more ends the wait too.
  end.wait();
}

void TaskThread::DropQueued() {
  std::deque<Task> dropped;  // Destroyed outside the lock: a task may own something that posts.
  const Lock lock(mutex_);
  queue_.swap(dropped);
}

void TaskThread::Stop() {
  {
    const Lock lock(mutex_);
    taking_ = false;
    changed_.NotifyAll();
  }
  DropQueued();
  if (thread_.joinable()) thread_.join();
}

void TaskThread::Run() {
  Lock lock(mutex_);
  for (;;) {
    changed_.Wait(lock, [this] { return !taking_ || !queue_.empty(); });
    if (!taking_) return;
    {
      const Task task = std::move(queue_.front());
      queue_.pop_front();
      lock.unlock();
      task();
    }
    lock.lock();
  }
}

}  // namespace host
