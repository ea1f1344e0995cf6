#pragma once

#include <cstdint>

#include "module/frame/plugin_interfaces.h"

// The host's event queue service: short tasks on a pool of threads. The order of the operations is
// binary contract.

// One piece of work. The service calls Run at most once, on one of its threads and never on the
// thread that queues, and Destroy when it is done with the item, whether it has run or not.
struct EqWorkItem {
  virtual ~EqWorkItem() = default;
  virtual void Destroy() = 0;
  virtual void Run() = 0;
};

// A queued task as its caller refers to it; null is none. Valid until IEventQueue::Release.
struct EqTask;

// Tasks that are cancelled and waited for together. Any thread.
struct IEventGroup {
  // The task belongs to the group from now on, and to no other. It may have ended already. After
  // Cancel it is dropped as those before it were.
  virtual void Track(EqTask* task) = 0;
  // Drops the tasks that have not begun: the cancel item of each runs instead of its main item.
  // Does not wait.
  virtual void Cancel() = 0;
  // Returns 0 when no task of the group is left and their items are destroyed, or 1460 after
  // `timeout` milliseconds; 0xFFFFFFFF is no limit. Not from a task of the group.
  virtual uint32_t Wait(uint32_t timeout) = 0;

 protected:
  ~IEventGroup() = default;
};

// Any thread, after Start and before Stop.
struct IEventQueue : IOrnBaseInterface {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{B1B0E8C4-7C1F-4B8E-9A37-52D4C09E6F11}");
  static constexpr const wchar_t* kTypeName = L"IEventQueue";

  static constexpr uint32_t kForever = 0xFFFFFFFF;  // As a repeat count.

  // For who loads the service itself. Returns 0 or why it cannot work.
  virtual uint32_t Start(uint32_t options) = 0;
  // Cancels what has not begun and waits for what runs, cancel items included. Not from a task.
  virtual void Stop() = 0;
  // Queues a task under the name of a queue, which only tells tasks apart in a log. Exactly one of
  // the two items runs: `main`, or `cancel` if the task is dropped. `cancel` may be null. Returns
  // 0, from when on both items belong to the service and `*task` is the caller's reference; or a
  // failure, and the items stay the caller's.
  virtual uint32_t Queue(const wchar_t* name, EqTask** task, EqWorkItem* main, EqWorkItem* cancel,
                         uint32_t, uint32_t) = 0;
  // As Queue with the item running `repeat` times, at least once, first after `delay` milliseconds,
  // then as long after each end. A task that is dropped only ends.
  virtual uint32_t QueueDelayed(const wchar_t* name, EqTask** task, EqWorkItem* main,
                                uint32_t delay, uint32_t repeat, uint32_t options) = 0;
  // Gives the caller's reference to a task back. The task goes on.
  virtual void Release(EqTask* task) = 0;
  virtual void CreateGroup(IEventGroup** group) = 0;
  virtual void DestroyGroup(IEventGroup* group) = 0;

 protected:
  ~IEventQueue() = default;
};

// The display name of the host's own, and the object's name in "framework.dll".
inline constexpr const wchar_t* kGlobalEventQueue = L"GlobalEventQueue";
