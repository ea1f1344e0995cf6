#pragma once

#include <deque>
#include <functional>
#include <thread>

#include "host/common/sync.h"

namespace host {

// One thread that runs what is posted, in order and one at a time. Tasks must not throw.
class TaskThread {
 public:
  using Task = std::function<void()>;

  TaskThread() = default;
  ~TaskThread() { Stop(); }
  TaskThread(const TaskThread&) = delete;
  TaskThread& operator=(const TaskThread&) = delete;

  // `name` is what a debugger shows; it must be a literal.
  void Start(const wchar_t* name);

  // False where `limit` tasks wait already, or the thread does not take any.
  bool Post(Task task, size_t limit = SIZE_MAX);

  // Waits until the task has run, or was refused or dropped. Not to be called by a task.
  void PostAndWait(Task task);

  void DropQueued();

  // Waits for the running task, drops the others. What is posted from now on is refused. Not to be
  // called by a task. Stopping twice has no effect.
  void Stop();

 private:
  void Run();

  std::thread thread_;

  Mutex mutex_;
  Condition changed_;
  std::deque<Task> queue_;
  bool taking_ = false;
};

}  // namespace host
