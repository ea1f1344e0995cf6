#include "module/frame/threadsafe_list.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "module/frame/testing/private_access.h"

using Tasks = ThreadsafeContainer<std::unique_ptr<int>>;
REVEAL(TasksMutex, Tasks, std::mutex, mutex_);
REVEAL(TasksWaiters, Tasks, uint32_t, waiters_);

namespace {

TEST(ThreadsafeList, DestructorLetsTheWaitersTakeWhatIsLeftAndWaitsForThem) {
  std::atomic<int> taken{0};
  auto tasks = std::make_unique<ThreadsafeList<std::unique_ptr<int>>>();
  std::vector<std::jthread> workers;
  for (int i = 0; i < 3; ++i) {
    workers.emplace_back([&taken, &queue = *tasks] {
      std::unique_ptr<int> task;
      if (queue.Pop(task)) taken += *task;
    });
  }
  AwaitInside<TasksMutex>(*tasks, [&] { return Private<TasksWaiters>(*tasks) == 3; });
  for (const int task : {1, 10})
    tasks->Push(std::make_unique<int>(task));
  tasks.reset();
  workers.clear();
  EXPECT_EQ(taken, 11);
}

}  // namespace
