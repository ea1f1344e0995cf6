#include "host/framework/event_queue.h"

#include <unordered_set>
#include <utility>
#include <vector>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"

using host::Clock;
using host::EventQueue;

// One reference is the caller's, one the service's until the task has ended.
struct EqTask {
  EventQueue& queue;
  EqWorkItem* main;
  EqWorkItem* cancel;  // May be null.
  std::chrono::milliseconds delay{0};
  uint32_t repeat = 1;
  // Guarded by the queue's mutex.
  int references = 2;
  bool dropped = false;
  EventQueue::Group* group = nullptr;
  bool scheduled = false;  // It waits for its time, at `due`.
  std::multimap<Clock::time_point, EqTask*>::iterator due = {};
};

namespace host {

class EventQueue::Group final : public IEventGroup {
 public:
  explicit Group(EventQueue& queue) : queue_(queue) {}

  void Track(EqTask* task) override {
    const Lock lock(queue_.mutex_);
    // The service's reference goes with the end.
    if (task->main == nullptr) return;
    queue_.LeaveGroupLocked(task);
    tasks_.insert(task);
    task->group = this;
    if (cancelled_) queue_.DropLocked(task);
  }

  void Cancel() override {
    const Lock lock(queue_.mutex_);
    cancelled_ = true;
    for (EqTask* const task : tasks_)
      queue_.DropLocked(task);
  }

  uint32_t Wait(uint32_t timeout) override {
    const auto deadline = timeout == kForever ? Clock::time_point::max()
                                              : Clock::now() + std::chrono::milliseconds(timeout);
    Lock lock(queue_.mutex_);
    const bool ended = queue_.ended_.WaitUntil(lock, deadline, [&] { return tasks_.empty(); });
    return ended ? error::kSuccess : error::kTimeout;
  }

 private:
  friend EventQueue;

  EventQueue& queue_;
  // Guarded by the queue's mutex.
  std::unordered_set<EqTask*> tasks_;  // That have not ended.
  bool cancelled_ = false;
};

void* EventQueue::GetInterface(const InterfaceId& id) {
  if (id == IServPlugin::kInterfaceId) return static_cast<IServPlugin*>(&plugin_);
  if (id == IEventQueue::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IEventQueue*>(this);
  }
  return nullptr;
}

uint32_t EventQueue::Start(uint32_t) {
  const Lock lock(mutex_);
  if (state_ != State::kStopped) return error::kBusy;
  if (const uint32_t status = pool_.Open(most_threads_, OnTimer, this); status != 0) {
    ORN_LOG(logging::kError, L"EventQueue::Start", L"There can be no threads. Error: %u.", status);
    return status;
  }
  state_ = State::kRunning;
  return error::kSuccess;
}

void EventQueue::Stop() {
  Lock lock(mutex_);
  if (state_ != State::kRunning) return;
  state_ = State::kStopping;
  SetTimerLocked();
  ended_.Wait(lock, [&] { return live_ == 0; });
  lock.unlock();
  // The last callbacks are on their way out, and this library may be unloaded next.
  pool_.Close();
  lock.lock();
  state_ = State::kStopped;
}

uint32_t EventQueue::Queue(const wchar_t* name, EqTask** task, EqWorkItem* main, EqWorkItem* cancel,
                           uint32_t, uint32_t) {
  if (task == nullptr || main == nullptr) return error::kBadParameter;
  {
    const Lock lock(mutex_);
    if (state_ != State::kRunning) return error::kNotReady;
    ++live_;
  }
  *task = new EqTask{*this, main, cancel};
  const uint32_t status = pool_.Submit(OnTask, *task);
  if (status == 0) return error::kSuccess;
  ORN_LOG(logging::kError, L"EventQueue::Queue", L"A task of %s cannot be queued. Error: %u.", name,
          status);
  delete std::exchange(*task, nullptr);
  const Lock lock(mutex_);
  if (--live_ == 0) ended_.NotifyAll();
  return status;
}

uint32_t EventQueue::QueueDelayed(const wchar_t*, EqTask** task, EqWorkItem* main, uint32_t delay,
                                  uint32_t repeat, uint32_t) {
  if (task == nullptr || main == nullptr || repeat == 0) return error::kBadParameter;
  const Lock lock(mutex_);
  if (state_ != State::kRunning) return error::kNotReady;
  ++live_;
  *task = new EqTask{*this, main, nullptr, std::chrono::milliseconds(delay), repeat};
  ScheduleLocked(*task, Clock::now() + (*task)->delay);
  return error::kSuccess;
}

void EventQueue::Release(EqTask* task) {
  const Lock lock(mutex_);
  ReleaseLocked(task);
}

void EventQueue::ReleaseLocked(EqTask* task) {
  if (--task->references == 0) delete task;
}

void EventQueue::CreateGroup(IEventGroup** group) {
  *group = new Group(*this);
}

void EventQueue::DestroyGroup(IEventGroup* group) {
  auto* const destroyed = static_cast<Group*>(group);
  const Lock lock(mutex_);
  for (EqTask* const task : destroyed->tasks_)
    task->group = nullptr;
  delete destroyed;
}

void CALLBACK EventQueue::OnTask(PTP_CALLBACK_INSTANCE, void* task) {
  auto* const begun = static_cast<EqTask*>(task);
  begun->queue.Run(begun);
}

void CALLBACK EventQueue::OnTimer(PTP_CALLBACK_INSTANCE, void* queue, PTP_TIMER) {
  static_cast<EventQueue*>(queue)->RunDue();
}

void EventQueue::Run(EqTask* task) {
  Lock lock(mutex_);
  const bool dropped = task->dropped || state_ == State::kStopping;
  lock.unlock();
  EqWorkItem* const item = dropped ? task->cancel : task->main;
  if (item != nullptr) item->Run();
  lock.lock();
  if (task->repeat != kForever) --task->repeat;
  const bool again = task->repeat > 0 && !dropped && !task->dropped && state_ == State::kRunning;
  if (again) {
    ScheduleLocked(task, Clock::now() + task->delay);
    return;
  }
  lock.unlock();
  End(task);
}

void EventQueue::End(EqTask* task) {
  // Their code may be unloaded as soon as nobody waits for the task any more.
  task->main->Destroy();
  if (task->cancel != nullptr) task->cancel->Destroy();
  const Lock lock(mutex_);
  task->main = nullptr;
  LeaveGroupLocked(task);
  if (--live_ == 0) ended_.NotifyAll();
  ReleaseLocked(task);
}

void EventQueue::LeaveGroupLocked(EqTask* task) {
  Group* const group = std::exchange(task->group, nullptr);
  if (group == nullptr) return;
  group->tasks_.erase(task);
  if (group->tasks_.empty()) ended_.NotifyAll();
}

// A task that has begun runs to its end; it is only not repeated.
void EventQueue::DropLocked(EqTask* task) {
  task->dropped = true;
  if (!task->scheduled) return;
  due_.erase(task->due);
  ScheduleLocked(task, Clock::now());
}

void EventQueue::ScheduleLocked(EqTask* task, Clock::time_point due) {
  task->scheduled = true;
  task->due = due_.emplace(due, task);
  if (task->due == due_.begin()) SetTimerLocked();
}

void EventQueue::SetTimerLocked() {
  if (due_.empty()) return;
  const auto delay = due_.begin()->first - Clock::now();
  const bool now = state_ == State::kStopping || delay <= Clock::duration::zero();
  pool_.SetTimer(now ? std::chrono::milliseconds(0)
                     : std::chrono::ceil<std::chrono::milliseconds>(delay));
}

void EventQueue::RunDue() {
  std::vector<EqTask*> tasks;
  {
    const Lock lock(mutex_);
    const auto end = state_ == State::kStopping ? due_.end() : due_.upper_bound(Clock::now());
    for (auto it = due_.begin(); it != end; it = due_.erase(it)) {
      it->second->scheduled = false;
      tasks.push_back(it->second);
    }
    SetTimerLocked();
  }
  for (EqTask* const task : tasks) {
    // It was promised: where it cannot get a thread of its own, this one will do.
    if (pool_.Submit(OnTask, task) != 0) Run(task);
  }
}

}  // namespace host
