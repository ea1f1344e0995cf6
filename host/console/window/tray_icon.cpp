#include "host/console/window/tray_icon.h"

#include <shellapi.h>

#include <algorithm>

namespace host::console {
namespace {

constexpr UINT kId = 1;

template <size_t kCapacity>
void Copy(const std::wstring& text, wchar_t (&target)[kCapacity]) {
  const size_t length = std::min(text.size(), kCapacity - 1);
  text.copy(target, length);
  target[length] = L'\0';
}

NOTIFYICONDATAW DataFor(HWND window) {
  NOTIFYICONDATAW data = {};
  data.cbSize = sizeof data;
  data.hWnd = window;
  data.uID = kId;
  return data;
}

}  // namespace

TrayIcon::~TrayIcon() {
  NOTIFYICONDATAW data = DataFor(window_);
  if (is_shown_) Shell_NotifyIconW(NIM_DELETE, &data);
}

void TrayIcon::Show(Connection connection, const Banner& tip) {
  UniqueIcon icon =
      LoadConnectionIcon(connection, GetSystemMetricsForDpi(SM_CXSMICON, GetDpiForWindow(window_)));
  NOTIFYICONDATAW data = DataFor(window_);
  data.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP | NIF_SHOWTIP;
  data.uCallbackMessage = message_;
  data.hIcon = icon.get();
  Copy(connection == Connection::kConnected ? tip.headline + L'\n' + tip.details : tip.headline,
       data.szTip);
  if (!is_shown_ || !Shell_NotifyIconW(NIM_MODIFY, &data)) {
    is_shown_ = Shell_NotifyIconW(NIM_ADD, &data) != FALSE;
    data.uVersion = NOTIFYICON_VERSION_4;
    if (is_shown_) Shell_NotifyIconW(NIM_SETVERSION, &data);
  }
  icon_ = std::move(icon);
}

void TrayIcon::Tell(const Notice& notice) {
  if (!is_shown_ || notice.headline.empty()) return;
  NOTIFYICONDATAW data = DataFor(window_);
  data.uFlags = NIF_INFO | NIF_SHOWTIP;
  data.dwInfoFlags = NIIF_INFO;
  Copy(notice.headline, data.szInfoTitle);
  // An empty text would take the notice away instead of showing it.
  Copy(notice.details.empty() ? notice.headline : notice.details, data.szInfo);
  Shell_NotifyIconW(NIM_MODIFY, &data);
}

}  // namespace host::console
