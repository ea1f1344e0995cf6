#include "host/console/window/main_window.h"

#include <shellapi.h>

#include <algorithm>

#include "host/console/window/about.h"
#include "host/console/window/common_controls.h"
#include "host/console/window/texts.h"
#include "host/console/window/window_position.h"

namespace host::console {
namespace {

constexpr const wchar_t* kClass = L"Tessaro.Console";

constexpr UINT kChanged = WM_APP + 3;
constexpr UINT kTray = WM_APP + 4;

enum Command { kOpenItem = 200, kQuitItem, kCopyItem, kSelectAllItem, kRefreshItem };

constexpr SIZE kFirstSize = {940, 620};

void Move(HWND control, const RECT& place) {
  SetWindowPos(control, /*after=*/nullptr, place.left, place.top, place.right - place.left,
               place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
}

void AddItem(HMENU menu, int id, const std::wstring& text) {
  AppendMenuW(menu, MF_STRING, static_cast<UINT_PTR>(id), text.c_str());
}

RECT RoomAt(const RECT& place) {
  MONITORINFO monitor = {};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromRect(&place, MONITOR_DEFAULTTONEAREST), &monitor);
  return monitor.rcWork;
}

void Register(WNDPROC procedure) {
  WNDCLASSEXW window_class = {};
  window_class.cbSize = sizeof window_class;
  window_class.lpfnWndProc = procedure;
  window_class.hInstance = GetModuleHandleW(nullptr);
  window_class.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  window_class.hbrBackground = GetSysColorBrush(COLOR_WINDOW);
  window_class.lpszClassName = kClass;
  RegisterClassExW(&window_class);
}

}  // namespace

MainWindow::MainWindow(IConsoleState& state)
    : state_(state), taskbar_created_(RegisterWindowMessageW(L"TaskbarCreated")), content_(state) {
  ACCEL keys[] = {{FVIRTKEY, VK_F1, Content::kAbout},
                  {FVIRTKEY, VK_F5, kRefreshItem},
                  {FVIRTKEY | FCONTROL, 'C', kCopyItem},
                  {FVIRTKEY | FCONTROL, 'A', kSelectAllItem}};
  keys_ = CreateAcceleratorTableW(keys, static_cast<int>(std::size(keys)));
}

MainWindow::~MainWindow() {
  if (window_ != nullptr) DestroyWindow(window_);
  DestroyAcceleratorTable(keys_);
}

bool MainWindow::Create(bool start_hidden) {
  Register(Procedure);
  CreateWindowExW(0, kClass, L"", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                  CW_USEDEFAULT, 0, 0, /*parent=*/nullptr, /*menu=*/nullptr,
                  GetModuleHandleW(nullptr), this);
  if (window_ == nullptr) return false;
  // The taskbar runs with fewer rights where this program was started by an elevated one.
  ChangeWindowMessageFilterEx(window_, taskbar_created_, MSGFLT_ALLOW, /*status=*/nullptr);
  content_.Create(window_);
  focus_ = content_.history().window();
  PlaceFirst();
  content_.FillLanguages();
  Restyle();
  tray_ = std::make_unique<TrayIcon>(window_, kTray);
  state_.SetListener(this);
  Refresh();
  if (!start_hidden) {
    ShowForward();
  } else if (!tray_->IsShown()) {
    is_minimised_for_tray_ = true;
    ShowWindow(window_, SW_SHOWMINNOACTIVE);
  }
  return true;
}

void MainWindow::PlaceFirst() {
  const UINT dpi = GetDpiForWindow(window_);
  if (const auto kept = LoadWindowPosition()) {
    maximise_first_ = kept->maximised;
    Move(window_, FitInto(*kept, RoomAt(kept->normal), dpi));
    return;
  }
  RECT place = {};
  GetWindowRect(window_, &place);
  place.right = place.left + kFirstSize.cx;
  place.bottom = place.top + kFirstSize.cy;
  const RECT first =
      FitInto({place, /*maximised=*/false, USER_DEFAULT_SCREEN_DPI}, RoomAt(place), dpi);
  Move(window_, first);
}

bool MainWindow::TakeKey(MSG& message) {
  if (message.hwnd != window_ && !IsChild(window_, message.hwnd)) return false;
  return TranslateAcceleratorW(window_, keys_, &message) != 0 ||
         IsDialogMessageW(window_, &message) != FALSE;
}

void MainWindow::OnChanged() {
  if (change_is_posted_.exchange(true)) return;
  if (!PostMessageW(window_, kChanged, 0, 0)) change_is_posted_ = false;
}

LRESULT CALLBACK MainWindow::Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_NCCREATE) {
    const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lparam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    static_cast<MainWindow*>(create->lpCreateParams)->window_ = window;
  }
  auto* self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  // Before the controls are there the system's own answers will do.
  if (self == nullptr || !self->content_.IsCreated())
    return DefWindowProcW(window, message, wparam, lparam);
  return self->OnMessage(message, wparam, lparam);
}

LRESULT MainWindow::OnMessage(UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case kShow:
      ShowForward();
      return 0;
    case kQuit:
      DestroyWindow(window_);
      return 0;
    case kChanged:
      change_is_posted_ = false;
      Refresh();
      return 0;
    case kTray:
      OnTray(LOWORD(lparam), {GET_X_LPARAM(wparam), GET_Y_LPARAM(wparam)});
      return 0;
    case WM_COMMAND:
      OnCommand(LOWORD(wparam), HIWORD(wparam));
      return 0;
    case WM_NOTIFY:
      return OnNotify(reinterpret_cast<NMHDR*>(lparam));
    case WM_CONTEXTMENU:
      OnContextMenu(reinterpret_cast<HWND>(wparam), {GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)});
      return 0;
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN:
      return reinterpret_cast<LRESULT>(
          content_.ColourControl(reinterpret_cast<HDC>(wparam), reinterpret_cast<HWND>(lparam)));
    case WM_PAINT:
      content_.Paint();
      return 0;
    case WM_SIZE:
      if (wparam != SIZE_MINIMIZED) content_.Arrange();
      return 0;
    case WM_GETMINMAXINFO: {
      const SIZE& least = content_.minimum();
      RECT frame = {0, 0, least.cx, least.cy};
      AdjustWindowRectExForDpi(&frame, WS_OVERLAPPEDWINDOW, /*menu=*/FALSE, 0,
                               content_.style().dpi());
      RECT place = {};
      GetWindowRect(window_, &place);
      const RECT room = RoomAt(place);
      reinterpret_cast<MINMAXINFO*>(lparam)->ptMinTrackSize = {
          std::min(frame.right - frame.left, room.right - room.left),
          std::min(frame.bottom - frame.top, room.bottom - room.top)};
      return 0;
    }
    case WM_ACTIVATE:
      // A minimised window has no use for the focus.
      if (HIWORD(wparam) == 0) OnActivate(LOWORD(wparam) != WA_INACTIVE);
      return 0;
    case WM_NEXTDLGCTL:
      // What a dialog box would do: Alt with a label's letter asks for the control that follows.
      SetFocus(LOWORD(lparam) != 0 ? reinterpret_cast<HWND>(wparam)
                                   : GetNextDlgTabItem(window_, GetFocus(), wparam != 0));
      return 0;
    case WM_DPICHANGED:
      Move(window_, *reinterpret_cast<const RECT*>(lparam));
      Restyle();
      return 0;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
    case WM_SETTINGCHANGE:
      for (const HWND list : {content_.sessions().window(), content_.history().window()})
        SendMessageW(list, message, wparam, lparam);
      Restyle();
      if (message == WM_SETTINGCHANGE) OnSettingChange(reinterpret_cast<const wchar_t*>(lparam));
      return 0;
    case WM_CLOSE:
      Hide();
      return 0;
    case WM_ENDSESSION:
      if (wparam != FALSE) DestroyWindow(window_);
      return 0;
    case WM_DESTROY:
      state_.SetListener(nullptr);
      SavePosition();
      tray_.reset();
      PostQuitMessage(0);
      return 0;
    case WM_NCDESTROY: {
      const HWND window = window_;
      window_ = nullptr;
      SetWindowLongPtrW(window, GWLP_USERDATA, 0);
      return DefWindowProcW(window, message, wparam, lparam);
    }
    default:
      if (message == taskbar_created_) {
        OnTaskbarCreated();
        return 0;
      }
      return DefWindowProcW(window_, message, wparam, lparam);
  }
}

void MainWindow::OnCommand(int id, int notification) {
  switch (id) {
    case IDOK:  // Enter
      if (GetFocus() == content_.history().window()) ShowRecord();
      if (GetFocus() == content_.about()) ShowAbout();
      break;
    case IDCANCEL:  // Esc
      Hide();
      break;
    case Content::kLanguage:
      if (content_.OnLanguage(notification)) Refresh();
      break;
    case Content::kAbout:
      ShowAbout();
      break;
    case kCopyItem:
      Copy();
      break;
    case kSelectAllItem:
      SelectAllRows(FocusedList());
      break;
    case kRefreshItem:
      content_.FillLanguages();
      Refresh();
      break;
    default:
      break;
  }
}

LRESULT MainWindow::OnNotify(NMHDR* header) {
  if (header->code == NM_SETFOCUS && ListView_GetNextItem(header->hwndFrom, -1, LVNI_FOCUSED) < 0) {
    // Something shows where the focus is.
    ListView_SetItemState(header->hwndFrom, 0, LVIS_FOCUSED, LVIS_FOCUSED);
  }
  if (header->idFrom == Content::kSessions) return content_.sessions().OnNotify(header);
  if (header->idFrom != Content::kHistory) return 0;
  if (header->code == NM_DBLCLK && reinterpret_cast<const NMITEMACTIVATE*>(header)->iItem >= 0)
    ShowRecord();
  return content_.history().OnNotify(header);
}

void MainWindow::OnContextMenu(HWND control, POINT place) {
  if (control != content_.history().window() && control != content_.sessions().window()) return;
  if (place.x == -1 && place.y == -1) {
    // By the keyboard: at the focused row.
    RECT row = {};
    const int focused = ListView_GetNextItem(control, -1, LVNI_FOCUSED);
    if (focused < 0 || !ListView_GetItemRect(control, focused, &row, LVIR_LABEL)) row = {};
    RECT client = {};
    GetClientRect(control, &client);
    place = {row.left, std::clamp(row.bottom, client.top, client.bottom)};
    ClientToScreen(control, &place);
  }
  const HMENU menu = CreatePopupMenu();
  AddItem(menu, kCopyItem, state_.Translate(texts::kCopy));
  AddItem(menu, kSelectAllItem, state_.Translate(texts::kSelectAll));
  AddItem(menu, kRefreshItem, state_.Translate(texts::kRefresh));
  OnCommand(TrackMenu(menu, place), /*notification=*/0);
  DestroyMenu(menu);
}

void MainWindow::OnTray(UINT event, POINT place) {
  if (event == NIN_SELECT || event == NIN_KEYSELECT || event == NIN_BALLOONUSERCLICK) {
    ShowForward();
  }
  if (event != WM_CONTEXTMENU) return;
  const HMENU menu = CreatePopupMenu();
  AddItem(menu, kOpenItem, state_.Translate(texts::kOpen));
  AddItem(menu, kQuitItem, state_.Translate(texts::kQuit));
  SetMenuDefaultItem(menu, kOpenItem, /*byPosition=*/FALSE);
  // Otherwise the menu would stay when the user clicks elsewhere.
  SetForegroundWindow(window_);
  const int chosen = TrackMenu(menu, place);
  DestroyMenu(menu);
  if (chosen == kOpenItem) ShowForward();
  if (chosen == kQuitItem) DestroyWindow(window_);
}

int MainWindow::TrackMenu(HMENU menu, POINT place) {
  return TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, place.x, place.y, /*reserved=*/0,
                        window_, /*area=*/nullptr);
}

void MainWindow::OnActivate(bool active) {
  if (active) {
    SetFocus(focus_);
  } else if (const HWND focused = GetFocus(); IsChild(window_, focused)) {
    focus_ = focused;
  }
}

void MainWindow::OnSettingChange(const wchar_t* section) {
  if (section == nullptr || std::wstring(section) != L"intl") return;
  // Dates and times have another form.
  content_.history().SizeColumns();
  Refresh();
}

void MainWindow::OnTaskbarCreated() {
  tray_->Forget();
  tray_->Show(view_.connection, banner_);
  if (tray_->IsShown() && is_minimised_for_tray_ && IsIconic(window_)) ShowWindow(window_, SW_HIDE);
  is_minimised_for_tray_ = false;
}

// Reads everything anew. Texts change with the language, and may do so when a library that gives
// them comes later.
void MainWindow::Refresh() {
  const View view = ReadView(state_);
  const Notice notice = DescribeChange(state_, view_, view);
  const bool is_worded_anew = content_.Retranslate();
  view_ = view;
  banner_ = DescribeView(state_, view_);
  content_.ShowView(view_, banner_);
  content_.history().Refresh();
  if (is_worded_anew) {
    SetWindowTextW(window_, state_.Translate(texts::kTitle).c_str());
    content_.sessions().SizeColumns();
    content_.history().SizeColumns();
    content_.Arrange();
    InvalidateRect(window_, /*area=*/nullptr, /*erase=*/TRUE);
  }
  tray_->Show(view_.connection, banner_);
  tray_->Tell(notice);
}

void MainWindow::Restyle() {
  content_.Restyle();
  if (tray_ != nullptr) tray_->Show(view_.connection, banner_);
}

void MainWindow::ShowForward() {
  is_minimised_for_tray_ = false;
  if (maximise_first_) {
    maximise_first_ = false;
    ShowWindow(window_, SW_SHOWMAXIMIZED);
  } else {
    ShowWindow(window_, IsIconic(window_) ? SW_RESTORE : SW_SHOW);
  }
  SetForegroundWindow(window_);
}

void MainWindow::Hide() {
  SavePosition();
  // Without its icon a hidden window could not be found any more.
  ShowWindow(window_, tray_->IsShown() ? SW_HIDE : SW_MINIMIZE);
}

void MainWindow::SavePosition() {
  WINDOWPLACEMENT placement = {};
  placement.length = sizeof placement;
  if (!GetWindowPlacement(window_, &placement)) return;
  const bool maximised =
      placement.showCmd == SW_SHOWMAXIMIZED || maximise_first_ ||
      (placement.showCmd == SW_SHOWMINIMIZED && (placement.flags & WPF_RESTORETOMAXIMIZED) != 0);
  SaveWindowPosition({placement.rcNormalPosition, maximised, content_.style().dpi()});
}

// The history where the focus is in neither of the two.
HWND MainWindow::FocusedList() {
  const HWND sessions = content_.sessions().window();
  return GetFocus() == sessions ? sessions : content_.history().window();
}

void MainWindow::Copy() {
  const HCURSOR former = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
  if (FocusedList() == content_.sessions().window()) {
    content_.sessions().Copy();
  } else {
    content_.history().Copy();
  }
  SetCursor(former);
}

void MainWindow::ShowRecord() {
  const std::wstring text = content_.history().DescribeFocused();
  if (!text.empty()) ShowMessage(state_.Translate(texts::kEvent), text);
}

void MainWindow::ShowAbout() {
  std::wstring text = state_.Translate(texts::kPurpose);
  const std::wstring version = ProgramVersion();
  if (!version.empty()) text += L"\n\n" + FillTranslated(state_, texts::kVersion, {version});
  ShowMessage(state_.Translate(texts::kAboutTitle), text);
}

void MainWindow::ShowMessage(const std::wstring& caption, const std::wstring& text) {
  MessageBoxW(window_, text.c_str(), caption.c_str(), MB_OK | MB_ICONINFORMATION);
}

}  // namespace host::console
