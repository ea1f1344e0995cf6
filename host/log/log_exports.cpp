// The exports of log.dll. What each does stands beside its type in module/platform/log_dll.h.

#include "host/log/log_library.h"
#include "module/platform/log_dll.h"

namespace {

constexpr uint32_t kInformationLevel = 16;

host::log::LogLibrary library;

}  // namespace

extern "C" {

void LogInit() {
  library.AddUser();
}

void LogDeinit() {
  library.RemoveUser();
}

uint32_t LogSetSettingsFile(const wchar_t* path) {
  return library.SetSettingsFile(path);
}

uint32_t LogApplySettings() {
  return library.ApplySettings();
}

uint32_t LogMonitorSettings(uint32_t on) {
  return library.MonitorSettings(on != 0);
}

void LogEnable(uint32_t on) {
  library.Enable(on != 0);
}

uint32_t LogIsEnabled() {
  return library.IsEnabled() ? 1 : 0;
}

void LogSetLevel(uint32_t mask) {
  library.SetLevel(mask);
}

uint32_t LogGetLevel() {
  return library.GetLevel();
}

uint32_t LogSetPath(const wchar_t* path) {
  return library.SetPath(path);
}

void LogSetType(uint32_t mask) {
  library.SetType(mask);
}

void LogSetMode(uint32_t mode) {
  library.SetMode(mode);
}

void LogSetMaxSize(uint64_t bytes, uint32_t files) {
  library.SetMaxSize(bytes, files);
}

void LogSetDepth(uint32_t levels) {
  library.SetDepth(levels);
}

uint32_t LogWrite(uint16_t depth_change, const uint32_t* level, void*, const wchar_t* function,
                  const wchar_t* format, va_list args) {
  // Without a level nothing is written, but the depth stays right.
  library.Write(depth_change, level == nullptr ? 0 : *level, function, format, args);
  return 0;
}

void LogTrackEvent(const wchar_t* event) {
  library.Write(kInformationLevel, L"LogTrackEvent", L"%s", event);
}

void LogTrackEventData(const wchar_t* event, const wchar_t* data) {
  library.Write(kInformationLevel, L"LogTrackEventData", L"%s: %s", event, data);
}

void LogUninitDeskMetrics() {
  library.Flush();
}

void LogRemoveModule(const char*) {
  library.Flush();
}

}  // extern "C"

// A definition that strays from the type under which others call it does not compile.
#define CHECK_TYPE(name) [[maybe_unused]] constexpr logging::name##Fn k##name = name

namespace {

CHECK_TYPE(LogInit);
CHECK_TYPE(LogDeinit);
CHECK_TYPE(LogSetSettingsFile);
CHECK_TYPE(LogApplySettings);
CHECK_TYPE(LogMonitorSettings);
CHECK_TYPE(LogEnable);
CHECK_TYPE(LogIsEnabled);
CHECK_TYPE(LogSetLevel);
CHECK_TYPE(LogGetLevel);
CHECK_TYPE(LogSetPath);
CHECK_TYPE(LogSetType);
CHECK_TYPE(LogSetMode);
CHECK_TYPE(LogSetMaxSize);
CHECK_TYPE(LogSetDepth);
CHECK_TYPE(LogWrite);
CHECK_TYPE(LogTrackEvent);
CHECK_TYPE(LogTrackEventData);
CHECK_TYPE(LogUninitDeskMetrics);
CHECK_TYPE(LogRemoveModule);

}  // namespace
