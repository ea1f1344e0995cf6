#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "host/log/settings_monitor.h"
#include "host/log/thread_depth.h"
#include "module/frame/windows.h"

namespace spdlog::sinks {
class sink;
}

namespace host::log {

// What is behind the exports of log.dll, which say what each operation does
// (module/platform/log_dll.h). One instance per process. Any thread; nothing throws, and a file
// that cannot be written only loses its lines.
class LogLibrary {
 public:
  LogLibrary();
  ~LogLibrary();
  LogLibrary(const LogLibrary&) = delete;
  LogLibrary& operator=(const LogLibrary&) = delete;

  void AddUser();
  void RemoveUser();
  void Flush();

  uint32_t SetSettingsFile(const wchar_t* path);
  uint32_t ApplySettings();
  uint32_t MonitorSettings(bool on);

  void Enable(bool on) { enabled_ = on; }
  bool IsEnabled() const { return enabled_; }
  void SetLevel(uint32_t mask) { level_mask_ = mask; }
  uint32_t GetLevel() const { return level_mask_; }
  uint32_t SetPath(const wchar_t* path);
  void SetType(uint32_t mask) { targets_ = mask; }
  void SetMode(uint32_t mode) { mode_ = mode; }
  void SetMaxSize(uint64_t bytes, uint32_t files);
  void SetDepth(uint32_t levels) { deepest_ = levels; }

  void Write(uint16_t depth_change, uint32_t level, const wchar_t* function, const wchar_t* format,
             va_list args);
  // A line of this library's own, of `level`.
  void Write(uint32_t level, const wchar_t* function, const wchar_t* format, ...);

 private:
  static void CALLBACK OnFlushTimer(PTP_CALLBACK_INSTANCE, void* context, PTP_TIMER timer);

  void WriteLineLocked(const std::string& line, uint32_t level);
  bool OpenLocked();
  void CloseLocked();
  // Writes out what is held back, at once or a second from now.
  void FlushLocked();
  void FlushSoonLocked();

  // Fixed after construction, or synchronise themselves.
  ThreadDepth depth_;
  std::atomic<bool> enabled_{true};
  std::atomic<uint32_t> level_mask_{2 | 4 | 8 | 16};
  std::atomic<uint32_t> targets_{1};
  std::atomic<uint32_t> mode_{0};
  std::atomic<uint32_t> deepest_{32};
  SettingsMonitor monitor_;

  // Guarded by mutex_.
  std::mutex mutex_;
  uint32_t users_ = 0;
  std::wstring settings_file_;
  std::wstring path_;
  uint64_t max_size_ = 10 * 1024 * 1024;
  uint32_t files_ = 5;
  std::unique_ptr<spdlog::sinks::sink> file_;
  uint64_t next_opening_ = 0;  // After a failure, as GetTickCount64 counts.
  // Armed for one shot when something is held back, so that an idle log has no timer running. Null
  // while nobody uses the library, which may then be unloaded.
  PTP_TIMER flush_timer_ = nullptr;
  bool flush_pending_ = false;
};

}  // namespace host::log
