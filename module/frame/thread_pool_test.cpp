#include "module/frame/thread_pool.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "module/frame/testing/private_access.h"
#include "module/frame/testing/semaphore.h"

REVEAL(SleepersMutex, ThreadPool, std::mutex, sleepers_mutex_);
REVEAL(Sleepers, ThreadPool, std::vector<HANDLE>, sleepers_);
REVEAL(Stopping, ThreadPool, std::atomic<int32_t>, stopping_);

namespace {

TEST(ThreadPool, StopEndsTheRunningTaskAndNeverRunsTheQueuedOnes) {
  Semaphore started;
  Semaphore release;
  const auto held = std::make_shared<int>();
  std::string ran;
  {
    ThreadPool pool(1);
    pool.Post([&] {
      started.Release();
      release.Acquire();
      ran += "b";
    });
    pool.Post([&, held] { ran += "dropped"; });
    started.Acquire();
    pool.DropQueued();
    EXPECT_EQ(held.use_count(), 1);
    pool.Post([&, held] { ran += "queued"; });
    std::jthread stopper([&] { pool.Stop(); });
    while (Private<Stopping>(pool) == 0)
      std::this_thread::yield();
    release.Release();
    stopper.join();
    pool.Post([&] { ran += "late"; });
    EXPECT_EQ(held.use_count(), 2);
  }
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(ran, "b");
}

TEST(ThreadPool, StopThatMeetsThreadsOnTheirWayToSleepReturns) {
  for (int round = 0; round < 100; ++round) {
    ThreadPool pool(3);
    for (int task = 0; task < round % 4; ++task)
      pool.Post([] {});
    pool.Stop();
  }
}

TEST(ThreadPool, TaskThatAThreadWasWokenForRunsEvenIfStopFollows) {
  for (int round = 0; round < 50; ++round) {
    ThreadPool pool(1);
    AwaitInside<SleepersMutex>(pool, [&] { return Private<Sleepers>(pool).size() == 1; });
    bool ran = false;
    pool.Post([&] { ran = true; });
    pool.Stop();
    EXPECT_TRUE(ran);
  }
}

}  // namespace
