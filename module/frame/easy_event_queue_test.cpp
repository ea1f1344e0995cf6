#include "module/frame/easy_event_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "module/frame/testing/semaphore.h"
#include "module/frame/testing/threaded_event_queue.h"

namespace {

constexpr int kAdders = 4;
constexpr int kRounds = 200;

// Each thread adds to all keys. A key's tasks never overlap, and those of one adder keep their
// order; another lock than the queue's is not there to see to it.
TEST(EasyEventQueue, TasksOfAKeyRunOneAtATimeAndInOrderWhoeverAddsThem) {
  struct Key {
    int last[kAdders] = {};
    int ran = 0;
  };
  ThreadedEventQueue service;
  orn::EasyEventQueue queue;
  queue.Attach(&service, L"");
  Key keys[3];
  Semaphore done;
  std::vector<std::jthread> adders;
  for (int adder = 0; adder < kAdders; ++adder) {
    adders.emplace_back([&, adder] {
      for (int round = 1; round <= kRounds; ++round) {
        for (int number = 0; number < 3; ++number) {
          EXPECT_TRUE(queue.AddSerialTask({number, "key"}, [&, adder, round, number] {
            Key& key = keys[number];
            EXPECT_EQ(key.last[adder], round - 1);
            key.last[adder] = round;
            if (++key.ran == kAdders * kRounds) done.Release();
          }));
        }
      }
    });
  }
  for (int number = 0; number < 3; ++number)
    done.Acquire();
  adders.clear();
  queue.Detach();
}

// What waits behind a running task is refused when the queue goes, on whatever thread.
TEST(EasyEventQueue, DetachRunsEachTaskOrItsCancelFunction) {
  ThreadedEventQueue service;
  orn::EasyEventQueue queue;
  queue.Attach(&service, L"");
  std::atomic<int> ended{0};
  for (int i = 0; i < 100; ++i)
    queue.AddSerialTask({i % 5, ""}, [&] { ++ended; }, [&] { ++ended; });
  queue.Detach();
  EXPECT_EQ(ended, 100);
  EXPECT_FALSE(queue.AddSerialTask({1, ""}, [] {}));
}

}  // namespace
