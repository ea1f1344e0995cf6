#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "module/frame/testing/semaphore.h"
#include "module/platform/event_queue.h"

namespace messaging::testing {

// The queue service with a single group, which runs tasks when it is told to. Filled by one thread
// at a time.
struct ManualQueue final : IEventQueue, IEventGroup {
  struct Queued {
    EqWorkItem* main;
    EqWorkItem* cancel;
    uint32_t delay;
  };
  std::vector<Queued> queued;
  Semaphore added;

  ~ManualQueue() { EXPECT_TRUE(queued.empty()); }

  // The delay that the oldest task was queued with.
  uint32_t RunOldest() {
    const Queued oldest = queued.front();
    queued.erase(queued.begin());
    oldest.main->Run();
    Destroy(oldest);
    return oldest.delay;
  }

  void* GetInterface(const InterfaceId&) override { return static_cast<IEventQueue*>(this); }
  uint32_t Start(uint32_t) override { return 0; }
  void Stop() override {}
  uint32_t Queue(const wchar_t*, EqTask** task, EqWorkItem* main, EqWorkItem* cancel, uint32_t,
                 uint32_t) override {
    queued.push_back({main, cancel, 0});
    *task = reinterpret_cast<EqTask*>(this);  // Any that is not null.
    added.Release();
    return 0;
  }
  uint32_t QueueDelayed(const wchar_t* name, EqTask** task, EqWorkItem* main, uint32_t delay,
                        uint32_t, uint32_t) override {
    Queue(name, task, main, /*cancel=*/nullptr, 0, 0);
    queued.back().delay = delay;
    return 0;
  }
  void Release(EqTask*) override {}
  void CreateGroup(IEventGroup** group) override { *group = this; }
  void DestroyGroup(IEventGroup*) override {}
  void Track(EqTask*) override {}
  void Cancel() override {
    for (const Queued& each : queued) {
      if (each.cancel != nullptr) each.cancel->Run();
      Destroy(each);
    }
    queued.clear();
  }
  uint32_t Wait(uint32_t) override { return 0; }

 private:
  static void Destroy(const Queued& task) {
    task.main->Destroy();
    if (task.cancel != nullptr) task.cancel->Destroy();
  }
};

}  // namespace messaging::testing
