#include "host/console/parent_console.h"

#include <iterator>

#include "host/service/report.h"
#include "module/frame/windows.h"

namespace host::console {
namespace {

bool IsGiven(DWORD stream) {
  const HANDLE handle = GetStdHandle(stream);
  return handle != nullptr && handle != INVALID_HANDLE_VALUE &&
         GetFileType(handle) != FILE_TYPE_UNKNOWN;
}

}  // namespace

void AttachToParentConsole() {
  constexpr DWORD kStreams[] = {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
  const bool given[] = {IsGiven(kStreams[0]), IsGiven(kStreams[1])};
  if (given[0] && given[1]) return;
  const HANDLE before[] = {GetStdHandle(kStreams[0]), GetStdHandle(kStreams[1])};
  if (!AttachConsole(ATTACH_PARENT_PROCESS)) return;
  for (size_t i = 0; i < std::size(kStreams); ++i) {
    // Attaching may have replaced it.
    SetStdHandle(kStreams[i],
                 given[i] ? before[i]
                          : CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, /*security=*/nullptr,
                                        OPEN_EXISTING, /*flags=*/0, /*template=*/nullptr));
  }
}

void TellError(const std::wstring& text) {
  ReportError(text);
  if (IsGiven(STD_ERROR_HANDLE)) return;
  MessageBoxW(/*owner=*/nullptr, text.c_str(), L"TsrConsole", MB_OK | MB_ICONERROR);
}

}  // namespace host::console
