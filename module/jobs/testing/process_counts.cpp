#include "module/jobs/testing/process_counts.h"

#include <vector>

#include "module/frame/handle.h"
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

template <class Entry, class First, class Next, class Counts>
size_t CountInSnapshot(DWORD kind, First first, Next next, Counts counts) {
  const orn::UniqueFile snapshot(CreateToolhelp32Snapshot(kind, 0));
  Entry entry = {};
  entry.dwSize = sizeof(entry);
  size_t count = 0;
  for (BOOL more = first(snapshot.get(), &entry); more; more = next(snapshot.get(), &entry)) {
    if (counts(entry)) ++count;
  }
  return count;
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
  return CountInSnapshot<THREADENTRY32>(
      TH32CS_SNAPTHREAD, Thread32First, Thread32Next,
      [](const auto& entry) { return entry.th32OwnerProcessID == GetCurrentProcessId(); });
}

size_t CountChildren() {
  return CountInSnapshot<PROCESSENTRY32W>(
      TH32CS_SNAPPROCESS, Process32FirstW, Process32NextW,
      [](const auto& entry) { return entry.th32ParentProcessID == GetCurrentProcessId(); });
}
