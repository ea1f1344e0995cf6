#pragma once

#include "host/console/window/common_controls.h"
#include "host/console/window/history_pages.h"
#include "host/console/window/list_view.h"

namespace host::console {

// The list of the history, the newest record first. Only rows that are seen are read. The window's
// thread only.
class HistoryList {
 public:
  explicit HistoryList(IConsoleState& state) : state_(state), pages_(state) {}
  HistoryList(const HistoryList&) = delete;
  HistoryList& operator=(const HistoryList&) = delete;

  void Create(HWND parent, int id);

  HWND window() const { return list_; }
  void Retranslate();
  // Shows the history as it is now. Records that are seen, selected or focused stay so when others
  // have come before them; a list that stood at its top goes on showing the newest ones.
  void Refresh();
  // The answer to a WM_NOTIFY of this list.
  LRESULT OnNotify(NMHDR* header);
  // For a new font: the widths of the columns.
  void SizeColumns();
  // For a new size: the last column's.
  void Stretch();
  bool Copy() const;
  // The focused record as a text of some lines; empty where none is focused.
  std::wstring DescribeFocused();

 private:
  std::wstring Cell(const HistoryLine& line, int column) const;
  void MoveMarks(size_t rows);

  IConsoleState& state_;
  HistoryPages pages_;
  HWND list_ = nullptr;
  HistoryExtent extent_;
  std::wstring empty_text_;
};

}  // namespace host::console
