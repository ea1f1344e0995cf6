#pragma once

#include <string>
#include <vector>

#include "host/console/console_state.h"
#include "host/console/window/history_list.h"
#include "host/console/window/layout.h"
#include "host/console/window/session_list.h"
#include "host/console/window/style.h"
#include "host/console/window/view.h"

namespace host::console {

// What fills the window: the banner, the lists with their labels, the choice of the language and a
// button. The window's thread only.
class Content {
 public:
  // Numbers of the controls that tell the window something.
  enum Id { kHeadline = 100, kDetails, kSessions, kHistory, kLanguage, kAbout };

  explicit Content(IConsoleState& state) : state_(state), history_(state) {}
  Content(const Content&) = delete;
  Content& operator=(const Content&) = delete;

  void Create(HWND window);
  bool IsCreated() const { return about_ != nullptr; }

  SessionList& sessions() { return sessions_; }
  HistoryList& history() { return history_; }
  HWND about() const { return about_; }
  const Style& style() const { return style_; }
  // Of the client area.
  const SIZE& minimum() const { return layout_.minimum; }

  // Takes over the system's settings and the window's scale as they are now.
  void Restyle();
  // Gives everything its place in the window's client area.
  void Arrange();

  // Shows another view; the list of the history goes by itself.
  void ShowView(const View& view, const Banner& banner);
  // Texts in the language of the state. Whether they are others now.
  bool Retranslate();
  void FillLanguages();
  // The answer to a notification of the choice of the language: gives the state the one that the
  // user has chosen. Whether all is to be shown anew.
  bool OnLanguage(int notification);

  // The window's answers to WM_PAINT, and to the messages that ask for a control's colours.
  void Paint();
  HBRUSH ColourControl(HDC device, HWND control) const;

 private:
  void ShowConnection();
  void ChooseLanguage();
  Layout ArrangeIn(SIZE client) const;
  SIZE Measure(const std::wstring& text, HFONT font, UINT format) const;

  IConsoleState& state_;
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
  UniqueIcon small_icon_;
  UniqueIcon large_icon_;
  Connection connection_ = Connection::kNobody;
  Banner banner_;
  Layout layout_;
  std::vector<Language> languages_;
};

}  // namespace host::console
