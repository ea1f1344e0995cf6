#pragma once

#include "host/console/window/common_controls.h"
#include "host/console/window/list_view.h"
#include "host/console/window/view.h"

namespace host::console {

// The list of the sessions that are open now. The window's thread only.
class SessionList {
 public:
  void Create(HWND parent, int id);

  HWND window() const { return list_; }
  void Retranslate(IConsoleState& state);
  // Shows those sessions; one that stays keeps its row's selection.
  void Show(const std::vector<OpenSession>& sessions);
  // The answer to a WM_NOTIFY of this list.
  LRESULT OnNotify(NMHDR* header);
  // For a new font or size: the widths of the columns.
  void SizeColumns();
  // How high it is for that many rows of such a text.
  int HeightFor(int rows, int text_height) const;
  bool Copy() const;

 private:
  HWND list_ = nullptr;
  std::vector<OpenSession> sessions_;
  std::wstring empty_text_;
};

}  // namespace host::console
