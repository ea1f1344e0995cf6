#include "host/setup/setup_log.h"

#include <cstdio>

#include "host/service/report.h"
#include "module/frame/utf.h"

namespace host::setup {

SetupLog::SetupLog() {
  wchar_t folder[MAX_PATH + 1] = {};
  GetTempPathW(MAX_PATH + 1, folder);
  SYSTEMTIME now{};
  GetLocalTime(&now);
  wchar_t name[64];
  std::swprintf(name, 64, L"TsrSetup-%04u%02u%02u-%02u%02u%02u-%lu.log", now.wYear, now.wMonth,
                now.wDay, now.wHour, now.wMinute, now.wSecond, GetCurrentProcessId());
  path_ = std::wstring(folder) + name;
  file_.reset(CreateFileW(path_.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                          /*security=*/nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                          /*template=*/nullptr));
  if (!file_) path_.clear();
}

void SetupLog::Note(const std::wstring& text) {
  if (!file_) return;
  SYSTEMTIME now{};
  GetLocalTime(&now);
  wchar_t time[32];
  std::swprintf(time, 32, L"%02u:%02u:%02u.%03u  ", now.wHour, now.wMinute, now.wSecond,
                now.wMilliseconds);
  const auto line = orn::ToUtf8(time + text + L"\r\n");
  DWORD written = 0;
  WriteFile(file_.get(), line.c_str(), static_cast<DWORD>(line.length()), &written,
            /*overlapped=*/nullptr);
}

void SetupLog::Tell(const std::wstring& text) {
  ReportProgress(text);
  Note(text);
}

bool SetupLog::Fail(const std::wstring& text, uint32_t code) {
  const std::wstring line = code == 0 ? text : text + L": " + DescribeCode(code);
  ReportError(line);
  Note(L"Error: " + line);
  return false;
}

}  // namespace host::setup
