#include "module/rpc/rw_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace messaging::rpc {
namespace {

TEST(RwLock, AReaderWhoStaysKeepsOutWritersAndNobodyElse) {
  rw_lock lock;
  std::atomic<bool> written{false};
  std::shared_lock staying(lock);
  std::thread writer([&] {
    const std::unique_lock writing(lock);
    written = true;
  });
  // Many more than there are before the writer waits.
  for (int i = 0; i < 100000; ++i)
    const std::shared_lock passing(lock);
  EXPECT_FALSE(written);
  staying.unlock();
  writer.join();
  EXPECT_TRUE(written);
}

TEST(RwLock, ReadersWhoNeverLeaveItFreeDoNotKeepOutAWriter) {
  rw_lock lock;
  std::atomic<bool> stop{false};
  std::atomic<int> inside{0};
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (!stop) {
        const std::shared_lock reading(lock);
        ++inside;
        // Until another one has come, or the writer holds the others back.
        for (int turns = 0; inside < 2 && turns < 1000; ++turns)
          std::this_thread::yield();
        --inside;
      }
    });
  }
  for (int i = 0; i < 20; ++i) {
    const std::unique_lock writing(lock);
    EXPECT_EQ(inside, 0);
  }
  stop = true;
  for (std::thread& reader : readers)
    reader.join();
}

}  // namespace
}  // namespace messaging::rpc
