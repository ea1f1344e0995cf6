#include "module/frame/event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "module/frame/testing/private_access.h"
#include "module/frame/testing/semaphore.h"

namespace {

struct EventLockMutex : PrivateMember<CSyncRWLock, std::mutex> {};
struct EventWaitingWriters : PrivateMember<CSyncRWLock, uint32_t> {};

}  // namespace

template struct Reveal<EventLockMutex, &CSyncRWLock::mutex_>;
template struct Reveal<EventWaitingWriters, &CSyncRWLock::waiting_writers_>;

namespace {

struct IListener {
  virtual int OnValue(const int& value) = 0;

 protected:
  ~IListener() = default;
};

class Listener final : public IListener {
 public:
  explicit Listener(std::function<void(int)> action) : action_(std::move(action)) {}
  int OnValue(const int& value) override {
    action_(value);
    return -1;  // Nobody minds.
  }

 private:
  std::function<void(int)> action_;
};

using ValueEvent = Event<MemberFunction_1_args<IListener, int, const int&, &IListener::OnValue>>;

TEST(Event, TellsTheSubscribersInOrderOfRegistration) {
  SynchronyzedObjectContainer<IListener*> listeners;
  ValueEvent event(listeners);
  std::string told;
  Listener a([&](int value) { told += "a" + std::to_string(value); });
  Listener b([&](int value) { told += "b" + std::to_string(value); });
  Listener c([&](int value) { told += "c" + std::to_string(value); });
  event.Fire(0);
  EXPECT_EQ(listeners.Add(&a), 0u);
  EXPECT_EQ(listeners.Add(&b), 0u);
  EXPECT_EQ(listeners.Add(&c), 0u);
  EXPECT_EQ(listeners.Add(&b), 1627u);
  event.Fire(1);
  EXPECT_EQ(listeners.Remove(&a), 0u);
  EXPECT_EQ(listeners.Remove(&a), 1627u);
  event.Fire(2);
  EXPECT_EQ(told, "a1b1c1b2c2");
}

TEST(Event, RemoveFromAnotherThreadReturnsOnlyAfterTheCallEnded) {
  SynchronyzedObjectContainer<IListener*> listeners;
  ValueEvent event(listeners);
  Semaphore called;
  std::atomic<bool> removed{false};
  bool ended = false;
  int nested_calls = 0;
  Listener listener([&](int value) {
    if (value == 2) {
      ++nested_calls;
      return;
    }
    called.Release();
    AwaitInside<EventLockMutex>(
        listeners, [&] { return removed || Private<EventWaitingWriters>(listeners) == 1; });
    event.Fire(2);  // Reads already, so the waiting writer does not hold it back.
    EXPECT_FALSE(removed);
    ended = true;
  });
  listeners.Add(&listener);
  std::jthread remover([&] {
    called.Acquire();
    EXPECT_EQ(listeners.Remove(&listener), 0u);
    removed = true;
    EXPECT_TRUE(ended);
  });
  event.Fire(1);
  remover.join();
  event.Fire(3);
  EXPECT_EQ(nested_calls, 1);
}

TEST(Event, ThreadsFireWhileSubscribersComeAndGo) {
  SynchronyzedObjectContainer<IListener*> listeners;
  ValueEvent event(listeners);
  std::atomic<int> steady_calls{0};
  Listener steady([&](int) { ++steady_calls; });
  listeners.Add(&steady);
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 3; ++thread) {
      threads.emplace_back([&] {
        for (int round = 0; round < 300; ++round)
          event.Fire(round);
      });
      threads.emplace_back([&] {
        for (int round = 0; round < 300; ++round) {
          auto alive = std::make_unique<int>(round);
          Listener guest([&](int) { EXPECT_EQ(*alive, round); });
          EXPECT_EQ(listeners.Add(&guest), 0u);
          EXPECT_EQ(listeners.Remove(&guest), 0u);
          alive.reset();
        }
      });
    }
  }
  EXPECT_EQ(steady_calls, 900);
}

TEST(EventDeathTest, SubscriberThatLeavesInsideItsNotificationEndsTheProcess) {
  SynchronyzedObjectContainer<IListener*> listeners;
  ValueEvent event(listeners);
  Listener listener([&](int) { listeners.Remove(&listener); });
  listeners.Add(&listener);
  EXPECT_DEATH(event.Fire(1), "terminate called");
}

}  // namespace
