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

enum Command {
  kHeadline = 100,
  kDetails,
  kSessions,
  kHistory,
  kLanguage,
  kAbout,
  kOpenItem,
  kQuitItem,
  kCopyItem,
  kSelectAllItem,
  kRefreshItem,
};

constexpr int kShownSessions = 3;
constexpr SIZE kFirstSize = {940, 620};

HWND CreateControl(HWND parent, const wchar_t* window_class, DWORD style, int id = -1) {
  return CreateWindowExW(0, window_class, L"", WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, parent,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                         GetModuleHandleW(nullptr), /*parameter=*/nullptr);
}

std::wstring TextOf(HWND control) {
  std::wstring text(static_cast<size_t>(GetWindowTextLengthW(control)), L'\0');
  GetWindowTextW(control, text.data(), static_cast<int>(text.size()) + 1);
  return text;
}

// Whether the text is another one now.
bool SetText(HWND control, const std::wstring& text) {
  if (TextOf(control) == text) return false;
  SetWindowTextW(control, text.c_str());
  return true;
}

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
    : state_(state), taskbar_created_(RegisterWindowMessageW(L"TaskbarCreated")), history_(state) {
  ACCEL keys[] = {{FVIRTKEY, VK_F1, kAbout},
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
  CreateControls();
  PlaceFirst();
  FillLanguages();
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

// A label stands right before its control: screen readers and Alt with a letter go by that.
void MainWindow::CreateControls() {
  headline_ = CreateControl(window_, WC_STATICW, SS_NOPREFIX | SS_ENDELLIPSIS, kHeadline);
  details_ = CreateControl(window_, WC_STATICW, SS_NOPREFIX, kDetails);
  sessions_label_ = CreateControl(window_, WC_STATICW, SS_LEFTNOWORDWRAP);
  sessions_.Create(window_, kSessions);
  history_label_ = CreateControl(window_, WC_STATICW, SS_LEFTNOWORDWRAP);
  history_.Create(window_, kHistory);
  language_label_ = CreateControl(window_, WC_STATICW, SS_LEFTNOWORDWRAP);
  language_ =
      CreateControl(window_, WC_COMBOBOXW, CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP, kLanguage);
  about_ = CreateControl(window_, WC_BUTTONW, BS_PUSHBUTTON | WS_TABSTOP, kAbout);
  focus_ = history_.window();
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
  if (self == nullptr || self->about_ == nullptr)
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
    case WM_CTLCOLORSTATIC: {
      const auto control = reinterpret_cast<HWND>(lparam);
      const auto device = reinterpret_cast<HDC>(wparam);
      const bool is_in_banner = control == headline_ || control == details_;
      SetTextColor(device, is_in_banner ? style_.banner().text : GetSysColor(COLOR_WINDOWTEXT));
      SetBkColor(device, is_in_banner ? style_.banner().background : GetSysColor(COLOR_WINDOW));
      return reinterpret_cast<LRESULT>(is_in_banner ? style_.banner_brush()
                                                    : GetSysColorBrush(COLOR_WINDOW));
    }
    case WM_CTLCOLORBTN:
      return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
    case WM_PAINT:
      Paint();
      return 0;
    case WM_SIZE:
      if (wparam != SIZE_MINIMIZED) Arrange();
      return 0;
    case WM_GETMINMAXINFO: {
      const SIZE& least = layout_.minimum;
      RECT frame = {0, 0, least.cx, least.cy};
      AdjustWindowRectExForDpi(&frame, WS_OVERLAPPEDWINDOW, /*menu=*/FALSE, 0, style_.dpi());
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
      for (const HWND list : {sessions_.window(), history_.window()})
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
      if (GetFocus() == history_.window()) ShowRecord();
      if (GetFocus() == about_) ShowAbout();
      break;
    case IDCANCEL:  // Esc
      Hide();
      break;
    case kLanguage:
      if (notification == CBN_SELCHANGE) ChooseLanguage();
      break;
    case kAbout:
      ShowAbout();
      break;
    case kCopyItem:
      Copy();
      break;
    case kSelectAllItem:
      history_.SelectAll();
      break;
    case kRefreshItem:
      FillLanguages();
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
  if (header->idFrom == kSessions) return sessions_.OnNotify(header);
  if (header->idFrom != kHistory) return 0;
  if (header->code == NM_DBLCLK) ShowRecord();
  return history_.OnNotify(header);
}

void MainWindow::OnContextMenu(HWND control, POINT place) {
  if (control != history_.window() && control != sessions_.window()) return;
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
  if (control == history_.window())
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
  history_.SizeColumns();
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
  const bool is_worded_anew = Retranslate();
  ShowView(view);
  history_.Refresh();
  if (is_worded_anew) {
    sessions_.SizeColumns();
    history_.SizeColumns();
    Arrange();
    InvalidateRect(window_, /*area=*/nullptr, /*erase=*/TRUE);
  }
}

void MainWindow::ShowView(const View& view) {
  const Notice notice = DescribeChange(state_, view_, view);
  const bool is_other_look = view.connection != view_.connection;
  view_ = view;
  banner_ = DescribeView(state_, view_);
  sessions_.Show(view_.sessions);
  const bool is_other_headline = SetText(headline_, banner_.headline);
  const bool is_other_details = SetText(details_, banner_.details);
  if (is_other_look) ShowConnection();
  if (is_other_headline || is_other_details) Arrange();
  // Screen readers say it wherever they are.
  if (is_other_headline) NotifyWinEvent(EVENT_SYSTEM_ALERT, headline_, OBJID_CLIENT, CHILDID_SELF);
  tray_->Show(view_.connection, banner_);
  tray_->Tell(notice);
}

bool MainWindow::Retranslate() {
  bool changed = SetText(window_, state_.Translate(texts::kTitle));
  changed |= SetText(sessions_label_, state_.Translate(texts::kSessions));
  changed |= SetText(history_label_, state_.Translate(texts::kHistory));
  changed |= SetText(language_label_, state_.Translate(texts::kLanguage));
  changed |= SetText(about_, state_.Translate(texts::kAbout));
  if (changed) {
    sessions_.Retranslate(state_);
    history_.Retranslate();
  }
  const std::wstring code = state_.GetLanguage();
  const auto current =
      std::find_if(languages_.begin(), languages_.end(),
                   [&](const Language& language) { return language.code == code; });
  ComboBox_SetCurSel(language_, current != languages_.end() ? current - languages_.begin() : -1);
  return changed;
}

void MainWindow::FillLanguages() {
  languages_ = state_.GetLanguages();
  ComboBox_ResetContent(language_);
  for (const Language& language : languages_)
    ComboBox_AddString(language_, language.name.c_str());
  EnableWindow(language_, !languages_.empty());
}

void MainWindow::ChooseLanguage() {
  const int chosen = ComboBox_GetCurSel(language_);
  if (chosen < 0) return;
  state_.SetLanguage(languages_[static_cast<size_t>(chosen)].code);
  Refresh();
}

// Fonts only when they are others: a list with a new font may forget where it stood.
void MainWindow::Restyle() {
  if (style_.UpdateFonts(GetDpiForWindow(window_))) {
    for (const HWND control : {details_, sessions_label_, sessions_.window(), history_label_,
                               history_.window(), language_label_, language_, about_}) {
      SetWindowFont(control, style_.text_font(), /*redraw=*/FALSE);
    }
    SetWindowFont(headline_, style_.headline_font(), /*redraw=*/FALSE);
    history_.SizeColumns();
  }
  for (const HWND list : {sessions_.window(), history_.window()})
    ApplySystemColours(list);
  ShowConnection();
  if (tray_ != nullptr) tray_->Show(view_.connection, banner_);
  Arrange();
  RedrawWindow(window_, /*area=*/nullptr, /*region=*/nullptr,
               RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

void MainWindow::ShowConnection() {
  style_.ShowConnection(view_.connection);
  UniqueIcon small_icon =
      LoadConnectionIcon(view_.connection, GetSystemMetricsForDpi(SM_CXSMICON, style_.dpi()));
  UniqueIcon large_icon =
      LoadConnectionIcon(view_.connection, GetSystemMetricsForDpi(SM_CXICON, style_.dpi()));
  SendMessageW(window_, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(small_icon.get()));
  SendMessageW(window_, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(large_icon.get()));
  small_icon_ = std::move(small_icon);
  large_icon_ = std::move(large_icon);
  for (const HWND control : {headline_, details_})
    InvalidateRect(control, /*area=*/nullptr, /*erase=*/TRUE);
  InvalidateRect(window_, &layout_.banner, /*erase=*/FALSE);
}

SIZE MainWindow::Measure(const std::wstring& text, HFONT font, UINT format) const {
  const HDC device = GetDC(window_);
  const HGDIOBJ former = SelectObject(device, font);
  RECT area = {};
  DrawTextW(device, text.c_str(), static_cast<int>(text.size()), &area,
            DT_CALCRECT | DT_SINGLELINE | format);
  SelectObject(device, former);
  ReleaseDC(window_, device);
  return {area.right, area.bottom};
}

Layout MainWindow::ArrangeIn(SIZE client) const {
  const HFONT font = style_.text_font();
  const auto size_of = [&](HWND control) { return Measure(TextOf(control), font, /*format=*/0); };
  LayoutInput input;
  input.dpi = style_.dpi();
  input.icon = {style_.Scale(32), style_.Scale(32)};
  input.headline = Measure(banner_.headline, style_.headline_font(), DT_NOPREFIX);
  input.details = Measure(banner_.details, font, DT_NOPREFIX);
  input.label_height = static_cast<int>(size_of(sessions_label_).cy);
  input.sessions_height = sessions_.HeightFor(kShownSessions, input.label_height);
  input.language_label = size_of(language_label_);
  RECT combo = {};
  GetWindowRect(language_, &combo);
  input.language = {style_.Scale(80), combo.bottom - combo.top};
  for (const Language& language : languages_)
    input.language.cx = std::max(input.language.cx,
                                 Measure(language.name, font, DT_NOPREFIX).cx + style_.Scale(36));
  const SIZE about = size_of(about_);
  input.about = {std::max<LONG>(about.cx + style_.Scale(24), style_.Scale(88)),
                 about.cy + style_.Scale(10)};
  return console::Arrange(input, client);
}

void MainWindow::Arrange() {
  if (style_.text_font() == nullptr || IsIconic(window_)) return;
  RECT client = {};
  GetClientRect(window_, &client);
  layout_ = ArrangeIn({client.right, client.bottom});
  Move(headline_, layout_.headline);
  Move(details_, layout_.details);
  Move(sessions_label_, layout_.sessions_label);
  Move(sessions_.window(), layout_.sessions);
  Move(history_label_, layout_.history_label);
  Move(history_.window(), layout_.history);
  Move(language_label_, layout_.language_label);
  // The height of a drop-down list is that of the list; the field keeps its own.
  RECT language = layout_.language;
  language.bottom = language.top + style_.Scale(240);
  Move(language_, language);
  Move(about_, layout_.about);
  sessions_.SizeColumns();
  history_.Stretch();
  InvalidateRect(window_, &layout_.banner, /*erase=*/FALSE);
}

void MainWindow::Paint() {
  PAINTSTRUCT paint;
  const HDC device = BeginPaint(window_, &paint);
  FillRect(device, &layout_.banner, style_.banner_brush());
  const UniqueBrush edge(CreateSolidBrush(style_.banner().edge));
  RECT stripe = layout_.banner;
  stripe.right = stripe.left + style_.Scale(6);
  FillRect(device, &stripe, edge.get());
  RECT line = layout_.banner;
  line.top = line.bottom - style_.Scale(1);
  FillRect(device, &line, edge.get());
  const RECT& icon = layout_.icon;
  const UniqueIcon image = LoadConnectionIcon(view_.connection, icon.right - icon.left);
  DrawIconEx(device, icon.left, icon.top, image.get(), icon.right - icon.left,
             icon.bottom - icon.top, /*step=*/0, /*brush=*/nullptr, DI_NORMAL);
  EndPaint(window_, &paint);
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
  SaveWindowPosition({placement.rcNormalPosition, maximised, style_.dpi()});
}

void MainWindow::Copy() {
  const HCURSOR former = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
  if (GetFocus() == sessions_.window()) {
    sessions_.Copy();
  } else {
    history_.Copy();
  }
  SetCursor(former);
}

void MainWindow::ShowRecord() {
  const std::wstring text = history_.DescribeFocused();
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
