#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "host/console/console_state.h"
#include "host/console/window/content.h"
#include "host/console/window/tray_icon.h"
#include "host/console/window/view.h"
#include "host/console/window/window.h"

namespace host::console {

// The window with everything in it. Belongs to the thread that makes it; only OnChanged may come on
// any other.
class MainWindow final : public IConsoleState::IListener {
 public:
  explicit MainWindow(IConsoleState& state);
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;
  ~MainWindow();

  // Makes the window and its tray icon. False where the system refuses.
  bool Create(bool start_hidden);
  HWND window() const { return window_; }
  // Whether the message was one of the keys that the window takes before its controls.
  bool TakeKey(MSG& message);

  void OnChanged() override;

  // What other threads ask for by a message to the window.
  static constexpr UINT kShow = WM_APP + 1;
  static constexpr UINT kQuit = WM_APP + 2;

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  LRESULT OnMessage(UINT message, WPARAM wparam, LPARAM lparam);
  void OnCommand(int id, int notification);
  LRESULT OnNotify(NMHDR* header);
  void OnContextMenu(HWND control, POINT place);
  void OnTray(UINT event, POINT place);
  void OnActivate(bool active);
  void OnSettingChange(const wchar_t* section);
  void OnTaskbarCreated();

  void PlaceFirst();
  void Refresh();
  void Restyle();
  void ShowForward();
  void Hide();
  void SavePosition();
  HWND FocusedList();
  void Copy();
  void ShowRecord();
  void ShowAbout();
  void ShowMessage(const std::wstring& caption, const std::wstring& text);
  int TrackMenu(HMENU menu, POINT place);

  IConsoleState& state_;
  const UINT taskbar_created_;
  Content content_;
  HWND window_ = nullptr;
  HWND focus_ = nullptr;  // Of the controls, while the window is not active.
  HACCEL keys_ = nullptr;
  std::unique_ptr<TrayIcon> tray_;
  View view_;
  Banner banner_;
  bool maximise_first_ = false;
  bool is_minimised_for_tray_ = false;

  // Whether a message that tells the window's thread of changes is on its way.
  std::atomic<bool> change_is_posted_{false};
};

}  // namespace host::console
