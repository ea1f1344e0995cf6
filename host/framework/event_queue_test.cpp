#include "host/framework/event_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "module/frame/easy_event_queue.h"
#include "module/frame/testing/semaphore.h"

namespace {

using host::EventQueue;
using orn::EasyEventQueue;

constexpr uint32_t kHour = 3'600'000;

TEST(EventQueue, ExactlyOneFunctionOfEachTaskRunsWhateverMeetsItsEnd) {
  for (const bool stop : {false, true}) {
    constexpr int kAdders = 4;
    constexpr int kTasks = 100;
    std::atomic<int> added[kAdders][kTasks] = {};
    std::atomic<int> runs[kAdders][kTasks] = {};
    std::atomic<int> on_own_thread = 0;
    std::atomic<std::thread::id> adding[kAdders] = {};  // The thread that adds right now.
    const auto held = std::make_shared<int>();
    EventQueue service(8);
    ASSERT_EQ(service.Start(4), 0u);
    EasyEventQueue queue;
    queue.Attach(&service, L"");
    Semaphore half;
    const auto add = [&](int adder) {
      adding[adder] = std::this_thread::get_id();
      for (int i = 0; i < kTasks; ++i) {
        const auto run = [&, held, adder, i] {
          ++runs[adder][i];
          if (adding[adder].load() == std::this_thread::get_id()) ++on_own_thread;
        };
        // Serial tasks behind one that was refused are lost without a word.
        const bool is_serial = !stop && i % 2 == 0;
        const bool is_added = is_serial ? queue.AddSerialTask({i % 5, ""}, run, run)
                                        : static_cast<bool>(queue.AddTask(run, run));
        if (is_added) added[adder][i] = 1;
        if (i == kTasks / 2) half.Release();
      }
      adding[adder] = std::thread::id();
    };
    for (int adder = 0; adder < kAdders; ++adder)
      queue.AddTask([&, adder] { add(adder); }).Release();
    half.Acquire();
    if (stop) service.Stop();
    queue.Detach();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(on_own_thread, 0);
    for (int adder = 0; adder < kAdders; ++adder) {
      for (int i = 0; i < kTasks; ++i)
        EXPECT_EQ(runs[adder][i], added[adder][i]) << adder << "/" << i;
    }
  }
}

TEST(EventQueue, StopDropsWhatHasNotBegunAndWaitsForWhatRuns) {
  std::string ran;
  const auto add = [&](const char* text) { return [&ran, text] { ran += text; }; };
  EventQueue service(1);
  ASSERT_EQ(service.Start(4), 0u);
  EasyEventQueue queue;
  queue.Attach(&service, L"");
  Gate gate;
  queue.AddTask([&] { gate.Enter(), ran += "end "; }, add("wrong ")).Release();
  gate.WaitForEntry();
  queue.AddTask(add("wrong "), add("cancelled ")).Release();
  queue.AddDelayedTask(add("wrong "), kHour).Release();
  queue.AddSerialTask({1, ""}, add("wrong "), add("first "));
  queue.AddSerialTask({1, ""}, add("wrong "));
  queue.AddSerialTask({1, ""}, add("wrong "), add("third"));
  {
    std::jthread stopper([&] { service.Stop(); });
    // The stop has begun once tasks are refused; those taken until then are dropped.
    while (queue.AddTask([] {}))
      std::this_thread::yield();
    // A drain that could not be queued leaves its key without service.
    EXPECT_FALSE(queue.AddSerialTask({2, ""}, add("wrong "), add("wrong ")));
    EXPECT_TRUE(queue.AddSerialTask({2, ""}, add("wrong "), add("wrong ")));
    gate.Open();
  }
  EXPECT_EQ(ran, "end cancelled first third");
}

TEST(EventQueue, DelayedTasksRunAtTheirTimesAndAsOftenAsTheyShould) {
  std::string ran;
  Semaphore rounds;
  Semaphore passed;
  EventQueue service(1);
  ASSERT_EQ(service.Start(4), 0u);
  EasyEventQueue queue;
  queue.Attach(&service, L"");
  queue.AddDelayedTask([&] { ran += "wrong"; }, kHour).Release();
  queue.AddDelayedTask([&] { ran += "a", passed.Release(); }, 1, 2).Release();
  queue.AddDelayedTask([&] { rounds.Release(); }, 5, IEventQueue::kForever).Release();
  passed.Acquire();
  passed.Acquire();
  for (int round = 0; round < 10; ++round)
    rounds.Acquire();
  queue.Detach();
  EXPECT_EQ(ran, "aa");
}

TEST(EventQueue, HundredBlockedTasksStopNoOther) {
  Gate gate;
  Semaphore passed;
  EventQueue service;
  ASSERT_EQ(service.Start(4), 0u);
  EasyEventQueue queue;
  queue.Attach(&service, L"test");
  for (int i = 0; i < 100; ++i)
    queue.AddTask([&] { gate.Enter(); }).Release();
  for (int i = 0; i < 100; ++i)
    gate.WaitForEntry();
  queue.AddDelayedTask([&] { passed.Release(); }, 1).Release();
  queue.AddTask([&] { passed.Release(); }).Release();
  passed.Acquire();
  passed.Acquire();
  gate.Open(100);
}

TEST(EasyEventQueue, SerialTasksOfAKeyRunInOrderAndThoseOfOthersMeanwhile) {
  EventQueue service(8);
  ASSERT_EQ(service.Start(4), 0u);
  EasyEventQueue queue;
  for (int time = 0; time < 2; ++time) {
    queue.Attach(&service, L"");
    Gate gate;
    Semaphore passed;
    queue.AddSerialTask({1, "a"}, [&] { gate.Enter(); });
    gate.WaitForEntry();
    queue.AddSerialTask({2, "a"}, [&] { passed.Release(); });
    queue.AddSerialTask({1, "b"}, [&] { passed.Release(); });
    passed.Acquire();
    passed.Acquire();
    gate.Open();

    // Whoever adds them. No other lock than the queue's is there to see to it.
    constexpr int kAdders = 4;
    constexpr int kRounds = 200;
    int last[kAdders] = {};
    int ran = 0;
    std::vector<std::jthread> adders;
    for (int adder = 0; adder < kAdders; ++adder) {
      adders.emplace_back([&, adder] {
        for (int round = 1; round <= kRounds; ++round) {
          EXPECT_TRUE(queue.AddSerialTask({1, "a"}, [&, adder, round] {
            EXPECT_EQ(last[adder], round - 1);
            last[adder] = round;
            if (++ran == kAdders * kRounds) passed.Release();
          }));
        }
      });
    }
    passed.Acquire();
    adders.clear();
    queue.Detach();
    queue.Detach();
    EXPECT_FALSE(queue.AddTask([] {}));
  }
}

TEST(EasyEventQueue, DetachDropsWhatARunningTaskAddsMeanwhile) {
  std::string ran;
  Semaphore began;
  Semaphore detaching;
  EventQueue service(2);
  ASSERT_EQ(service.Start(4), 0u);
  EasyEventQueue queue;
  queue.Attach(&service, L"");
  // Dropped by Detach, it lets go of what it holds.
  std::shared_ptr<void> held(&ran, [&](void*) { detaching.Release(); });
  queue.AddDelayedTask([held = std::move(held)] {}, kHour).Release();
  queue
      .AddTask([&] {
        began.Release();
        detaching.Acquire();
        queue.AddDelayedTask([&] { ran += "wrong"; }, kHour).Release();
      })
      .Release();
  began.Acquire();
  queue.Detach();
  EXPECT_EQ(ran, "");
}

}  // namespace
