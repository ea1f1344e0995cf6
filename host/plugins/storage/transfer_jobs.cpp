#include "host/plugins/storage/transfer_jobs.h"

#include <algorithm>
#include <utility>

#include "host/plugins/storage/transfer_errors.h"
#include "module/frame/error_codes.h"
#include "module/frame/guid.h"
#include "module/frame/thread_name.h"

namespace host::storage {

void TransferJobs::Start() {
  {
    const Lock lock(mutex_);
    taking_ = true;
  }
  reporter_ = std::thread([this] {
    orn::SetThreadName(L"Storage reports");
    RunReports();
  });
}

void TransferJobs::Stop() {
  {
    const Lock lock(mutex_);
    taking_ = false;
    for (Lane& lane : lanes_) {
      for (const JobPointer& job : lane.waiting)
        job->control.Cancel();
      for (const JobPointer& job : lane.running)
        job->control.Cancel();
    }
    changed_.NotifyAll();
  }
  // None is added any more.
  for (Lane& lane : lanes_) {
    for (std::thread& worker : lane.workers)
      worker.join();
    lane.workers.clear();
  }
  if (reporter_.joinable()) reporter_.join();
}

uint32_t TransferJobs::Add(Direction direction, uint32_t timeout,
                           std::unique_ptr<ITransfer> transfer, Id& id) {
  const Clock::time_point now = Clock::now();
  const auto job = std::make_shared<Job>(
      direction, timeout == 0 ? Clock::time_point::max() : now + std::chrono::seconds(timeout),
      std::move(transfer));
  job->id = orn::GenerateGuid();
  job->report_at = now + limits_.report_delay;
  if (job->id.empty()) return error::kInternal;

  const Lock lock(mutex_);
  if (!taking_) return error::kNotReady;
  Lane& lane = this->lane(direction);
  // Reports wait as long as an observer takes its time.
  if (lane.waiting.size() + ended_.size() >= limits_.waiting) return error::kBusy;
  lane.waiting.push_back(job);
  if (lane.waiting.size() > lane.idle_workers && lane.workers.size() < limits_.running) {
    lane.workers.emplace_back([this, direction] {
      orn::SetThreadName(direction == Direction::kDownload ? L"Storage download"
                                                           : L"Storage upload");
      Work(direction);
    });
  }
  id = job->id;
  changed_.NotifyAll();
  return 0;
}

uint32_t TransferJobs::Cancel(Direction direction, const Id& id) {
  const Lock lock(mutex_);
  Lane& lane = this->lane(direction);
  const auto cancel = [&](const auto& jobs) {
    const auto found =
        std::ranges::find_if(jobs, [&](const auto& job) { return job->id == id && !job->over; });
    if (found == jobs.end()) return false;
    (*found)->control.Cancel();
    return true;
  };
  if (!cancel(lane.running) && !cancel(lane.waiting)) return error::kNotFound;
  changed_.NotifyAll();
  return 0;
}

void TransferJobs::Work(Direction direction) {
  Lane& lane = this->lane(direction);
  Lock lock(mutex_);
  for (;;) {
    ++lane.idle_workers;
    changed_.Wait(lock, [&] { return !taking_ || !lane.waiting.empty(); });
    --lane.idle_workers;
    if (lane.waiting.empty()) return;
    const JobPointer job = lane.waiting.front();
    lane.waiting.pop_front();
    lane.running.push_back(job);
    lock.unlock();
    job->transfer->Run(job->control);
    lock.lock();
    Conclude(lock, job);
    std::erase(lane.running, job);
  }
}

void TransferJobs::Conclude(Lock& lock, const JobPointer& job) {
  job->over = true;
  if (job->control.Ended() == kAborted) {
    lock.unlock();
    job->transfer->OnCancelled();
    lock.lock();
  }
  ended_.push_back(job);
  changed_.NotifyAll();
}

void TransferJobs::RunReports() {
  Lock lock(mutex_);
  for (;;) {
    if (const JobPointer late = TakeEndedWhileWaiting()) {
      lock.unlock();
      late->transfer->Run(late->control);
      lock.lock();
      Conclude(lock, late);
    } else if (const JobPointer due = TakeDueReport()) {
      lock.unlock();
      Report(*due);
      lock.lock();
    } else if (IsDone()) {
      return;
    } else {
      changed_.WaitOnce(lock, NextReport());
    }
  }
}

TransferJobs::JobPointer TransferJobs::TakeEndedWhileWaiting() {
  for (Lane& lane : lanes_) {
    const auto ended = std::ranges::find_if(
        lane.waiting, [](const JobPointer& job) { return job->control.Ended() != 0; });
    if (ended == lane.waiting.end()) continue;
    JobPointer job = *ended;
    lane.waiting.erase(ended);
    return job;
  }
  return nullptr;
}

TransferJobs::JobPointer TransferJobs::TakeDueReport() {
  const Clock::time_point now = Clock::now();
  const auto due =
      std::ranges::find_if(ended_, [&](const JobPointer& job) { return job->report_at <= now; });
  if (due == ended_.end()) return nullptr;
  JobPointer job = *due;
  ended_.erase(due);
  return job;
}

Clock::time_point TransferJobs::NextReport() {
  Clock::time_point next = Clock::time_point::max();
  for (const JobPointer& job : ended_)
    next = std::min(next, job->report_at);
  for (const Lane& lane : lanes_) {
    for (const JobPointer& job : lane.waiting)
      next = std::min(next, job->control.deadline());
  }
  return next;
}

bool TransferJobs::IsDone() const {
  return !taking_ && ended_.empty() && std::ranges::all_of(lanes_, [](const Lane& lane) {
    return lane.waiting.empty() && lane.running.empty();
  });
}

uint32_t TransferJobs::Register(Observer* observer) {
  const Lock lock(mutex_);
  if (std::ranges::find(observers_, observer) != observers_.end()) return error::kFailed;
  observers_.push_back(observer);
  return 0;
}

uint32_t TransferJobs::Unregister(Observer* observer) {
  Lock lock(mutex_);
  if (std::erase(observers_, observer) == 0) return error::kFailed;
  if (reporter_.get_id() != std::this_thread::get_id()) {
    changed_.Wait(lock, [&] { return reporting_to_ != observer; });
  }
  return 0;
}

void TransferJobs::Report(const Job& job) {
  Lock lock(mutex_);
  const std::vector<Observer*> observers = observers_;
  for (Observer* const observer : observers) {
    // It may have gone meanwhile.
    if (std::ranges::find(observers_, observer) == observers_.end()) continue;
    reporting_to_ = observer;
    lock.unlock();
    job.transfer->Report(*observer, job.id);
    lock.lock();
    reporting_to_ = nullptr;
    changed_.NotifyAll();
  }
}

}  // namespace host::storage
