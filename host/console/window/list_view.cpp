#include "host/console/window/list_view.h"
#include "host/console/window/common_controls.h"

#include <uxtheme.h>

#include <algorithm>

namespace host::console {
namespace {

// Text of our own as the common controls want it; they only read it.
wchar_t* Borrow(const std::wstring& text) {
  return const_cast<wchar_t*>(text.c_str());
}

int CountColumns(HWND list) {
  return Header_GetItemCount(ListView_GetHeader(list));
}

}  // namespace

HWND CreateReportList(HWND parent, int id, DWORD further_style) {
  const HWND list =
      CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, L"",
                      WS_CHILD | WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_SHOWSELALWAYS |
                          LVS_NOSORTHEADER | further_style,
                      0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                      GetModuleHandleW(nullptr), /*parameter=*/nullptr);
  ListView_SetExtendedListViewStyle(
      list, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_INFOTIP | LVS_EX_LABELTIP);
  SetWindowTheme(list, L"Explorer", /*idList=*/nullptr);
  return list;
}

void NameColumns(HWND list, std::initializer_list<std::wstring> names) {
  const int there = CountColumns(list);
  int index = 0;
  for (const std::wstring& name : names) {
    LVCOLUMNW column = {};
    column.mask = LVCF_TEXT | LVCF_SUBITEM;
    column.iSubItem = index;
    column.pszText = Borrow(name);
    if (index < there) {
      ListView_SetColumn(list, index, &column);
    } else {
      ListView_InsertColumn(list, index, &column);
    }
    ++index;
  }
}

void FillLastColumn(HWND list, int minimum) {
  RECT client = {};
  GetClientRect(list, &client);
  const int last = CountColumns(list) - 1;
  int rest = client.right;
  for (int column = 0; column < last; ++column)
    rest -= ListView_GetColumnWidth(list, column);
  ListView_SetColumnWidth(list, last, std::max(rest, minimum));
}

void ApplySystemColours(HWND list) {
  ListView_SetBkColor(list, GetSysColor(COLOR_WINDOW));
  ListView_SetTextBkColor(list, GetSysColor(COLOR_WINDOW));
  ListView_SetTextColor(list, GetSysColor(COLOR_WINDOWTEXT));
}

void SelectAllRows(HWND list) {
  ListView_SetItemState(list, -1, LVIS_SELECTED, LVIS_SELECTED);
}

std::vector<int> SelectedRows(HWND list) {
  std::vector<int> rows;
  for (int row = ListView_GetNextItem(list, -1, LVNI_SELECTED); row >= 0;
       row = ListView_GetNextItem(list, row, LVNI_SELECTED)) {
    rows.push_back(row);
  }
  return rows;
}

int CellWidth(HWND list, const std::wstring& text) {
  // What a report list keeps free on both sides of a text.
  constexpr int kPadding = 14;
  return ListView_GetStringWidth(list, Borrow(text)) +
         MulDiv(kPadding, static_cast<int>(GetDpiForWindow(list)), 96);
}

void CopiedRows::Add(std::initializer_list<std::wstring> cells) {
  const size_t begin = text_.size();
  for (const std::wstring& cell : cells) {
    if (text_.size() > begin) text_ += L'\t';
    for (const wchar_t character : cell)
      text_ += character < L' ' ? L' ' : character;
  }
  text_ += L"\r\n";
}

bool CopiedRows::ToClipboard(HWND owner) const {
  if (text_.empty() || !OpenClipboard(owner)) return false;
  EmptyClipboard();
  const size_t bytes = (text_.size() + 1) * sizeof(wchar_t);
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
  bool copied = false;
  if (memory != nullptr) {
    CopyMemory(GlobalLock(memory), text_.c_str(), bytes);
    GlobalUnlock(memory);
    copied = SetClipboardData(CF_UNICODETEXT, memory) != nullptr;
    if (!copied) GlobalFree(memory);
  }
  CloseClipboard();
  return copied;
}

}  // namespace host::console
