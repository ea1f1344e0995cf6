#include "module/jobs/testing/process_counts.h"

#include <algorithm>
#include <cstdint>
#include <utility>

// After windows.h.
#include <tlhelp32.h>
#include <winternl.h>

namespace {

struct HandleList {
  ULONG_PTR count;
  ULONG_PTR reserved;
  struct {
    PVOID object;
    ULONG_PTR process;
    ULONG_PTR handle;
    ULONG access;
    USHORT creator;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
  } handles[1];
};

template <class Entry, class First, class Next>
std::vector<Entry> Snapshot(DWORD kind, First first, Next next) {
  const orn::UniqueFile snapshot(CreateToolhelp32Snapshot(kind, 0));
  std::vector<Entry> entries;
  Entry entry = {};
  entry.dwSize = sizeof(entry);
  for (BOOL more = first(snapshot.get(), &entry); more; more = next(snapshot.get(), &entry)) {
    entries.push_back(entry);
  }
  return entries;
}

uint64_t CreationTime(HANDLE process) {
  FILETIME created = {}, unused = {};
  GetProcessTimes(process, &created, &unused, &unused, &unused);
  return uint64_t{created.dwHighDateTime} << 32 | created.dwLowDateTime;
}

}  // namespace

size_t CountHandles() {
  constexpr auto kExtendedHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(64);
  std::vector<ULONG_PTR> buffer(1 << 18);
  while (NtQuerySystemInformation(kExtendedHandleInformation, buffer.data(),
                                  static_cast<ULONG>(buffer.size() * sizeof(ULONG_PTR)),
                                  nullptr) != 0) {
    buffer.resize(buffer.size() * 2);
  }
  const auto* const list = reinterpret_cast<const HandleList*>(buffer.data());
  size_t count = 0;
  for (ULONG_PTR i = 0; i < list->count; ++i) {
    if (list->handles[i].process == GetCurrentProcessId()) ++count;
  }
  return count;
}

size_t CountThreads() {
  const auto threads = Snapshot<THREADENTRY32>(TH32CS_SNAPTHREAD, Thread32First, Thread32Next);
  return static_cast<size_t>(
      std::ranges::count(threads, GetCurrentProcessId(), &THREADENTRY32::th32OwnerProcessID));
}

std::vector<orn::UniqueHandle> Descendants() {
  const auto processes =
      Snapshot<PROCESSENTRY32W>(TH32CS_SNAPPROCESS, Process32FirstW, Process32NextW);
  struct Parent {
    DWORD id;
    uint64_t created;
  };
  std::vector<Parent> parents = {{GetCurrentProcessId(), CreationTime(GetCurrentProcess())}};
  std::vector<orn::UniqueHandle> handles;
  for (size_t i = 0; i < parents.size(); ++i) {
    for (const PROCESSENTRY32W& entry : processes) {
      if (entry.th32ParentProcessID != parents[i].id) continue;
      orn::UniqueHandle process(
          OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, entry.th32ProcessID));
      // An older one had a parent that has ended and left its number to this one.
      if (!process || CreationTime(process.get()) < parents[i].created) continue;
      parents.push_back({entry.th32ProcessID, CreationTime(process.get())});
      handles.push_back(std::move(process));
    }
  }
  return handles;
}
