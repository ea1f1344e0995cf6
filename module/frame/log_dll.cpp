#include "module/frame/log_dll.h"

#include <iterator>
#include <memory>
#include <new>
#include <string_view>

// This module's image, as the linker names it.
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace logging {
namespace {

constexpr DWORD kPathLength = 32767;

HMODULE ThisModule() {
  return reinterpret_cast<HMODULE>(&__ImageBase);
}

template <class Function>
Function As(FARPROC entry_point) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(entry_point));
}

using LogInitFunction = void (*)();
using LogDeinitFunction = void (*)();
using LogUninitDeskMetricsFunction = void (*)();
using LogRemoveModuleFunction = void (*)(const char* remover);
using LogWriteFunction = uint32_t (*)(uint16_t depth_change, const uint32_t* level, HMODULE module,
                                      const wchar_t* function, const wchar_t* format,
                                      va_list arguments);

uint32_t WriteNothing(uint16_t, const uint32_t*, HMODULE, const wchar_t*, const wchar_t*, va_list) {
  return CLogDLL::kNotBound;
}

HMODULE LoadFromThisFolder() {
  const std::unique_ptr<wchar_t[]> path(new (std::nothrow) wchar_t[kPathLength]);
  if (path == nullptr) return nullptr;
  const DWORD length = GetModuleFileNameW(ThisModule(), path.get(), kPathLength);
  constexpr std::wstring_view kName = L"\\log.dll";
  const size_t folder = std::wstring_view(path.get(), length).rfind(L'\\');
  if (folder == std::wstring_view::npos || folder + kName.size() >= kPathLength) return nullptr;
  path[folder + kName.copy(&path[folder], kName.size())] = 0;
  return LoadLibraryW(path.get());
}

}  // namespace

CLogDLL::CLogDLL() {
  if (!GetModuleHandleExW(0, L"log.dll", &library_)) library_ = LoadFromThisFolder();
  if (library_ != nullptr) Resolve();
  if (entry_points_[kWrite] == nullptr) {
    entry_points_[kWrite] = reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&WriteNothing));
  }
}

void CLogDLL::Resolve() {
  if (const auto init = As<LogInitFunction>(GetProcAddress(library_, "LogInit"))) init();

  static constexpr struct {
    EntryPoint slot;
    const char* name;
  } kEntryPoints[] = {
      {kApplySettings, "LogApplySettings"},
      {kSetSettingsFile, "LogSetSettingsFile"},
      {kEnable, "LogEnable"},
      {kSetLevel, "LogSetLevel"},
      {kSetPath, "LogSetPath"},
      {kSetType, "LogSetType"},
      {kSetMode, "LogSetMode"},
      {kSetMaxSize, "LogSetMaxSize"},
      {kSetDepth, "LogSetDepth"},
      {kWrite, "LogWrite"},
      {kIsEnabled, "LogIsEnabled"},
      {kMonitorSettings, "LogMonitorSettings"},
      {kGetLevel, "LogGetLevel"},
      {kUninitDeskMetrics, "LogUninitDeskMetrics"},
      {kTrackEvent, "LogTrackEvent"},
      {kTrackEventData, "LogTrackEventData"},
      {kRemoveModule, "LogRemoveModule"},
  };
  static_assert(std::size(kEntryPoints) == kEntryPointCount);
  for (const auto& [slot, name] : kEntryPoints)
    entry_points_[slot] = GetProcAddress(library_, name);
}

CLogDLL::~CLogDLL() {
  if (library_ == nullptr) return;
  if (const auto deinit = As<LogDeinitFunction>(GetProcAddress(library_, "LogDeinit"))) deinit();
  if (entry_points_[kUninitDeskMetrics] != nullptr) {
    As<LogUninitDeskMetricsFunction>(entry_points_[kUninitDeskMetrics])();
  }
  if (entry_points_[kRemoveModule] != nullptr) {
    As<LogRemoveModuleFunction>(entry_points_[kRemoveModule])("logging::CLogDLL::~CLogDLL");
  }
  FreeLibrary(library_);
}

uint32_t CLogDLL::Write(uint16_t depth_change, uint32_t level, const wchar_t* function,
                        const wchar_t* format, va_list arguments) const {
  return As<LogWriteFunction>(entry_points_[kWrite])(depth_change, &level, ThisModule(), function,
                                                     format, arguments);
}

}  // namespace logging
