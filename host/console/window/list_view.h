#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "module/frame/windows.h"

// What the window's two lists have in common. The window's thread only.

namespace host::console {

// A report list without rows and columns, as wide and high as nothing.
HWND CreateReportList(HWND parent, int id, DWORD further_style);

// Names the columns; those that are not there yet are added.
void NameColumns(HWND list, std::initializer_list<std::wstring> names);

// Gives the last column what the others leave, and no less than that.
void FillLastColumn(HWND list, int minimum);

// Has the list look as the system's colours are now.
void ApplySystemColours(HWND list);

void SelectAllRows(HWND list);
// In ascending order.
std::vector<int> SelectedRows(HWND list);

// How wide a text is in the list's font, with the room that a cell leaves around it.
int CellWidth(HWND list, const std::wstring& text);

// Rows of cells for the clipboard: columns divided by tabs, rows by line ends.
class CopiedRows {
 public:
  void Add(std::initializer_list<std::wstring> cells);
  // False where there is nothing to copy or the clipboard is taken.
  bool ToClipboard(HWND owner) const;
  const std::wstring& text() const { return text_; }

 private:
  std::wstring text_;
};

}  // namespace host::console
