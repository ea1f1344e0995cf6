#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

#include "host/common/sync.h"
#include "host/plugins/storage/transfer.h"
#include "host/plugins/storage/transfer_limits.h"

namespace host::storage {

enum class Direction { kDownload, kUpload };

// The transfers under way: what runs, what waits, and what is to be reported. Any thread, but for
// Start and Stop.
//
// Threads of its own: up to `running` for each direction, which run the transfers, and one that
// reports their ends, one at a time, and ends transfers that are cancelled or late while they wait.
// No lock is held while an observer is called.
class TransferJobs {
 public:
  using Observer = ICentralizedStorage::IFileManagerEvent;
  using Id = orn::StringT<wchar_t>;

  explicit TransferJobs(const TransferLimits& limits) : limits_(limits) {}
  ~TransferJobs() { Stop(); }
  TransferJobs(const TransferJobs&) = delete;
  TransferJobs& operator=(const TransferJobs&) = delete;

  void Start();
  // Cancels all transfers, reports their ends and waits for the threads. Not to be called by an
  // observer. Stopping twice has no effect.
  void Stop();

  // Takes the transfer over; `timeout` is in seconds, 0 for none. On success `id` is what it is
  // reported under. 170 where too many wait; 21 before Start and after Stop.
  uint32_t Add(Direction direction, uint32_t timeout, std::unique_ptr<ITransfer> transfer, Id& id);
  // The end is reported all the same. 1168 where there is no such transfer, or it has ended.
  uint32_t Cancel(Direction direction, const Id& id);

  // Observers are not owned. 1627 where it is there already.
  uint32_t Register(Observer* observer);
  // Waits for a report to the observer that runs, but for one on the calling thread. 1627 where it
  // is not there.
  uint32_t Unregister(Observer* observer);

 private:
  struct Job {
    Job(Direction way, Clock::time_point deadline, std::unique_ptr<ITransfer> work)
        : direction(way), control(deadline), transfer(std::move(work)) {}

    const Direction direction;
    TransferControl control;
    const std::unique_ptr<ITransfer> transfer;
    Id id;
    Clock::time_point report_at;
    bool over = false;  // guarded by the mutex: no cancel reaches it any more
  };
  using JobPointer = std::shared_ptr<Job>;

  struct Lane {
    std::deque<JobPointer> waiting;
    std::vector<JobPointer> running;
    std::vector<std::thread> workers;
    size_t idle_workers = 0;
  };

  Lane& lane(Direction direction) { return lanes_[static_cast<size_t>(direction)]; }
  void Work(Direction direction);
  // After the job's Run. Lets the lock go meanwhile.
  void Conclude(Lock& lock, const JobPointer& job);
  void RunReports();
  JobPointer TakeEndedWhileWaiting();
  JobPointer TakeDueReport();
  // When the thread that reports has something to do again, unless it is woken before.
  Clock::time_point NextReport();
  bool IsDone() const;
  void Report(const Job& job);

  const TransferLimits limits_;
  std::thread reporter_;

  Mutex mutex_;
  Condition changed_;
  bool taking_ = false;
  Lane lanes_[2];
  std::deque<JobPointer> ended_;  // to be reported
  std::vector<Observer*> observers_;
  Observer* reporting_to_ = nullptr;
};

}  // namespace host::storage
