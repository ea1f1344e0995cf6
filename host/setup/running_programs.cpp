#include "host/setup/running_programs.h"

#include "module/frame/windows.h"

#include <tlhelp32.h>
#include <wchar.h>

#include <vector>

namespace host::setup {
namespace {

constexpr DWORD kAnswer = 2000;    // Milliseconds for a window to answer.
constexpr DWORD kPatience = 5000;  // Milliseconds from the question to the end of a program.

struct Program {
  DWORD pid = 0;
  orn::UniqueHandle process;
  std::wstring path;
};

std::wstring ImagePath(HANDLE process) {
  std::wstring path(32768, L'\0');
  DWORD length = static_cast<DWORD>(path.size());
  if (!QueryFullProcessImageNameW(process, /*flags=*/0, path.data(), &length)) return {};
  path.resize(length);
  return path;
}

std::vector<Program> FindPrograms(const std::wstring& folder) {
  std::vector<Program> programs;
  const orn::UniqueFile snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  const std::wstring prefix = folder + L'\\';
  for (BOOL more = Process32FirstW(snapshot.get(), &entry); more;
       more = Process32NextW(snapshot.get(), &entry)) {
    if (entry.th32ProcessID == GetCurrentProcessId()) continue;
    orn::UniqueHandle process(
        OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_TERMINATE | SYNCHRONIZE,
                    /*inherit=*/FALSE, entry.th32ProcessID));
    if (!process) continue;
    std::wstring path = ImagePath(process.get());
    if (_wcsnicmp(path.c_str(), prefix.c_str(), prefix.size()) != 0) continue;
    programs.push_back({entry.th32ProcessID, std::move(process), std::move(path)});
  }
  return programs;
}

BOOL CALLBACK AskWindow(HWND window, LPARAM pid) {
  DWORD owner = 0;
  GetWindowThreadProcessId(window, &owner);
  if (static_cast<LPARAM>(owner) != pid) return TRUE;
  DWORD_PTR agreed = FALSE;
  if (SendMessageTimeoutW(window, WM_QUERYENDSESSION, 0, ENDSESSION_CLOSEAPP, SMTO_ABORTIFHUNG,
                          kAnswer, &agreed) &&
      agreed) {
    SendMessageTimeoutW(window, WM_ENDSESSION, TRUE, ENDSESSION_CLOSEAPP, SMTO_ABORTIFHUNG, kAnswer,
                        &agreed);
  }
  return TRUE;
}

}  // namespace

bool EndProgramsIn(const std::wstring& folder, SetupLog& log) {
  const std::vector<Program> programs = FindPrograms(folder);
  const ULONGLONG asked = GetTickCount64();
  for (const Program& program : programs)
    EnumWindows(&AskWindow, static_cast<LPARAM>(program.pid));
  bool ended = true;
  for (const Program& program : programs) {
    const ULONGLONG past = GetTickCount64() - asked;
    const DWORD left = past < kPatience ? kPatience - static_cast<DWORD>(past) : 0;
    const bool quit = WaitForSingleObject(program.process.get(), left) == WAIT_OBJECT_0;
    if (!quit && (!TerminateProcess(program.process.get(), 1) ||
                  WaitForSingleObject(program.process.get(), kPatience) != WAIT_OBJECT_0)) {
      ended = log.Fail(program.path + L" cannot be ended", GetLastError());
      continue;
    }
    log.Tell(program.path + (quit ? L" has quit" : L" was ended"));
  }
  return ended;
}

}  // namespace host::setup
