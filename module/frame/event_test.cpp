#include "module/frame/event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "module/frame/testing/private_access.h"
#include "module/frame/testing/semaphore.h"

REVEAL(EventLockMutex, CSyncRWLock, std::mutex, mutex_);
REVEAL(EventWaitingWriters, CSyncRWLock, uint32_t, waiting_writers_);

namespace {

struct Listener {
  virtual int OnValue(const int& value) {
    action(value);
    return -1;  // Nobody minds.
  }
  std::function<void(int)> action;
};

using ValueEvent = Event<MemberFunction_1_args<Listener, int, const int&, &Listener::OnValue>>;

class EventTest : public testing::Test {
 protected:
  SynchronyzedObjectContainer<Listener*> listeners_;
  ValueEvent event_{listeners_};
};

TEST_F(EventTest, RemoveFromAnotherThreadReturnsOnlyAfterTheCallEnded) {
  Semaphore called;
  std::atomic<bool> removed{false};
  bool ended = false;
  int nested_calls = 0;
  Listener listener;
  listener.action = [&](int value) {
    if (value == 2) {
      ++nested_calls;
      return;
    }
    called.Release();
    AwaitInside<EventLockMutex>(
        listeners_, [&] { return removed || Private<EventWaitingWriters>(listeners_) == 1; });
    event_.Fire(2);  // Reads already, so the waiting writer does not hold it back.
    EXPECT_FALSE(removed);
    ended = true;
  };
  EXPECT_EQ(listeners_.Add(&listener), 0u);
  EXPECT_EQ(listeners_.Add(&listener), 1627u);
  std::jthread remover([&] {
    called.Acquire();
    EXPECT_EQ(listeners_.Remove(&listener), 0u);
    removed = true;
    EXPECT_TRUE(ended);
  });
  event_.Fire(1);
  remover.join();
  event_.Fire(3);
  EXPECT_EQ(listeners_.Remove(&listener), 1627u);
  EXPECT_EQ(nested_calls, 1);
}

}  // namespace
