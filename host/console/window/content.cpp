#include "host/console/window/content.h"

#include <algorithm>

#include "host/console/window/common_controls.h"
#include "host/console/window/texts.h"

namespace host::console {
namespace {

constexpr int kShownSessions = 3;

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

}  // namespace

// A label stands right before its control: screen readers and Alt with a letter go by that.
void Content::Create(HWND window) {
  window_ = window;
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
}

// Fonts only when they are others: a list with a new font may forget where it stood.
void Content::Restyle() {
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
  Arrange();
  RedrawWindow(window_, /*area=*/nullptr, /*region=*/nullptr,
               RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

void Content::ShowConnection() {
  style_.ShowConnection(connection_);
  UniqueIcon small_icon =
      LoadConnectionIcon(connection_, GetSystemMetricsForDpi(SM_CXSMICON, style_.dpi()));
  UniqueIcon large_icon =
      LoadConnectionIcon(connection_, GetSystemMetricsForDpi(SM_CXICON, style_.dpi()));
  SendMessageW(window_, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(small_icon.get()));
  SendMessageW(window_, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(large_icon.get()));
  small_icon_ = std::move(small_icon);
  large_icon_ = std::move(large_icon);
  for (const HWND control : {headline_, details_})
    InvalidateRect(control, /*area=*/nullptr, /*erase=*/TRUE);
  InvalidateRect(window_, &layout_.banner, /*erase=*/FALSE);
}

void Content::ShowView(const View& view, const Banner& banner) {
  const bool is_other_look = view.connection != connection_;
  connection_ = view.connection;
  banner_ = banner;
  sessions_.Show(view.sessions);
  const bool is_other_headline = SetText(headline_, banner.headline);
  const bool is_other_details = SetText(details_, banner.details);
  if (is_other_look) ShowConnection();
  if (is_other_headline || is_other_details) Arrange();
  // Screen readers say it wherever they are.
  if (is_other_headline) NotifyWinEvent(EVENT_SYSTEM_ALERT, headline_, OBJID_CLIENT, CHILDID_SELF);
}

bool Content::Retranslate() {
  bool changed = SetText(sessions_label_, state_.Translate(texts::kSessions));
  changed |= SetText(history_label_, state_.Translate(texts::kHistory));
  changed |= SetText(language_label_, state_.Translate(texts::kLanguage));
  changed |= SetText(about_, state_.Translate(texts::kAbout));
  if (changed) {
    sessions_.Retranslate(state_);
    history_.Retranslate();
  }
  if (ComboBox_GetDroppedState(language_)) return changed;
  const std::wstring code = state_.GetLanguage();
  const auto current =
      std::find_if(languages_.begin(), languages_.end(),
                   [&](const Language& language) { return language.code == code; });
  ComboBox_SetCurSel(language_, current != languages_.end() ? current - languages_.begin() : -1);
  return changed;
}

void Content::FillLanguages() {
  // Not while the user is about to choose.
  if (ComboBox_GetDroppedState(language_)) return;
  languages_ = state_.GetLanguages();
  ComboBox_ResetContent(language_);
  for (const Language& language : languages_)
    ComboBox_AddString(language_, language.name.c_str());
  EnableWindow(language_, !languages_.empty());
}

bool Content::OnLanguage(int notification) {
  // In a list that is open the arrows only look around, and Esc closes it without a choice.
  const bool is_arrow = notification == CBN_SELCHANGE && !ComboBox_GetDroppedState(language_);
  if (is_arrow || notification == CBN_SELENDOK) ChooseLanguage();
  return is_arrow || notification == CBN_CLOSEUP;
}

void Content::ChooseLanguage() {
  const int chosen = ComboBox_GetCurSel(language_);
  if (chosen < 0) return;
  const std::wstring& code = languages_[static_cast<size_t>(chosen)].code;
  // A look at the list is no choice.
  if (code != state_.GetLanguage()) state_.SetLanguage(code);
}

SIZE Content::Measure(const std::wstring& text, HFONT font, UINT format) const {
  const HDC device = GetDC(window_);
  const HGDIOBJ former = SelectObject(device, font);
  RECT area = {};
  DrawTextW(device, text.c_str(), static_cast<int>(text.size()), &area,
            DT_CALCRECT | DT_SINGLELINE | format);
  SelectObject(device, former);
  ReleaseDC(window_, device);
  return {area.right, area.bottom};
}

Layout Content::ArrangeIn(SIZE client) const {
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

void Content::Arrange() {
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

void Content::Paint() {
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
  const UniqueIcon image = LoadConnectionIcon(connection_, icon.right - icon.left);
  DrawIconEx(device, icon.left, icon.top, image.get(), icon.right - icon.left,
             icon.bottom - icon.top, /*step=*/0, /*brush=*/nullptr, DI_NORMAL);
  EndPaint(window_, &paint);
}

HBRUSH Content::ColourControl(HDC device, HWND control) const {
  const bool is_in_banner = control == headline_ || control == details_;
  SetTextColor(device, is_in_banner ? style_.banner().text : GetSysColor(COLOR_WINDOWTEXT));
  SetBkColor(device, is_in_banner ? style_.banner().background : GetSysColor(COLOR_WINDOW));
  return is_in_banner ? style_.banner_brush() : GetSysColorBrush(COLOR_WINDOW);
}

}  // namespace host::console
