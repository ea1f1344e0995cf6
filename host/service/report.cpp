#include "host/service/report.h"

#include "module/frame/utf.h"
#include "module/frame/windows.h"

namespace host {
namespace {

constexpr const wchar_t* kFunction = L"host::Report";

void WriteLine(DWORD stream, const std::wstring& text) {
  const std::wstring line = text + L'\n';
  const HANDLE handle = GetStdHandle(stream);
  DWORD written = 0;
  if (WriteConsoleW(handle, line.c_str(), static_cast<DWORD>(line.size()), &written, nullptr))
    return;
  // No console but a file or a pipe: UTF-8.
  const auto bytes = orn::ToUtf8(line);
  WriteFile(handle, bytes.c_str(), static_cast<DWORD>(bytes.length()), &written, nullptr);
}

}  // namespace

std::wstring DescribeCode(uint32_t code) {
  wchar_t text[512];
  DWORD length =
      FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, /*source=*/nullptr,
                     code, /*language=*/0, text, 512, /*arguments=*/nullptr);
  while (length > 0 && (text[length - 1] <= L' ' || text[length - 1] == L'.'))
    --length;
  std::wstring description = std::to_wstring(code);
  if (length > 0) description += L" (" + std::wstring(text, length) + L")";
  return description;
}

std::wstring DescribeProblem(const std::wstring& file, int line, const std::wstring& what,
                             uint32_t code) {
  std::wstring text = file;
  if (line > 0) text += L'(' + std::to_wstring(line) + L')';
  return text + L": " + what + L": " + DescribeCode(code);
}

void ReportError(const std::wstring& text) {
  WriteLine(STD_ERROR_HANDLE, text);
  ORN_LOG(logging::kError, kFunction, L"%s", text.c_str());
}

void ReportProgress(const std::wstring& text) {
  WriteLine(STD_OUTPUT_HANDLE, text);
  ORN_LOG(logging::kNotice, kFunction, L"%s", text.c_str());
}

}  // namespace host
