#pragma once

#include <chrono>
#include <cstdint>
#include <map>

#include "host/common/sync.h"
#include "host/framework/worker_pool.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/event_queue.h"

namespace host {

// The event queue service, "GlobalEventQueue": a plug-in of each host process, or loaded by who has
// no host. Tasks begin in the order in which they were queued, each on a thread that has nothing
// else to do. Up to kMostThreads may block at the same time before others have to wait for them.
// How many may wait is not limited.
//
// As a plug-in it goes on after Stop, with all others stopped, and ends in UnInit: whoever uses it
// does so until its own UnInit, which comes before. Calls from other processes that arrive
// meanwhile are still answered.
class EventQueue : public IEventQueue {
 public:
  static constexpr uint32_t kMostThreads = 512;

  explicit EventQueue(uint32_t most_threads = kMostThreads) : most_threads_(most_threads) {}
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;
  virtual ~EventQueue() { Stop(); }

  void* GetInterface(const InterfaceId& id) override;

  // 170 where it runs already. After Stop it may be started again.
  uint32_t Start(uint32_t options) override;
  void Stop() override;

  // 21 outside Start and Stop; 87 without an item or a place for the task.
  uint32_t Queue(const wchar_t* name, EqTask** task, EqWorkItem* main, EqWorkItem* cancel, uint32_t,
                 uint32_t) override;
  // As Queue; 87 also for no repeats.
  uint32_t QueueDelayed(const wchar_t* name, EqTask** task, EqWorkItem* main, uint32_t delay,
                        uint32_t repeat, uint32_t options) override;
  void Release(EqTask* task) override;
  void CreateGroup(IEventGroup** group) override;
  void DestroyGroup(IEventGroup* group) override;

 private:
  friend EqTask;
  class Group;
  enum class State { kStopped, kRunning, kStopping };

  // The queue as the host drives it. Stop means another thing here.
  class PluginFace final : public IServPlugin {
   public:
    explicit PluginFace(EventQueue& queue) : queue_(queue) {}
    void* GetInterface(const InterfaceId& id) override { return queue_.GetInterface(id); }
    int32_t Init(IServMain*) override { return 0; }
    void UnInit() override { queue_.Stop(); }
    int32_t Start() override { return static_cast<int32_t>(queue_.Start(0)); }
    void Stop() override {}

   private:
    EventQueue& queue_;
  };

  static void CALLBACK OnTask(PTP_CALLBACK_INSTANCE, void* task);
  static void CALLBACK OnTimer(PTP_CALLBACK_INSTANCE, void* queue, PTP_TIMER);

  uint32_t Submit(const wchar_t* name, EqTask* task);
  void Run(EqTask* task);
  void RunDue();
  void End(EqTask* task);
  void ScheduleLocked(EqTask* task, Clock::time_point due);
  void SetTimerLocked();
  void DropLocked(EqTask* task);
  void LeaveGroupLocked(EqTask* task);
  static void ReleaseLocked(EqTask* task);

  PluginFace plugin_{*this};
  const uint32_t most_threads_;
  WorkerPool pool_;  // Opened and closed by Start and Stop; synchronises itself in between.

  Mutex mutex_;
  // Guarded by mutex_, as are all tasks and groups. Items run and go without it.
  Condition ended_;  // The last task of a group, or of all.
  State state_ = State::kStopped;
  size_t live_ = 0;  // Tasks that have not ended.
  std::multimap<Clock::time_point, EqTask*> due_;
};

}  // namespace host
