#include "module/jobs/testing/process_counts.h"

#include <algorithm>

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
  std::vector<DWORD> ids = {GetCurrentProcessId()};
  std::vector<orn::UniqueHandle> handles;
  for (size_t i = 0; i < ids.size(); ++i) {
    for (const PROCESSENTRY32W& process : processes) {
      if (process.th32ParentProcessID != ids[i]) continue;
      ids.push_back(process.th32ProcessID);
      handles.emplace_back(OpenProcess(SYNCHRONIZE, FALSE, process.th32ProcessID));
    }
  }
  return handles;
}
