#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "module/platform/event_queue.h"

template <class I>
class ExportedObject;

namespace orn {

// The host's event queue service, for short tasks that must leave the thread they come up on:
//
//   EasyEventQueue queue_;
//   ...
//   queue_.Attach(service, L"rpc.RemoteAccess");
//   queue_.AddTask([this] { Handle(); }).Release();
//   queue_.AddSerialTask({1, client}, [=] { Answer(message); }, [=] { Refuse(message); });
//   ...
//   queue_.Detach();
//
// Tasks run on the service's threads, never on the one that adds. Adding works on any thread and
// from tasks, with any locks held that tasks do not wait for each other with. Attach and Detach
// must not overlap with adding, but for what the queue's own tasks add while Detach waits for them:
// that is dropped. The service outlives all of it.
class EasyEventQueue {
 public:
  using Function = std::function<void()>;
  using Key = std::pair<int, std::string>;

  // The caller's reference to a queued task; empty where the task was not queued. Given back with
  // Release, or with the handle at the latest.
  class [[nodiscard]] Task {
   public:
    Task() = default;
    Task(IEventQueue* service, EqTask* id) noexcept : service_(service), id_(id) {}
    Task(Task&& other) noexcept
        : service_(std::exchange(other.service_, nullptr)),
          id_(std::exchange(other.id_, nullptr)) {}
    Task& operator=(Task&& other) noexcept {
      std::swap(service_, other.service_);
      std::swap(id_, other.id_);
      return *this;
    }
    ~Task() { Release(); }

    // The task goes on. No effect the second time.
    void Release() noexcept {
      if (id_ != nullptr) service_->Release(id_);
      service_ = nullptr;
      id_ = nullptr;
    }

    explicit operator bool() const noexcept { return id_ != nullptr; }

   private:
    IEventQueue* service_ = nullptr;  // Not owned.
    EqTask* id_ = nullptr;
  };

  EasyEventQueue() = default;
  EasyEventQueue(const EasyEventQueue&) = delete;
  EasyEventQueue& operator=(const EasyEventQueue&) = delete;
  ~EasyEventQueue() { Detach(); }

  // Detaches, if need be, and uses `service` from now on; not owned. With null nothing can be
  // added. An empty `name` becomes "orn::EasyEventQueue".
  void Attach(IEventQueue* service, std::wstring name);

  // Where there is no host: loads a service for this queue alone from this module's folder. Returns
  // 0, or why it could not be loaded or started; then nothing can be added.
  uint32_t AttachLoaded(std::wstring name);

  // Drops the tasks that have not begun, cancel functions being run, and waits for all that run.
  // Not from a task of this queue. No effect when detached.
  void Detach();

  // Runs `main`, or instead of it `cancel`, which may be empty, where the task is dropped. An
  // empty handle where it could not be queued: then neither runs.
  Task AddTask(Function main, Function cancel = {});

  // Runs `main` as often as `repeat` says, or IEventQueue::kForever: first after `delay`
  // milliseconds, then as long after each end. Nothing runs where it is dropped.
  Task AddDelayedTask(Function main, uint32_t delay, uint32_t repeat = 1);

  // As AddTask, after all that was added for the key before. False where it could not be queued:
  // then it does not run, nor does anything that is added for the key later, and that without a
  // word.
  bool AddSerialTask(const Key& key, Function main, Function cancel = {});

 private:
  struct detailEq {
    class WorkItem;
  };

  // Keeps the tasks of one key in order, while those of different keys run side by side: one task
  // of the service serves a key for as long as items keep arriving.
  template <class K>
  class SerialExecution {
   public:
    // As AddSerialTask of `queue`, which outlives the tasks and does not change.
    bool Add(EasyEventQueue& queue, const K& key, Function main, Function cancel) {
      const std::lock_guard lock(mutex_);
      auto entry = FindLocked(key);
      if (entry == entries_.end()) entry = entries_.insert(entry, Entry{key, 0, {}});
      const int32_t running = std::exchange(entry->running, 1);
      entry->items.emplace_back(std::move(main), std::move(cancel));
      if (running != 0) return true;
      Task drain = queue.AddTask([this, key] { Drain(key, &Item::first); },
                                 [this, key] { Drain(key, &Item::second); });
      const bool queued = static_cast<bool>(drain);
      drain.Release();
      return queued;
    }

   private:
    using Item = std::pair<Function, Function>;  // Main and cancel.
    struct Entry {
      K key;
      int32_t running;  // 1 while a drain is queued or running.
      std::vector<Item> items;
    };

    typename std::vector<Entry>::iterator FindLocked(const K& key) {
      return std::find_if(entries_.begin(), entries_.end(),
                          [&](const Entry& entry) { return entry.key == key; });
    }

    void Drain(const K& key, Function Item::* which) {
      for (;;) {
        std::vector<Item> items;
        {
          const std::lock_guard lock(mutex_);
          const auto entry = FindLocked(key);
          items.swap(entry->items);
          if (items.empty()) {
            entries_.erase(entry);
            return;
          }
        }
        for (Item& each : items) {
          // What the functions hold goes with each, not with the last.
          const Item item = std::move(each);
          if (which == &Item::first || item.second) (item.*which)();
        }
      }
    }

    std::mutex mutex_;
    std::vector<Entry> entries_;  // Guarded by mutex_.
  };

  std::wstring name_;
  IEventQueue* service_ = nullptr;  // Not owned.
  IEventGroup* group_ = nullptr;    // Of the service, which has it destroyed by Detach.
  std::shared_ptr<ExportedObject<IEventQueue>> loaded_;  // Null where the host has a service.
  SerialExecution<Key> serial_;
};

}  // namespace orn
