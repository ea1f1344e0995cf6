#include "host/service/child_start.h"

#include <array>
#include <cstddef>
#include <vector>

namespace host {
namespace {

// Inheritable duplicates of the standard streams, those that there are.
class InheritedStreams {
 public:
  explicit InheritedStreams(STARTUPINFOEXW& startup) : startup_(startup) {
    STARTUPINFOW& streams = startup.StartupInfo;
    streams.dwFlags |= STARTF_USESTDHANDLES;
    streams.hStdInput = Duplicate(STD_INPUT_HANDLE);
    streams.hStdOutput = Duplicate(STD_OUTPUT_HANDLE);
    streams.hStdError = Duplicate(STD_ERROR_HANDLE);
    if (count_ == 0) return;
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    memory_.resize(size);
    const auto list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    if (!InitializeProcThreadAttributeList(list, 1, 0, &size)) return;
    startup.lpAttributeList = list;
    inherits_ = UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, list_.data(),
                                          count_ * sizeof(HANDLE), nullptr, nullptr) != FALSE;
  }
  InheritedStreams(const InheritedStreams&) = delete;
  InheritedStreams& operator=(const InheritedStreams&) = delete;
  ~InheritedStreams() {
    if (startup_.lpAttributeList != nullptr)
      DeleteProcThreadAttributeList(startup_.lpAttributeList);
  }

  bool inherits() const { return inherits_; }

 private:
  HANDLE Duplicate(DWORD stream) {
    const HANDLE given = GetStdHandle(stream);
    if (given == nullptr || given == INVALID_HANDLE_VALUE) return nullptr;
    orn::UniqueHandle& handle = handles_[count_];
    if (!DuplicateHandle(GetCurrentProcess(), given, GetCurrentProcess(), handle.put(),
                         /*access=*/0, /*inherit=*/TRUE, DUPLICATE_SAME_ACCESS)) {
      return nullptr;
    }
    return list_[count_++] = handle.get();
  }

  STARTUPINFOEXW& startup_;
  std::array<orn::UniqueHandle, 3> handles_;
  std::array<HANDLE, 3> list_{};
  size_t count_ = 0;
  std::vector<std::byte> memory_;
  bool inherits_ = false;
};

}  // namespace

orn::UniqueHandle CreateKillOnCloseJob() {
  orn::UniqueHandle job(CreateJobObjectW(/*security=*/nullptr, /*name=*/nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  if (job && !SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                      sizeof(limits))) {
    job.reset();
  }
  return job;
}

uint32_t StartChild(const ChildStart& start, orn::UniqueHandle& process) {
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof(startup);
  const InheritedStreams streams(startup);
  std::wstring command_line = start.command_line;  // The system writes into it.
  constexpr DWORD kFlags = EXTENDED_STARTUPINFO_PRESENT | CREATE_SUSPENDED | CREATE_NO_WINDOW;
  PROCESS_INFORMATION started{};
  const BOOL created =
      start.token == nullptr
          ? CreateProcessW(nullptr, command_line.data(), nullptr, nullptr, streams.inherits(),
                           kFlags, nullptr, nullptr, &startup.StartupInfo, &started)
          : CreateProcessAsUserW(start.token, nullptr, command_line.data(), nullptr, nullptr,
                                 streams.inherits(), kFlags, nullptr, nullptr, &startup.StartupInfo,
                                 &started);
  if (!created) return GetLastError();
  process.reset(started.hProcess);
  const orn::UniqueHandle thread(started.hThread);
  if (AssignProcessToJobObject(start.job, process.get()) &&
      ResumeThread(thread.get()) != static_cast<DWORD>(-1)) {
    return 0;
  }
  const DWORD status = GetLastError();
  TerminateProcess(process.get(), status);
  process.reset();
  return status;
}

}  // namespace host
