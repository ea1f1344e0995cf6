#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "module/frame/windows.h"

namespace host::log {

// Tells when a file was changed or replaced, by waiting for its folder on the system's thread pool.
class SettingsMonitor {
 public:
  SettingsMonitor() = default;
  ~SettingsMonitor() = default;  // Stop comes before.
  SettingsMonitor(const SettingsMonitor&) = delete;
  SettingsMonitor& operator=(const SettingsMonitor&) = delete;

  // `changed` is called on a thread of the pool, one call at a time. A monitor that runs is stopped
  // first. Returns a status, 0 for success.
  uint32_t Start(const std::wstring& file, std::function<void()> changed);
  // Waits for a running call; none comes after. Not to be called from `changed`.
  void Stop();

 private:
  static void CALLBACK OnFolderChanged(PTP_CALLBACK_INSTANCE, void* context, PTP_WAIT wait,
                                       TP_WAIT_RESULT);
  FILETIME LastWrite() const;

  std::mutex mutex_;  // Held by Start and Stop.
  std::wstring file_;
  std::function<void()> changed_;
  FILETIME last_write_{};
  HANDLE folder_ = INVALID_HANDLE_VALUE;
  PTP_WAIT wait_ = nullptr;
};

}  // namespace host::log
