#include "host/console/window/window.h"

#include "host/console/window/common_controls.h"
#include "host/console/window/main_window.h"

namespace host::console {
namespace {

// Passes an event on to the window as a message, so that it comes through menus and message boxes
// too, whose loops know nothing of the event.
class EventRelay {
 public:
  // The event is not owned and may be null.
  EventRelay(HANDLE event, HWND window, UINT message) : window_(window), message_(message) {
    if (event == nullptr) return;
    RegisterWaitForSingleObject(&wait_, event, OnSet, this, INFINITE, WT_EXECUTEINWAITTHREAD);
  }
  EventRelay(const EventRelay&) = delete;
  EventRelay& operator=(const EventRelay&) = delete;
  ~EventRelay() {
    // Waits for a call that runs.
    if (wait_ != nullptr) UnregisterWaitEx(wait_, /*completion=*/INVALID_HANDLE_VALUE);
  }

 private:
  static void CALLBACK OnSet(void* relay, BOOLEAN /*timed_out*/) {
    const auto* self = static_cast<const EventRelay*>(relay);
    PostMessageW(self->window_, self->message_, 0, 0);
  }

  const HWND window_;
  const UINT message_;
  HANDLE wait_ = nullptr;
};

}  // namespace

int RunWindow(IConsoleState& state, const WindowOptions& options) {
  INITCOMMONCONTROLSEX controls = {};
  controls.dwSize = sizeof controls;
  controls.dwICC = ICC_LISTVIEW_CLASSES | ICC_STANDARD_CLASSES;
  InitCommonControlsEx(&controls);

  MainWindow window(state);
  if (!window.Create(options.start_hidden)) return 1;
  const EventRelay show(options.show, window.window(), MainWindow::kShow);
  const EventRelay quit(options.quit, window.window(), MainWindow::kQuit);
  MSG message;
  while (GetMessageW(&message, /*window=*/nullptr, 0, 0) > 0) {
    if (window.TakeKey(message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return static_cast<int>(message.wParam);
}

}  // namespace host::console
