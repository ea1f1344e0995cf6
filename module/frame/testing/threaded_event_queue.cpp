#include "module/frame/testing/threaded_event_queue.h"

#include <algorithm>
#include <chrono>

#include "module/frame/error_codes.h"

struct EqTask {
  struct DestroyItem {
    void operator()(EqWorkItem* item) const { item->Destroy(); }
  };
  using Item = std::unique_ptr<EqWorkItem, DestroyItem>;

  Item main;
  Item cancel;  // May be null.
  std::chrono::milliseconds delay{0};
  std::chrono::steady_clock::time_point due;
  uint32_t runs_left = 1;
  bool is_cancelled = false;
  bool has_ended = false;
  std::shared_ptr<EqTask> self;  // The caller's reference.
};

class ThreadedEventQueue::Group final : public IEventGroup {
 public:
  explicit Group(ThreadedEventQueue& queue) : queue_(queue) {}
  virtual ~Group() = default;

  void Track(EqTask* task) override {
    const std::lock_guard lock(queue_.mutex_);
    std::erase_if(tasks_, [](const auto& other) { return other->has_ended; });
    tasks_.push_back(task->self);
    task->is_cancelled = is_cancelled_;
    if (is_cancelled_) queue_.changed_.notify_all();
  }
  void Cancel() override {
    const std::lock_guard lock(queue_.mutex_);
    is_cancelled_ = true;
    for (const auto& task : tasks_)
      task->is_cancelled = true;
    queue_.changed_.notify_all();
  }
  // Without a limit of time.
  uint32_t Wait(uint32_t) override {
    std::unique_lock lock(queue_.mutex_);
    queue_.changed_.wait(lock, [this] {
      return std::ranges::all_of(tasks_, [](const auto& task) { return task->has_ended; });
    });
    return error::kSuccess;
  }

 private:
  ThreadedEventQueue& queue_;
  // Guarded by the queue's mutex.
  std::vector<std::shared_ptr<EqTask>> tasks_;
  bool is_cancelled_ = false;
};

ThreadedEventQueue::ThreadedEventQueue(int thread_count) {
  for (int i = 0; i < thread_count; ++i)
    threads_.emplace_back([this] { Work(); });
}

ThreadedEventQueue::~ThreadedEventQueue() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    changed_.notify_all();
  }
  for (std::thread& thread : threads_)
    thread.join();
}

void ThreadedEventQueue::Hold(bool held) {
  const std::lock_guard lock(mutex_);
  held_ = held;
  changed_.notify_all();
}

void ThreadedEventQueue::AwaitQueued(size_t count) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return waiting_.size() >= count; });
}

void* ThreadedEventQueue::GetInterface(const InterfaceId& id) {
  const bool is_known = id == IOrnBaseInterface::kInterfaceId || id == IEventQueue::kInterfaceId;
  return is_known ? static_cast<IEventQueue*>(this) : nullptr;
}

uint32_t ThreadedEventQueue::Queue(const wchar_t*, EqTask** task, EqWorkItem* main,
                                   EqWorkItem* cancel, uint32_t, uint32_t) {
  return Add(task, main, cancel, /*delay=*/0, /*repeat=*/1);
}

uint32_t ThreadedEventQueue::QueueDelayed(const wchar_t*, EqTask** task, EqWorkItem* main,
                                          uint32_t delay, uint32_t repeat, uint32_t) {
  return Add(task, main, /*cancel=*/nullptr, delay, repeat);
}

uint32_t ThreadedEventQueue::Add(EqTask** task, EqWorkItem* main, EqWorkItem* cancel,
                                 uint32_t delay, uint32_t repeat) {
  const std::lock_guard lock(mutex_);
  const auto added = std::make_shared<EqTask>();
  added->main.reset(main);
  added->cancel.reset(cancel);
  added->delay = std::chrono::milliseconds(delay);
  added->due = std::chrono::steady_clock::now() + added->delay;
  added->runs_left = repeat;
  added->self = added;
  *task = added.get();
  waiting_.push_back(added);
  changed_.notify_all();
  return error::kSuccess;
}

void ThreadedEventQueue::Release(EqTask* task) {
  std::shared_ptr<EqTask> reference;  // Goes after the lock.
  const std::lock_guard lock(mutex_);
  reference = std::move(task->self);
}

void ThreadedEventQueue::CreateGroup(IEventGroup** group) {
  *group = new Group(*this);
}

void ThreadedEventQueue::DestroyGroup(IEventGroup* group) {
  delete static_cast<Group*>(group);
}

std::shared_ptr<EqTask> ThreadedEventQueue::TakeLocked() {
  const auto now = std::chrono::steady_clock::now();
  const auto found = std::find_if(waiting_.begin(), waiting_.end(), [&](const auto& task) {
    return task->is_cancelled || (!held_ && task->due <= now);
  });
  if (found == waiting_.end()) return nullptr;
  auto task = *found;
  waiting_.erase(found);
  return task;
}

void ThreadedEventQueue::Work() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    const std::shared_ptr<EqTask> task = TakeLocked();
    if (task == nullptr) {
      auto next = std::chrono::steady_clock::time_point::max();
      for (const auto& waiting : waiting_)
        next = std::min(next, waiting->due);
      if (held_ || waiting_.empty()) {
        changed_.wait(lock);
      } else {
        changed_.wait_until(lock, next);
      }
      continue;
    }
    const bool runs_main = !task->is_cancelled;
    lock.unlock();
    EqWorkItem* const item = runs_main ? task->main.get() : task->cancel.get();
    if (item != nullptr) item->Run();
    lock.lock();
    if (runs_main && task->runs_left != kForever) --task->runs_left;
    if (runs_main && task->runs_left != 0) {
      task->due = std::chrono::steady_clock::now() + task->delay;
      waiting_.push_back(task);
      continue;
    }
    lock.unlock();
    task->main.reset();
    task->cancel.reset();
    lock.lock();
    task->has_ended = true;
    changed_.notify_all();
  }
}
