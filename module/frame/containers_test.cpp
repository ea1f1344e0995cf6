#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

#include "module/frame/list.h"
#include "module/frame/map.h"
#include "module/frame/testing/private_access.h"
#include "module/frame/threadsafe_list.h"

namespace {

using Tasks = ThreadsafeContainer<std::unique_ptr<int>>;
struct TasksMutex : PrivateMember<Tasks, std::mutex> {};
struct TasksWaiters : PrivateMember<Tasks, uint32_t> {};

}  // namespace

template struct Reveal<TasksMutex, &Tasks::mutex_>;
template struct Reveal<TasksWaiters, &Tasks::waiters_>;

namespace {

void AwaitWaiters(Tasks& tasks, uint32_t count) {
  AwaitInside<TasksMutex>(tasks, [&] { return Private<TasksWaiters>(tasks) == count; });
}

TEST(List, GivesBothEndsAndErasesThroughTheWalkingEnumerator) {
  orn::List<std::string> list;
  orn::IList<std::string>& far_side = list;
  std::string value = "kept";
  EXPECT_EQ(far_side.GetBack(value), 1168u);
  EXPECT_EQ(far_side.Front(), nullptr);
  EXPECT_EQ(value, "kept");
  far_side.PushBack("b");
  far_side.PushBack("c");
  far_side.PushFront("a");
  EXPECT_EQ(*far_side.Front() + *far_side.Back(), "ac");

  orn::IListEnum<std::string>* walk = far_side.GetEnum();
  EXPECT_EQ(*walk->Next(), "a");
  far_side.Erase(walk);  // Takes "b" and stands at "c".
  EXPECT_EQ(*walk->Get(), "c");
  far_side.Erase(walk);
  EXPECT_FALSE(walk->HasNext());
  EXPECT_EQ(walk->Next(), nullptr);
  far_side.Erase(walk);
  walk->Reset();
  EXPECT_EQ(*walk->Next(), "a");
  walk->Release();
  EXPECT_EQ(far_side.Size(), 1u);
}

TEST(Map, KeepsTheFirstValueAndErasesThroughTheWalkingEnumerator) {
  orn::Map<int, std::string> map;
  orn::IMap<int, std::string>& far_side = map;
  std::string value = "kept";
  EXPECT_EQ(far_side.Get(1, value), 1168u);
  EXPECT_EQ(value, "kept");
  for (int key = 0; key < 10; ++key)
    EXPECT_EQ(far_side.Add(key, std::to_string(key)), 0u);
  EXPECT_EQ(far_side.Add(3, "other"), 183u);
  EXPECT_EQ(*far_side.Find(3), "3");

  orn::IEnum<int, std::string>* walk = far_side.GetEnum();
  while (walk->HasNext()) {
    EXPECT_EQ(*walk->GetValue(), std::to_string(*walk->GetKey()));
    if (*walk->GetKey() % 2 == 0) {
      far_side.Erase(walk);
    } else {
      walk->Next();
    }
  }
  EXPECT_EQ(walk->GetKey(), nullptr);
  walk->Release();

  int sum = 0;
  orn::IConstEnum<int, std::string>* const_walk = map.GetConstEnum();
  for (; const_walk->HasNext(); const_walk->Next())
    sum += *const_walk->GetKey();
  const_walk->Release();
  EXPECT_EQ(sum, 1 + 3 + 5 + 7 + 9);
}

TEST(ThreadsafeList, DeliversInOrderWakesItsWaiterAndGivesOutWhatIsLeftAfterStop) {
  ThreadsafeList<std::unique_ptr<int>> tasks;
  std::string taken;
  std::jthread worker([&] {
    for (std::unique_ptr<int> task; tasks.Pop(task);)
      taken += std::to_string(*task);
  });
  AwaitWaiters(tasks, 1);
  for (int i = 0; i < 5; ++i)
    tasks.Push(std::make_unique<int>(i));
  tasks.Stop();
  worker.join();
  EXPECT_EQ(taken, "01234");

  tasks.Push(std::make_unique<int>(7));
  std::unique_ptr<int> task;
  EXPECT_TRUE(tasks.Pop(task));
  EXPECT_FALSE(tasks.Pop(task));
  EXPECT_FALSE(tasks.TryPop(task));
  EXPECT_EQ(*task, 7);
}

TEST(ThreadsafeList, DestructorSendsTheWaitersAwayAndWaitsForThem) {
  auto tasks = std::make_unique<ThreadsafeList<std::unique_ptr<int>>>();
  std::vector<std::jthread> workers;
  for (int i = 0; i < 3; ++i) {
    workers.emplace_back([&queue = *tasks] {
      std::unique_ptr<int> task;
      EXPECT_FALSE(queue.Pop(task));
    });
  }
  AwaitWaiters(*tasks, 3);
  tasks.reset();
}

}  // namespace
