#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "host/console/console_state.h"
#include "host/console/window/history_list.h"
#include "host/console/window/layout.h"
#include "host/console/window/session_list.h"
#include "host/console/window/style.h"
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

  void CreateControls();
  void PlaceFirst();
  void Refresh();
  void ShowView(const View& view);
  bool Retranslate();
  void FillLanguages();
  void ChooseLanguage();
  void Restyle();
  void ShowConnection();
  void Arrange();
  Layout ArrangeIn(SIZE client) const;
  SIZE Measure(const std::wstring& text, HFONT font, UINT format) const;
  void Paint();
  void ShowForward();
  void Hide();
  void SavePosition();
  void Copy();
  void ShowRecord();
  void ShowAbout();
  void ShowMessage(const std::wstring& caption, const std::wstring& text);
  int TrackMenu(HMENU menu, POINT place);

  IConsoleState& state_;
  const UINT taskbar_created_;
  HistoryList history_;
  SessionList sessions_;
  Style style_;
  HWND window_ = nullptr;
  HWND headline_ = nullptr;
  HWND details_ = nullptr;
  HWND sessions_label_ = nullptr;
  HWND history_label_ = nullptr;
  HWND language_label_ = nullptr;
  HWND language_ = nullptr;
  HWND about_ = nullptr;
  HWND focus_ = nullptr;  // Of the controls, while the window is not active.
  HACCEL keys_ = nullptr;
  std::unique_ptr<TrayIcon> tray_;
  UniqueIcon small_icon_;
  UniqueIcon large_icon_;
  View view_;
  Banner banner_;
  Layout layout_;
  std::vector<Language> languages_;
  bool maximise_first_ = false;
  bool is_minimised_for_tray_ = false;

  // Whether a message that tells the window's thread of changes is on its way.
  std::atomic<bool> change_is_posted_{false};
};

}  // namespace host::console
