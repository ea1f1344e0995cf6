#include "module/frame/sync_rw_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "module/frame/testing/private_access.h"
#include "module/frame/testing/semaphore.h"

REVEAL(LockMutex, CSyncRWLock, std::mutex, mutex_);
REVEAL(WaitingReaders, CSyncRWLock, uint32_t, waiting_readers_);
REVEAL(WaitingWriters, CSyncRWLock, uint32_t, waiting_writers_);

namespace {

void AwaitWaiting(CSyncRWLock& lock, uint32_t readers, uint32_t writers) {
  AwaitInside<LockMutex>(lock, [&] {
    return Private<WaitingReaders>(lock) == readers && Private<WaitingWriters>(lock) == writers;
  });
}

TEST(CSyncRWLock, ReaderReentersPastAWaitingWriterWhileNewReadersQueueBehindIt) {
  CSyncRWLock lock;
  std::string entries;
  lock.LockRead(0);
  lock.LockRead(/*threadId=*/0xFFFFFFFE);  // A second reader, in the name of another thread.
  std::jthread writer([&] {
    lock.LockWrite(0);
    entries += 'w';
    lock.UnlockWrite(0);
  });
  AwaitWaiting(lock, 0, 1);
  std::jthread reader([&] {
    lock.LockRead(0);
    entries += 'r';
    lock.UnlockRead(0);
  });
  AwaitWaiting(lock, 1, 1);

  lock.LockRead(0);
  lock.UnlockRead(0);
  lock.UnlockRead(0);
  AwaitWaiting(lock, 1, 1);
  lock.UnlockRead(0xFFFFFFFE);
  writer.join();
  reader.join();
  EXPECT_EQ(entries, "wr");
}

TEST(CSyncRWLock, WriterHandsOverToTheNextWriterThenToAllReadersTogether) {
  CSyncRWLock lock;
  Semaphore inside;
  Semaphore leave;
  bool written = false;
  lock.LockWrite(0);
  std::vector<std::jthread> readers;
  for (uint32_t count = 1; count <= 3; ++count) {
    readers.emplace_back([&] {
      lock.LockRead(0);
      EXPECT_TRUE(written);
      inside.Release();
      leave.Acquire();
      lock.UnlockRead(0);
    });
    AwaitWaiting(lock, count, 0);
  }
  std::jthread writer([&] {
    lock.LockWrite(0);
    written = true;
    lock.UnlockWrite(0);
  });
  AwaitWaiting(lock, 3, 1);
  lock.UnlockWrite(0);
  // All three are in before one has left.
  for (int i = 0; i < 3; ++i)
    inside.Acquire();
  leave.Release(3);
}

TEST(CSyncRWLock, ManyThreadsNeverMeetAWriter) {
  CSyncRWLock lock;
  std::atomic<int> readers{0};
  std::atomic<int> writers{0};
  std::atomic<int> faults{0};
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 8; ++thread) {
      threads.emplace_back([&, thread] {
        for (int round = 0; round < 400; ++round) {
          if ((round + thread) % 4 == 0) {
            lock.LockWrite(0);
            if (++writers != 1 || readers != 0) ++faults;
            lock.LockRead(0);
            --writers;
            lock.UnlockWrite(0);
          } else {
            lock.LockRead(0);
            ++readers;
            if (writers != 0) ++faults;
            --readers;
          }
          lock.UnlockRead(0);
        }
      });
    }
  }
  EXPECT_EQ(faults, 0);
}

TEST(CSyncRWLockDeathTest, MisuseEndsTheProcess) {
  constexpr const char* kEnd = "terminate called";
  CSyncRWLock lock;
  EXPECT_DEATH((lock.LockRead(0), lock.LockWrite(0)), kEnd);
  EXPECT_DEATH(lock.UnlockRead(0), kEnd);
  EXPECT_DEATH(lock.UnlockWrite(0), kEnd);
  EXPECT_DEATH((lock.LockWrite(7), lock.UnlockWrite(8)), kEnd);
  EXPECT_DEATH((lock.LockWrite(0), lock.UnlockRead(0)), kEnd);
  EXPECT_DEATH((lock.LockWrite(0), lock.LockRead(0), lock.UnlockWrite(0), lock.UnlockWrite(0)),
               kEnd);
}

}  // namespace
