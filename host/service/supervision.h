#pragma once

#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "host/common/host_presence.h"
#include "host/service/configuration.h"
#include "module/frame/handle.h"

namespace host {

// One process of a configuration, run again and again. Where its host runs already, because
// somebody else started it, there is no second one; when that one ends, one is started from here.
// The first death is followed by a start at once, each further one by a pause: a second, doubled
// each time up to five. A run that has lasted ten seconds counts as the first again.
class SupervisedProcess {
 public:
  // `entry` and `job` are not owned.
  SupervisedProcess(const ProcessEntry& entry, HANDLE job) : entry_(entry), job_(job) {}
  SupervisedProcess(const SupervisedProcess&) = delete;
  SupervisedProcess& operator=(const SupervisedProcess&) = delete;
  ~SupervisedProcess() { EndRestarts(); }

  void Start();
  void EndRestarts();
  // Both after EndRestarts. `AskToStop` begins the time that `WaitForEnd` has: the process's own
  // limit for an orderly stop and a little more; one that is not gone by then is ended.
  void AskToStop();
  void WaitForEnd();

 private:
  // The watching thread.
  void Watch();
  // From a start, or from where a running host was found, to its end; returns at once where there
  // is no start. False when the watching is to end.
  bool RunOnce();
  bool WaitForEndOf(HANDLE object) const;

  const ProcessEntry& entry_;
  const HANDLE job_;
  orn::UniqueHandle quit_;
  std::thread watcher_;

  // The watching thread's, and after its end the stopping thread's.
  std::wstring name_;  // The host's.
  uint32_t stop_limit_ = 0;
  HostPresence presence_;
  orn::UniqueHandle process_;
  uint64_t deadline_ = 0;
};

// The other processes of a host: brings them up, keeps them up, and takes them down with it. All
// are in a job of this process's, so they end with it however it ends. Its operations belong to one
// thread.
class Supervision {
 public:
  // Begins to start the processes and does not wait for them. `entries` is not owned. Returns a
  // status.
  uint32_t Start(const std::vector<ProcessEntry>& entries);
  // From here on nothing is started any more.
  void EndRestarts();
  // Asks all processes to stop, and returns when they have ended or were ended.
  void Stop();

 private:
  orn::UniqueHandle job_;
  std::vector<std::unique_ptr<SupervisedProcess>> processes_;
};

}  // namespace host
