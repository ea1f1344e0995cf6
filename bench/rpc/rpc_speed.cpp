// Calls per second and latency of an echo in another process, by several roads.
//
//   rpc_speed raw|system|ours BYTES CALLERS SECONDS   prints {"calls", "seconds", "median", "p99"},
//                                                     the latter two in microseconds
//   rpc_speed serve raw|system PID CALLERS            is the other process, as long as process PID

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "bench/rpc/road.h"
#include "module/frame/handle.h"

namespace {

using namespace bench;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kWarmUp{20};  // Of each caller.

struct RoadKind {
  const wchar_t* name;
  std::unique_ptr<Road> (*open)(const std::wstring& name);
  // Null where the road brings its server itself. Returns when calls are taken.
  bool (*serve)(const std::wstring& name, int callers);
};

constexpr RoadKind kRoads[] = {
    {L"raw", OpenRawPipe, ServeRawPipe},
    {L"system", OpenSystemRpc, ServeSystemRpc},
    {L"ours", OpenOurRpc, /*serve=*/nullptr},
};

std::wstring NameFor(DWORD pid) {
  return L"remote-access-bench-" + std::to_wstring(pid);
}

orn::UniqueHandle ReadyEvent(DWORD pid) {
  return orn::UniqueHandle(
      CreateEventW(nullptr, /*manualReset=*/TRUE, FALSE, (NameFor(pid) + L"-ready").c_str()));
}

int Serve(const RoadKind& kind, DWORD pid, int callers) {
  const orn::UniqueHandle client(OpenProcess(SYNCHRONIZE, FALSE, pid));
  if (!client || !kind.serve(NameFor(pid), callers)) return 1;
  SetEvent(ReadyEvent(pid).get());
  WaitForSingleObject(client.get(), INFINITE);
  // Its threads are in the middle of reads.
  TerminateProcess(GetCurrentProcess(), 0);
  return 0;
}

// Starts this program as the server and waits until it takes calls.
bool StartServer(const RoadKind& kind, int callers) {
  wchar_t program[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  const DWORD pid = GetCurrentProcessId();
  std::wstring command = L"\"" + std::wstring(program) + L"\" serve " + kind.name + L" " +
                         std::to_wstring(pid) + L" " + std::to_wstring(callers);
  const orn::UniqueHandle ready = ReadyEvent(pid);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION information{};
  if (!CreateProcessW(program, command.data(), nullptr, nullptr, /*inheritHandles=*/FALSE, 0,
                      nullptr, nullptr, &startup, &information)) {
    return false;
  }
  const orn::UniqueHandle process(information.hProcess);
  const orn::UniqueHandle thread(information.hThread);
  const HANDLE waits[] = {ready.get(), process.get()};
  return WaitForMultipleObjects(2, waits, FALSE, INFINITE) == WAIT_OBJECT_0;
}

struct Measured {
  std::vector<double> microseconds;  // One for each call.
  bool failed = false;
};

Measured CallFor(Caller& caller, size_t bytes, std::chrono::duration<double> time) {
  Measured measured;
  const std::string request(bytes, 'x');
  std::string answer;
  const auto end = Clock::now() + time;
  for (auto start = Clock::now(); start < end && !measured.failed;) {
    answer.clear();
    measured.failed = !caller.Call(request, answer) || answer.size() != bytes;
    const auto now = Clock::now();
    measured.microseconds.push_back(std::chrono::duration<double, std::micro>(now - start).count());
    start = now;
  }
  return measured;
}

int Measure(const RoadKind& kind, size_t bytes, int callers, double seconds) {
  if (kind.serve != nullptr && !StartServer(kind, callers)) return 2;
  const auto road = kind.open(NameFor(GetCurrentProcessId()));
  if (!road) return 3;
  std::vector<std::unique_ptr<Caller>> each;
  for (int i = 0; i < callers; ++i) {
    each.push_back(road->NewCaller());
    if (!each.back()) return 4;
    if (CallFor(*each.back(), bytes, kWarmUp).failed) return 5;
  }
  std::vector<Measured> measured(each.size());
  std::vector<std::thread> threads;
  const auto start = Clock::now();
  for (size_t i = 0; i < each.size(); ++i) {
    threads.emplace_back(
        [&, i] { measured[i] = CallFor(*each[i], bytes, std::chrono::duration<double>(seconds)); });
  }
  for (std::thread& thread : threads)
    thread.join();
  const double taken = std::chrono::duration<double>(Clock::now() - start).count();
  std::vector<double> all;
  for (const Measured& one : measured) {
    if (one.failed) return 6;
    all.insert(all.end(), one.microseconds.begin(), one.microseconds.end());
  }
  std::ranges::sort(all);
  std::printf("{\"calls\": %zu, \"seconds\": %.3f, \"median\": %.1f, \"p99\": %.1f}\n", all.size(),
              taken, all[all.size() / 2], all[all.size() * 99 / 100]);
  return 0;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const std::vector<std::wstring> words(arguments + 1, arguments + count);
  const bool serve = words.size() == 4 && words[0] == L"serve";
  for (const RoadKind& kind : kRoads) {
    if (serve && words[1] == kind.name && kind.serve != nullptr) {
      return Serve(kind, std::stoul(words[2]), std::stoi(words[3]));
    }
    if (words.size() == 4 && words[0] == kind.name) {
      return Measure(kind, std::stoul(words[1]), std::stoi(words[2]), std::stod(words[3]));
    }
  }
  std::fprintf(stderr, "usage: rpc_speed raw|system|ours BYTES CALLERS SECONDS\n");
  return 1;
}
