// A log library for the tests of the binding: it tells the program of each call that it gets.

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>

#include "module/frame/windows.h"

namespace {

void Tell(const std::wstring& call) {
  const auto recorded = reinterpret_cast<void (*)(const wchar_t*)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(nullptr), "RecordedByLog")));
  if (recorded != nullptr) recorded(call.c_str());
}

}  // namespace

#pragma GCC diagnostic ignored "-Wmissing-declarations"

#define LOG_EXPORT extern "C" __declspec(dllexport)

LOG_EXPORT void LogInit() {
  Tell(L"LogInit");
}
LOG_EXPORT void LogDeinit() {
  Tell(L"LogDeinit");
}
LOG_EXPORT void LogUninitDeskMetrics() {
  Tell(L"LogUninitDeskMetrics");
}
LOG_EXPORT void LogRemoveModule(const char* remover) {
  Tell(L"LogRemoveModule " + std::wstring(remover, remover + strlen(remover)));
}
LOG_EXPORT uint32_t LogWrite(uint16_t depth_change, const uint32_t* level, HMODULE module,
                             const wchar_t* function, const wchar_t* format, va_list arguments) {
  wchar_t text[1024] = {};
  _vsnwprintf(text, 1023, format, arguments);
  if (module != GetModuleHandleW(nullptr)) Tell(L"foreign module");
  Tell(std::to_wstring(depth_change) + L" " + std::to_wstring(*level) + L" " + function + L": " +
       text);
  SetLastError(ERROR_GEN_FAILURE);
  return 0;
}
