#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "module/platform/event_queue.h"

// The host's queue service on a few standard threads, for tests of what uses it.
class ThreadedEventQueue final : public IEventQueue {
 public:
  explicit ThreadedEventQueue(int thread_count = 4);
  ThreadedEventQueue(const ThreadedEventQueue&) = delete;
  ThreadedEventQueue& operator=(const ThreadedEventQueue&) = delete;
  // What has not begun by then is dropped without its cancel item.
  ~ThreadedEventQueue();

  // While held, no main item begins; cancel items still run.
  void Hold(bool held);
  // Returns when that many tasks are there that have not begun.
  void AwaitQueued(size_t count);

  void* GetInterface(const InterfaceId& id) override;
  uint32_t Start(uint32_t) override { return 0; }
  void Stop() override {}
  uint32_t Queue(const wchar_t* name, EqTask** task, EqWorkItem* main, EqWorkItem* cancel, uint32_t,
                 uint32_t) override;
  uint32_t QueueDelayed(const wchar_t* name, EqTask** task, EqWorkItem* main, uint32_t delay,
                        uint32_t repeat, uint32_t options) override;
  void Release(EqTask* task) override;
  void CreateGroup(IEventGroup** group) override;
  void DestroyGroup(IEventGroup* group) override;

 private:
  class Group;

  uint32_t Add(EqTask** task, EqWorkItem* main, EqWorkItem* cancel, uint32_t delay,
               uint32_t repeat);
  void Work();
  // With mutex_ held: the task that is to run now, taken out; null where there is none.
  std::shared_ptr<EqTask> TakeLocked();

  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by mutex_, as are the tasks.
  std::list<std::shared_ptr<EqTask>> waiting_;
  bool held_ = false;
  bool stopping_ = false;

  std::vector<std::thread> threads_;  // Last: they use what stands above.
};
