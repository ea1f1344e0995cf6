#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "module/frame/windows.h"

namespace logging {

// The run-time binding to the agent's log library, "log.dll". There is one shared instance per
// module, made by the first LogReference and destroyed with the last. Without the library, or
// without its `LogWrite`, every message is dropped in silence: nothing here fails.
class CLogDLL {
 public:
  // What the library returns from a call that has no implementation.
  static constexpr uint32_t kNotBound = 0x80004002;

  // Uses the copy of the library that the process already holds, wherever it came from; else loads
  // the one beside this module, and no other.
  CLogDLL();
  ~CLogDLL();
  CLogDLL(const CLogDLL&) = delete;
  CLogDLL& operator=(const CLogDLL&) = delete;

  // `depth_change` is 1 on the entry to a function, 0xFFFF on its exit, else 0. Any thread. The
  // library's own result; nobody needs it.
  uint32_t Write(uint16_t depth_change, uint32_t level, const wchar_t* function,
                 const wchar_t* format, va_list arguments) const;

 private:
  // The slots of the table, in the order that all bindings to the library share.
  enum EntryPoint : size_t {
    kApplySettings,
    kSetSettingsFile,
    kEnable,
    kSetLevel,
    kSetPath,
    kSetType,
    kSetMode,
    kSetMaxSize,
    kSetDepth,
    kWrite,
    kIsEnabled,
    kMonitorSettings,
    kUninitDeskMetrics,
    kTrackEvent,
    kTrackEventData,
    kRemoveModule,
    kGetLevel,
    kEntryPointCount
  };

  void Resolve();

  HMODULE library_ = nullptr;
  // Null where the library has no such entry point, but never kWrite.
  FARPROC entry_points_[kEntryPointCount] = {};
};

}  // namespace logging
