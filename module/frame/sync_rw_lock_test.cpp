#include "module/frame/sync_rw_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "module/frame/fair_mutex.h"
#include "module/frame/testing/private_access.h"
#include "module/frame/testing/semaphore.h"

namespace {

struct LockMutex : PrivateMember<CSyncRWLock, std::mutex> {};
struct WaitingReaders : PrivateMember<CSyncRWLock, uint32_t> {};
struct WaitingWriters : PrivateMember<CSyncRWLock, uint32_t> {};
struct FairMutexMutex : PrivateMember<orn::FairMutex, std::mutex> {};
struct FairMutexWaiting : PrivateMember<orn::FairMutex, uint32_t> {};

}  // namespace

template struct Reveal<LockMutex, &CSyncRWLock::mutex_>;
template struct Reveal<WaitingReaders, &CSyncRWLock::waiting_readers_>;
template struct Reveal<WaitingWriters, &CSyncRWLock::waiting_writers_>;
template struct Reveal<FairMutexMutex, &orn::FairMutex::mutex_>;
template struct Reveal<FairMutexWaiting, &orn::FairMutex::waiting_>;

namespace {

// Returns when `count` threads sleep in `lock`.
template <class Mutex, class Count, class Lock>
void AwaitSleepers(Lock& lock, uint32_t count) {
  AwaitInside<Mutex>(lock, [&] { return Private<Count>(lock) == count; });
}

// Threads in the order in which a lock let them in.
struct Entries {
  void Add(char who) {
    const std::lock_guard guard(mutex);
    text += who;
  }

  std::mutex mutex;
  std::string text;  // Guarded by mutex; also read when all who add have ended.
};

TEST(CSyncRWLock, WriterRoleEndsWhenBothCountsAreZeroInEitherOrder) {
  for (const bool read_last : {false, true}) {
    CSyncRWLock lock;
    lock.LockWrite(0);
    lock.LockWrite(0);
    lock.LockRead(0);
    std::jthread other([&] {
      lock.LockRead(0);
      lock.UnlockRead(0);
    });
    AwaitSleepers<LockMutex, WaitingReaders>(lock, 1);
    lock.UnlockWrite(0);
    read_last ? lock.UnlockWrite(0) : lock.UnlockRead(0);
    AwaitSleepers<LockMutex, WaitingReaders>(lock, 1);
    read_last ? lock.UnlockRead(0) : lock.UnlockWrite(0);
  }
}

TEST(CSyncRWLock, ReaderReentersPastAWaitingWriterWhileNewReadersQueueBehindIt) {
  CSyncRWLock lock;
  Entries entries;
  lock.LockRead(0);
  lock.LockRead(/*threadId=*/0xFFFFFFFE);  // A second reader, in the name of another thread.
  std::jthread writer([&] {
    lock.LockWrite(0);
    entries.Add('w');
    lock.UnlockWrite(0);
  });
  AwaitSleepers<LockMutex, WaitingWriters>(lock, 1);
  std::jthread reader([&] {
    lock.LockRead(0);
    entries.Add('r');
    lock.UnlockRead(0);
  });
  AwaitSleepers<LockMutex, WaitingReaders>(lock, 1);

  lock.LockRead(0);
  lock.UnlockRead(0);
  lock.UnlockRead(0);
  AwaitSleepers<LockMutex, WaitingWriters>(lock, 1);
  lock.UnlockRead(0xFFFFFFFE);
  writer.join();
  reader.join();
  EXPECT_EQ(entries.text, "wr");
}

TEST(CSyncRWLock, WriterHandsOverToTheNextWriterThenToAllReadersTogether) {
  CSyncRWLock lock;
  Entries entries;
  Semaphore inside;
  Semaphore leave;
  lock.LockWrite(0);
  std::vector<std::jthread> readers;
  for (uint32_t count = 1; count <= 3; ++count) {
    readers.emplace_back([&] {
      lock.LockRead(0);
      entries.Add('r');
      inside.Release();
      leave.Acquire();
      lock.UnlockRead(0);
    });
    AwaitSleepers<LockMutex, WaitingReaders>(lock, count);
  }
  std::jthread writer([&] {
    lock.LockWrite(0);
    entries.Add('w');
    lock.UnlockWrite(0);
  });
  AwaitSleepers<LockMutex, WaitingWriters>(lock, 1);
  lock.UnlockWrite(0);
  // All three are in before one has left.
  for (int i = 0; i < 3; ++i)
    inside.Acquire();
  leave.Release(3);
  EXPECT_EQ(entries.text, "wrrr");
}

TEST(CSyncRWLock, ManyThreadsNeverMeetAWriter) {
  CSyncRWLock lock;
  std::atomic<int> readers{0};
  std::atomic<int> writers{0};
  std::atomic<int> faults{0};
  int written = 0;
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 8; ++thread) {
      threads.emplace_back([&, thread] {
        for (int round = 0; round < 400; ++round) {
          if ((round + thread) % 4 == 0) {
            lock.LockWrite(0);
            if (++writers != 1 || readers != 0) ++faults;
            ++written;
            lock.LockRead(0);
            lock.LockWrite(0);
            lock.UnlockWrite(0);
            --writers;
            lock.UnlockWrite(0);
            lock.UnlockRead(0);
          } else {
            lock.LockRead(0);
            ++readers;
            lock.LockRead(0);
            if (writers != 0) ++faults;
            lock.UnlockRead(0);
            --readers;
            lock.UnlockRead(0);
          }
        }
      });
    }
  }
  EXPECT_EQ(faults, 0);
  EXPECT_EQ(written, 8 * 100);
}

TEST(CSyncRWLockDeathTest, MisuseEndsTheProcess) {
  constexpr const char* kEnd = "terminate called";
  CSyncRWLock lock;
  EXPECT_DEATH((lock.LockRead(0), lock.LockWrite(0)), kEnd);
  EXPECT_DEATH(lock.UnlockRead(0), kEnd);
  EXPECT_DEATH(lock.UnlockWrite(0), kEnd);
  EXPECT_DEATH((lock.LockRead(7), lock.UnlockRead(8)), kEnd);
  EXPECT_DEATH((lock.LockWrite(7), lock.UnlockWrite(8)), kEnd);
  EXPECT_DEATH((lock.LockWrite(0), lock.UnlockRead(0)), kEnd);
  EXPECT_DEATH((lock.LockWrite(0), lock.LockRead(0), lock.UnlockWrite(0), lock.UnlockWrite(0)),
               kEnd);
}

TEST(FairMutex, IsHandedOnInTheOrderOfAskingEvenToItsLastHolder) {
  orn::FairMutex mutex;
  Entries entries;
  Semaphore leave;
  mutex.lock();
  std::vector<std::jthread> threads;
  for (const char who : {'1', '2', '3'}) {
    threads.emplace_back([&, who] {
      const std::lock_guard guard(mutex);
      leave.Acquire();
      entries.Add(who);
    });
    AwaitSleepers<FairMutexMutex, FairMutexWaiting>(mutex, static_cast<uint32_t>(threads.size()));
  }
  mutex.unlock();
  EXPECT_FALSE(mutex.try_lock());  // It is the first one's, awake or not.
  leave.Release(3);
  mutex.lock();
  entries.Add('m');
  EXPECT_EQ(entries.text, "123m");
  mutex.unlock();
  EXPECT_TRUE(mutex.try_lock());
  mutex.unlock();
}

}  // namespace
