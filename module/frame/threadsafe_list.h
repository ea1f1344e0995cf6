#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <utility>

// A blocking queue:
//
//   ThreadsafeList<std::unique_ptr<Task>> tasks_;
//   tasks_.Push(std::move(task));                           // any thread
//   for (std::unique_ptr<Task> task; tasks_.Pop(task);) {}  // the worker, until Stop
//
// Once stopped it stays so: what is queued can still be taken out.

// The waiting and locking, over what the derived class stores. A derived class ends all waits in
// its own destructor, because a woken waiter looks at its store.
template <class T>
class ThreadsafeContainer {
 public:
  ThreadsafeContainer() = default;
  ThreadsafeContainer(const ThreadsafeContainer&) = delete;
  ThreadsafeContainer& operator=(const ThreadsafeContainer&) = delete;
  virtual ~ThreadsafeContainer() { EndWaits(); }

  void Push(T&& value) {
    std::lock_guard lock(mutex_);
    push(std::move(value));
    not_empty_.notify_one();
  }

  // Waits for an element and takes the oldest one out. False when the queue is stopped and empty.
  bool Pop(T& value) {
    std::unique_lock lock(mutex_);
    ++waiters_;
    not_empty_.wait(lock, [&] { return !empty() || stopped_; });
    const bool taken = TakeLocked(value);
    if (--waiters_ == 0) waiters_gone_.notify_all();
    return taken;
  }

  // As Pop, but false at once when the queue is empty.
  bool TryPop(T& value) {
    std::lock_guard lock(mutex_);
    return TakeLocked(value);
  }

  // Lets every Pop of an empty queue end, now and later.
  void Stop() {
    std::lock_guard lock(mutex_);
    stopped_ = true;
    not_empty_.notify_all();
  }

  size_t Size() {
    std::lock_guard lock(mutex_);
    return size();
  }

 protected:
  // The store; called with mutex_ held. `pop` and `front` only when it is not empty.
  virtual void push(T&& value) = 0;
  virtual void pop() = 0;
  virtual T& front() = 0;
  virtual bool empty() const = 0;
  virtual size_t size() const = 0;

  // Wakes everybody who waits and returns when the last one has left.
  void EndWaits() {
    std::unique_lock lock(mutex_);
    stopped_ = true;
    not_empty_.notify_all();
    waiters_gone_.wait(lock, [&] { return waiters_ == 0; });
    stopped_ = false;
  }

  std::mutex mutex_;

 private:
  bool TakeLocked(T& value) {
    if (empty()) return false;
    value = std::move(front());
    pop();
    return true;
  }

  std::condition_variable not_empty_;
  bool stopped_ = false;
  uint32_t waiters_ = 0;
  std::condition_variable waiters_gone_;
};

template <class T>
class ThreadsafeList final : public ThreadsafeContainer<T> {
 public:
  ~ThreadsafeList() override { this->EndWaits(); }

  // Takes the oldest element out for which `wanted` is true, and leaves the order of the others.
  // False where there is none.
  template <class Predicate>
  bool TakeIf(Predicate wanted, T& value) {
    std::lock_guard lock(this->mutex_);
    const auto found = std::find_if(elements_.begin(), elements_.end(), wanted);
    if (found == elements_.end()) return false;
    value = std::move(*found);
    elements_.erase(found);
    return true;
  }

 private:
  void push(T&& value) override { elements_.push_back(std::move(value)); }
  void pop() override { elements_.pop_front(); }
  T& front() override { return elements_.front(); }
  bool empty() const override { return elements_.empty(); }
  size_t size() const override { return elements_.size(); }

  std::list<T> elements_;
};
