#include "host/service/supervision.h"

#include <algorithm>

#include "host/service/child_start.h"
#include "host/service/report.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host {
namespace {

constexpr const wchar_t* kFunction = L"host::Supervision";

// Milliseconds.
constexpr DWORD kFirstPause = 1000;
// Whoever needs one of the processes waits ten seconds for it, a pause and a start.
constexpr DWORD kLongestPause = 5000;
constexpr uint64_t kHealthyRun = 10000;
constexpr uint64_t kGrace = 2000;

// A wait for `life` that has succeeded made this thread its owner.
bool HasEnded(DWORD result) {
  return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

}  // namespace

void SupervisedProcess::Start() {
  quit_.reset(CreateEventW(nullptr, /*manualReset=*/TRUE, /*signalled=*/FALSE, /*name=*/nullptr));
  watcher_ = std::thread(&SupervisedProcess::Watch, this);
}

void SupervisedProcess::EndRestarts() {
  if (!watcher_.joinable()) return;
  SetEvent(quit_.get());
  watcher_.join();
}

void SupervisedProcess::Watch() {
  orn::SetThreadName(L"Supervision");
  DWORD pause = 0;
  for (;;) {
    const uint64_t begin = GetTickCount64();
    if (!RunOnce()) return;
    if (GetTickCount64() - begin >= kHealthyRun) pause = 0;
    ORN_LOG(logging::kNotice, kFunction, L"Host of %s is looked after again in %u ms",
            entry_.config.c_str(), pause);
    if (WaitForSingleObject(quit_.get(), pause) != WAIT_TIMEOUT) return;
    pause = std::clamp(2 * pause, kFirstPause, kLongestPause);
  }
}

bool SupervisedProcess::RunOnce() {
  const auto fail = [&](const std::wstring& what) {
    ReportError(L"Process " + entry_.program + L": " + what);
    return true;
  };
  // Read each time: whoever mends it need not restart this host.
  Configuration configuration;
  ConfigurationProblem problem;
  const std::wstring file = FindConfiguration(entry_.config);
  if (!ReadConfiguration(file, configuration, problem)) {
    return fail(file + L'(' + std::to_wstring(problem.line) + L"): " + problem.text + L": " +
                DescribeCode(problem.code));
  }
  name_ = configuration.name;
  stop_limit_ = configuration.stop_limit;
  bool running = false;
  uint32_t status = presence_.Open(name_);
  if (status == 0) status = presence_.IsRunning(running);
  if (status != 0) return fail(L"host " + name_ + L" cannot be watched: " + DescribeCode(status));
  if (running) {
    ORN_LOG(logging::kNotice, kFunction, L"Host %s runs already", name_.c_str());
    if (!WaitForEndOf(presence_.life())) return false;
    ReleaseMutex(presence_.life());
    ORN_LOG(logging::kWarning, kFunction, L"Host %s has ended", name_.c_str());
    return true;
  }

  status =
      StartChild({.command_line = L"\"" + entry_.program + L"\" /process /config \"" + file + L"\"",
                  .job = job_},
                 process_);
  if (status != 0) return fail(L"cannot be started: " + DescribeCode(status));
  ORN_LOG(logging::kNotice, kFunction, L"Host %s is started in process %u", name_.c_str(),
          GetProcessId(process_.get()));
  if (!WaitForEndOf(process_.get())) return false;
  DWORD exit_code = 0;
  GetExitCodeProcess(process_.get(), &exit_code);
  process_.reset();
  ORN_LOG(logging::kWarning, kFunction, L"Host %s has ended with code %u", name_.c_str(),
          exit_code);
  return true;
}

bool SupervisedProcess::WaitForEndOf(HANDLE object) const {
  const HANDLE objects[] = {quit_.get(), object};
  const DWORD result = WaitForMultipleObjects(2, objects, /*waitAll=*/FALSE, INFINITE);
  return result == WAIT_OBJECT_0 + 1 || result == WAIT_ABANDONED_0 + 1;
}

void SupervisedProcess::AskToStop() {
  deadline_ = GetTickCount64() + uint64_t{1000} * stop_limit_ + kGrace;
  bool running = false;
  presence_.RequestStop(running);
}

void SupervisedProcess::WaitForEnd() {
  for (;;) {
    const uint64_t now = GetTickCount64();
    const DWORD rest = static_cast<DWORD>(deadline_ - std::min(now, deadline_));
    bool running = false;
    presence_.RequestStop(running);
    DWORD result = WAIT_OBJECT_0;
    if (process_) {
      // One that is still being started knows of no stop before it has declared its host.
      const HANDLE objects[] = {process_.get(), presence_.started()};
      result = WaitForMultipleObjects(running ? 1 : 2, objects, /*waitAll=*/FALSE, rest);
      if (result == WAIT_OBJECT_0) return;
    } else {
      if (!running) return;
      result = WaitForSingleObject(presence_.life(), rest);
      if (HasEnded(result)) {
        ReleaseMutex(presence_.life());
        return;
      }
    }
    if (result == WAIT_TIMEOUT || result == WAIT_FAILED) break;
  }
  ReportError(L"Host " + name_ + L" did not stop in time and is ended");
  if (process_) TerminateProcess(process_.get(), 1);
}

uint32_t Supervision::Start(const std::vector<ProcessEntry>& entries) {
  if (entries.empty()) return 0;
  job_ = CreateKillOnCloseJob();
  if (!job_) return GetLastError();
  for (const ProcessEntry& entry : entries) {
    processes_.push_back(std::make_unique<SupervisedProcess>(entry, job_.get()));
    processes_.back()->Start();
  }
  return 0;
}

void Supervision::EndRestarts() {
  for (const auto& process : processes_)
    process->EndRestarts();
}

void Supervision::Stop() {
  for (const auto& process : processes_)
    process->AskToStop();
  for (const auto& process : processes_)
    process->WaitForEnd();
}

}  // namespace host
