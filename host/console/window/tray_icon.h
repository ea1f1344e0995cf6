#pragma once

#include "host/console/window/style.h"
#include "host/console/window/view.h"
#include "module/frame/windows.h"

namespace host::console {

// The program's icon in the notification area. The window's thread only.
class TrayIcon {
 public:
  // The window gets `message`, with the event in the lower half of its LPARAM and the place in its
  // WPARAM, both in the form of NOTIFYICON_VERSION_4.
  TrayIcon(HWND window, UINT message) : window_(window), message_(message) {}
  TrayIcon(const TrayIcon&) = delete;
  TrayIcon& operator=(const TrayIcon&) = delete;
  ~TrayIcon();

  // Shows the icon with that tip, or shows it anew where the notification area has forgotten it.
  void Show(Connection connection, const Banner& tip);
  // The notification area is new: the icon is not in it.
  void Forget() { is_shown_ = false; }
  // Whether there is a notification area that took the icon.
  bool IsShown() const { return is_shown_; }
  void Tell(const Notice& notice);

 private:
  const HWND window_;
  const UINT message_;
  bool is_shown_ = false;
  UniqueIcon icon_;
};

}  // namespace host::console
