#include "host/console/window/session_list.h"

#include <algorithm>

#include "host/console/window/texts.h"

namespace host::console {

void SessionList::Create(HWND parent, int id) {
  list_ = CreateReportList(parent, id, LVS_OWNERDATA);
}

void SessionList::Retranslate(IConsoleState& state) {
  empty_text_ = state.Translate(texts::kNoSessions);
  NameColumns(list_, {state.Translate(texts::kName), state.Translate(texts::kDescription)});
}

void SessionList::Show(const std::vector<OpenSession>& sessions) {
  std::vector<std::wstring> selected;
  for (const int row : SelectedRows(list_))
    selected.push_back(sessions_[static_cast<size_t>(row)].id);
  const int focused = ListView_GetNextItem(list_, -1, LVNI_FOCUSED);
  const std::wstring focus = focused >= 0 ? sessions_[static_cast<size_t>(focused)].id : L"";
  sessions_ = sessions;
  ListView_SetItemState(list_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  ListView_SetItemCountEx(list_, static_cast<int>(sessions_.size()), LVSICF_NOSCROLL);
  for (size_t row = 0; row < sessions_.size(); ++row) {
    const std::wstring& id = sessions_[row].id;
    UINT state = id == focus && focused >= 0 ? LVIS_FOCUSED : 0;
    if (std::find(selected.begin(), selected.end(), id) != selected.end()) state |= LVIS_SELECTED;
    if (state != 0) ListView_SetItemState(list_, static_cast<int>(row), state, state);
  }
  SizeColumns();
  InvalidateRect(list_, /*area=*/nullptr, /*erase=*/TRUE);
}

LRESULT SessionList::OnNotify(NMHDR* header) {
  switch (header->code) {
    case LVN_GETDISPINFOW: {
      LVITEMW& item = reinterpret_cast<NMLVDISPINFOW*>(header)->item;
      const auto row = static_cast<size_t>(item.iItem);
      if ((item.mask & LVIF_TEXT) == 0 || row >= sessions_.size()) return 0;
      const std::wstring& text =
          item.iSubItem == 0 ? sessions_[row].name : sessions_[row].description;
      lstrcpynW(item.pszText, text.c_str(), item.cchTextMax);
      return 0;
    }
    case LVN_GETEMPTYMARKUP: {
      auto* markup = reinterpret_cast<NMLVEMPTYMARKUP*>(header);
      markup->dwFlags = EMF_CENTERED;
      lstrcpynW(markup->szMarkup, empty_text_.c_str(), L_MAX_URL_LENGTH);
      return TRUE;
    }
    default:
      return 0;
  }
}

void SessionList::SizeColumns() {
  int name = CellWidth(list_, L"Remote Shell Connection");
  for (const OpenSession& session : sessions_)
    name = std::max(name, CellWidth(list_, session.name));
  int description = 0;
  for (const OpenSession& session : sessions_)
    description = std::max(description, CellWidth(list_, session.description));
  ListView_SetColumnWidth(list_, 0, name);
  FillLastColumn(list_, description);
}

int SessionList::HeightFor(int rows, int text_height) const {
  const UINT dpi = GetDpiForWindow(list_);
  const auto scale = [&](int length) { return MulDiv(length, static_cast<int>(dpi), 96); };
  // What a row and the line of headings have around their texts; a list without rows does not tell.
  const int row = text_height + scale(5);
  const int headings = text_height + scale(12);
  return headings + rows * row + 2 * GetSystemMetricsForDpi(SM_CYEDGE, dpi);
}

bool SessionList::Copy() const {
  CopiedRows rows;
  for (const int row : SelectedRows(list_)) {
    const OpenSession& session = sessions_[static_cast<size_t>(row)];
    rows.Add({session.name, session.description});
  }
  return rows.ToClipboard(list_);
}

}  // namespace host::console
