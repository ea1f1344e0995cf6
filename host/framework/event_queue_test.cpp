#include "host/framework/event_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "module/frame/easy_event_queue.h"
#include "module/frame/error_codes.h"
#include "module/frame/testing/semaphore.h"

namespace {

using Function = std::function<void()>;

constexpr uint32_t kHour = 3'600'000;

struct Item final : EqWorkItem {
  Item(Function function, std::atomic<int>& destroyed_items)
      : run(std::move(function)), destroyed(destroyed_items) {}
  void Destroy() override {
    ++destroyed;
    delete this;
  }
  void Run() override { run(); }

  const Function run;
  std::atomic<int>& destroyed;
};

// A queue with one group, which is cancelled and waited for at the end as users do it.
class TestQueue {
 public:
  explicit TestQueue(uint32_t threads) : queue(threads) {
    EXPECT_EQ(queue.Start(4), 0u);
    queue.CreateGroup(&group);
  }
  ~TestQueue() {
    group->Cancel();
    EXPECT_EQ(group->Wait(IEventQueue::kForever), 0u);
    EXPECT_EQ(destroyed, made);
    queue.DestroyGroup(group);
    queue.Stop();
  }

  // False where the queue has stopped.
  bool Add(Function main, Function cancel) {
    Item* const main_item = Make(std::move(main));
    Item* const cancel_item = Make(std::move(cancel));
    EqTask* task = nullptr;
    if (const uint32_t status = queue.Queue(L"test", &task, main_item, cancel_item, 0, 0)) {
      EXPECT_EQ(status, error::kNotReady);
      main_item->Destroy();
      cancel_item->Destroy();
      return false;
    }
    group->Track(task);
    queue.Release(task);
    return true;
  }

  void AddDelayed(Function main, uint32_t delay, uint32_t repeat) {
    EqTask* task = nullptr;
    EXPECT_EQ(queue.QueueDelayed(L"test", &task, Make(std::move(main)), delay, repeat, 0), 0u);
    group->Track(task);
    queue.Release(task);
  }

  host::EventQueue queue;
  IEventGroup* group = nullptr;

 private:
  Item* Make(Function run) {
    ++made;
    return new Item(std::move(run), destroyed);
  }

  int made = 0;
  std::atomic<int> destroyed = 0;
};

TEST(EventQueue, ExactlyOneItemOfEachTaskRunsWhateverMeetsItsEnd) {
  for (const bool stop : {false, true}) {
    constexpr int kTasks = 400;
    std::atomic<int> runs[kTasks] = {};
    std::atomic<int> own_thread = 0;
    int queued = 0;
    {
      TestQueue test(8);
      Semaphore half;
      std::jthread ender([&] {
        half.Acquire();
        stop ? test.queue.Stop() : test.group->Cancel();
      });
      const auto caller = std::this_thread::get_id();
      for (int i = 0; i < kTasks; ++i) {
        const auto count = [&, i] {
          ++runs[i];
          if (std::this_thread::get_id() == caller) ++own_thread;
        };
        if (!test.Add(count, count)) break;
        ++queued;
        if (i == kTasks / 2) half.Release();
      }
    }
    for (int i = 0; i < kTasks; ++i)
      EXPECT_EQ(runs[i], i < queued ? 1 : 0) << i;
    EXPECT_EQ(own_thread, 0);
    EXPECT_TRUE(stop || queued == kTasks);
  }
}

TEST(EventQueue, WhatHasNotBegunIsDroppedAndWhatRunsIsWaitedFor) {
  for (const bool stop : {false, true}) {
    std::string ran;
    const auto add = [&](const char* text) { return [&ran, text] { ran += text; }; };
    {
      TestQueue test(1);
      Semaphore began;
      Semaphore go_on;
      const auto block = [&] {
        began.Release();
        go_on.Acquire();
        ran += "running";
      };
      test.Add(block, add(" wrong"));
      began.Acquire();
      test.Add(add(" wrong"), add(" cancelled"));
      test.AddDelayed(add(" wrong"), kHour, 1);
      EXPECT_EQ(test.group->Wait(0), error::kTimeout);
      std::jthread ender([&] { stop ? test.queue.Stop() : test.group->Cancel(); });
      if (stop) {
        // The stop has begun once tasks are refused; those taken until then are dropped.
        while (test.Add([] {}, [] {}))
          std::this_thread::yield();
      } else {
        ender.join();
        test.Add(add(" wrong"), add(" late"));
      }
      go_on.Release();
    }
    EXPECT_EQ(ran, stop ? "running cancelled" : "running cancelled late");
  }
}

TEST(EventQueue, DelayedTasksRunInTheOrderOfTheirTimesAndAsOftenAsTheyShould) {
  std::string ran;
  Semaphore rounds;
  {
    TestQueue test(1);
    test.AddDelayed([&] { ran += "c"; }, kHour, 1);
    test.AddDelayed([&] { ran += "b"; }, 30, 1);
    test.AddDelayed([&] { ran += "a"; }, 1, 2);
    test.AddDelayed([&] { rounds.Release(); }, 5, IEventQueue::kForever);
    for (int round = 0; round < 10; ++round)
      rounds.Acquire();
  }
  EXPECT_EQ(ran, "aab");
}

TEST(EventQueue, HundredBlockedTasksStopNoOther) {
  Semaphore began;
  Semaphore go_on;
  Semaphore passed;
  TestQueue test(host::EventQueue::kMostThreads);
  for (int i = 0; i < 100; ++i) {
    const auto block = [&] {
      began.Release();
      go_on.Acquire();
    };
    test.Add(block, block);
  }
  for (int i = 0; i < 100; ++i)
    began.Acquire();
  test.AddDelayed([&] { passed.Release(); }, 1, 1);
  test.Add([&] { passed.Release(); }, [] {});
  passed.Acquire();
  passed.Acquire();
  go_on.Release(100);
}

TEST(EasyEventQueue, SerialTasksOfAKeyKeepTheirOrderAndThoseOfOthersRunMeanwhile) {
  std::string ran;
  orn::EasyEventQueue queue;
  ASSERT_EQ(queue.AttachLoaded(L""), 0u);
  Semaphore began;
  Semaphore go_on;
  queue.AddSerialTask({1, "a"}, [&] {
    began.Release();
    go_on.Acquire();
    ran += "1";
  });
  began.Acquire();
  for (const char digit : {'2', '3'})
    queue.AddSerialTask({1, "a"}, [&ran, digit] { ran += digit; });
  queue.AddSerialTask({2, "a"}, [&] { began.Release(); });
  queue.AddSerialTask({1, "b"}, [&] { began.Release(); });
  began.Acquire();
  began.Acquire();
  EXPECT_EQ(ran, "");
  queue.AddSerialTask({1, "a"}, [&] { began.Release(); });
  go_on.Release();
  began.Acquire();
  EXPECT_EQ(ran, "123");

  // The key is free again, and the loaded service can be loaded again.
  queue.Detach();
  queue.Detach();
  EXPECT_FALSE(queue.AddTask([] {}));
  ASSERT_EQ(queue.AttachLoaded(L"again"), 0u);
  EXPECT_TRUE(queue.AddSerialTask({3, "a"}, [&] { began.Release(); }));
  began.Acquire();
}

TEST(EasyEventQueue, ServiceThatStopsCancelsEverySerialItemThatWaits) {
  std::string ran;
  const auto add = [&](const char* text) { return [&ran, text] { ran += text; }; };
  TestQueue test(1);
  orn::EasyEventQueue queue;
  queue.Attach(&test.queue, L"");
  Semaphore began;
  Semaphore go_on;
  const auto block = [&] {
    began.Release();
    go_on.Acquire();
  };
  queue.AddTask(block).Release();
  began.Acquire();
  queue.AddSerialTask({1, ""}, add("wrong"), add("first"));
  queue.AddSerialTask({1, ""}, add("wrong"));
  queue.AddSerialTask({1, ""}, add("wrong"), add(" third"));
  {
    std::jthread stopper([&] { test.queue.Stop(); });
    while (test.Add([] {}, [] {}))
      std::this_thread::yield();
    // A drain that could not be queued leaves its key without service.
    EXPECT_FALSE(queue.AddSerialTask({2, ""}, add("wrong"), add("wrong")));
    EXPECT_TRUE(queue.AddSerialTask({2, ""}, add("wrong"), add("wrong")));
    go_on.Release();
  }
  EXPECT_EQ(ran, "first third");
}

TEST(EasyEventQueue, DetachDropsWhatARunningTaskAddsMeanwhile) {
  std::string ran;
  Semaphore detaching;
  TestQueue test(2);
  orn::EasyEventQueue queue;
  queue.Attach(&test.queue, L"");
  // Dropped by Detach, it lets go of what it holds.
  queue
      .AddDelayedTask([held = std::shared_ptr<void>(&ran, [&](void*) { detaching.Release(); })] {},
                      kHour)
      .Release();
  Semaphore began;
  queue
      .AddTask([&] {
        began.Release();
        detaching.Acquire();
        queue.AddDelayedTask([&] { ran += "wrong"; }, kHour).Release();
        queue.AddTask([&] { ran += "begun"; }, [&] { ran += "dropped"; }).Release();
      })
      .Release();
  began.Acquire();
  queue.Detach();
  EXPECT_TRUE(ran == "dropped" || ran == "begun") << ran;
}

}  // namespace
