#include "host/log/settings_monitor.h"

#include <utility>

#include "host/common/file_path.h"

namespace host::log {

uint32_t SettingsMonitor::Start(const std::wstring& file, std::function<void()> changed) {
  Stop();
  const std::lock_guard lock(mutex_);
  file_ = file;
  changed_ = std::move(changed);
  folder_ =
      FindFirstChangeNotificationW(FolderOf(file).c_str(), /*watchSubtree=*/FALSE,
                                   FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE);
  if (folder_ == INVALID_HANDLE_VALUE) return GetLastError();
  wait_ = CreateThreadpoolWait(OnFolderChanged, this, /*environment=*/nullptr);
  if (wait_ == nullptr) {
    const DWORD code = GetLastError();
    FindCloseChangeNotification(std::exchange(folder_, INVALID_HANDLE_VALUE));
    return code;
  }
  last_write_ = LastWrite();
  SetThreadpoolWait(wait_, folder_, /*timeout=*/nullptr);
  return 0;
}

void SettingsMonitor::Stop() {
  const std::lock_guard lock(mutex_);
  if (wait_ == nullptr) return;
  // A running call arms the wait anew at its end, hence once more after it.
  SetThreadpoolWait(wait_, nullptr, nullptr);
  WaitForThreadpoolWaitCallbacks(wait_, /*cancelPending=*/TRUE);
  SetThreadpoolWait(wait_, nullptr, nullptr);
  WaitForThreadpoolWaitCallbacks(wait_, /*cancelPending=*/TRUE);
  CloseThreadpoolWait(std::exchange(wait_, nullptr));
  FindCloseChangeNotification(std::exchange(folder_, INVALID_HANDLE_VALUE));
}

void CALLBACK SettingsMonitor::OnFolderChanged(PTP_CALLBACK_INSTANCE, void* context, PTP_WAIT wait,
                                               TP_WAIT_RESULT) {
  SettingsMonitor& self = *static_cast<SettingsMonitor*>(context);
  // Asked for anew before the file is looked at, so that no change falls between.
  FindNextChangeNotification(self.folder_);
  const FILETIME last_write = self.LastWrite();
  // The log itself may lie in the same folder and change it all the time.
  if (CompareFileTime(&last_write, &self.last_write_) != 0) {
    self.last_write_ = last_write;
    self.changed_();
  }
  SetThreadpoolWait(wait, self.folder_, /*timeout=*/nullptr);
}

FILETIME SettingsMonitor::LastWrite() const {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  GetFileAttributesExW(file_.c_str(), GetFileExInfoStandard, &data);
  return data.ftLastWriteTime;
}

}  // namespace host::log
