#include "host/console/window/history_list.h"

#include <algorithm>
#include <climits>
#include <iterator>

#include "host/console/window/texts.h"
#include "host/console/window/time_text.h"

namespace host::console {
namespace {

constexpr int kCopyAtOnce = 500;
constexpr size_t kMeasuredRows = 10;

}  // namespace

void HistoryList::Create(HWND parent, int id) {
  list_ = CreateReportList(parent, id, LVS_OWNERDATA);
}

void HistoryList::Retranslate() {
  empty_text_ = state_.Translate(texts::kNoHistory);
  NameColumns(list_, {state_.Translate(texts::kTime), state_.Translate(texts::kEvent),
                      state_.Translate(texts::kDetails)});
}

void HistoryList::Refresh() {
  pages_.Forget();
  HistoryExtent now;
  now.size = std::min(state_.GetHistorySize(), static_cast<size_t>(INT_MAX));
  if (const HistoryLine* newest = pages_.Get(0)) now.newest = newest->sequence;

  const std::optional<size_t> added = RowsAdded(extent_, now);
  const int top = ListView_GetTopIndex(list_);
  extent_ = now;
  if (!added) ListView_SetItemState(list_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  ListView_SetItemCountEx(list_, static_cast<int>(now.size),
                          LVSICF_NOSCROLL | LVSICF_NOINVALIDATEALL);
  if (added && *added > 0) {
    SetWindowRedraw(list_, FALSE);
    MoveMarks(*added);
    // Marking a row may have scrolled to it.
    const int wanted_top = top > 0 ? top + static_cast<int>(*added) : 0;
    RECT row = {};
    if (ListView_GetItemRect(list_, 0, &row, LVIR_BOUNDS)) {
      const int rows = wanted_top - ListView_GetTopIndex(list_);
      ListView_Scroll(list_, 0, rows * (row.bottom - row.top));
    }
    SetWindowRedraw(list_, TRUE);
  }
  Stretch();
  InvalidateRect(list_, /*area=*/nullptr, /*erase=*/TRUE);
}

// The list knows rows by their numbers only.
void HistoryList::MoveMarks(size_t rows) {
  const std::vector<int> selected = SelectedRows(list_);
  const int focused = ListView_GetNextItem(list_, -1, LVNI_FOCUSED);
  const int shift = static_cast<int>(rows);
  ListView_SetItemState(list_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  for (const int row : selected)
    ListView_SetItemState(list_, row + shift, LVIS_SELECTED, LVIS_SELECTED);
  if (focused >= 0) {
    ListView_SetItemState(list_, focused + shift, LVIS_FOCUSED, LVIS_FOCUSED);
    ListView_SetSelectionMark(list_, focused + shift);
  }
}

LRESULT HistoryList::OnNotify(NMHDR* header) {
  switch (header->code) {
    case LVN_GETDISPINFOW: {
      LVITEMW& item = reinterpret_cast<NMLVDISPINFOW*>(header)->item;
      if ((item.mask & LVIF_TEXT) == 0 || item.iItem < 0) return 0;
      const HistoryLine* line = pages_.Get(static_cast<size_t>(item.iItem));
      const std::wstring text = line != nullptr ? Cell(*line, item.iSubItem) : std::wstring();
      lstrcpynW(item.pszText, text.c_str(), item.cchTextMax);
      return 0;
    }
    case LVN_GETINFOTIPW: {
      auto* tip = reinterpret_cast<NMLVGETINFOTIPW*>(header);
      const HistoryLine* line = pages_.Get(static_cast<size_t>(tip->iItem));
      if (line == nullptr) return 0;
      const std::wstring text =
          line->details.empty() ? line->title : line->title + L"\r\n" + line->details;
      lstrcpynW(tip->pszText, text.c_str(), tip->cchTextMax);
      return 0;
    }
    case LVN_GETEMPTYMARKUP: {
      auto* markup = reinterpret_cast<NMLVEMPTYMARKUP*>(header);
      markup->dwFlags = EMF_CENTERED;
      lstrcpynW(markup->szMarkup, empty_text_.c_str(), L_MAX_URL_LENGTH);
      return TRUE;
    }
    case LVN_ODFINDITEMW:
      return -1;
    default:
      return 0;
  }
}

std::wstring HistoryList::Cell(const HistoryLine& line, int column) const {
  switch (column) {
    case 0:
      return DescribeTime(line.time, Seconds::kShown);
    case 1:
      return line.title;
    default:
      return line.details;
  }
}

void HistoryList::SizeColumns() {
  // 28 December 2028, 22:58:58 UTC: its numbers have two digits nearly everywhere on earth.
  constexpr int64_t kWideTime = 1'861'657'138;
  const int time = std::max(CellWidth(list_, DescribeTime(kWideTime, Seconds::kShown)),
                            CellWidth(list_, state_.Translate(texts::kTime)));
  int event = CellWidth(list_, state_.Translate(L"Administrator ended a remote shell connection"));
  event = std::max(event, CellWidth(list_, state_.Translate(texts::kEvent)));
  ListView_SetColumnWidth(list_, 0, time);
  ListView_SetColumnWidth(list_, 1, event);
  Stretch();
}

void HistoryList::Stretch() {
  constexpr int kMinimumDetails = 240;
  int details = MulDiv(kMinimumDetails, static_cast<int>(GetDpiForWindow(list_)), 96);
  // What the newest records need is typical for the others.
  for (size_t row = 0; row < kMeasuredRows; ++row) {
    const HistoryLine* line = pages_.Get(row);
    if (line == nullptr) break;
    details = std::max(details, CellWidth(list_, line->details));
  }
  FillLastColumn(list_, details);
}

bool HistoryList::Copy() const {
  CopiedRows rows;
  const std::vector<int> selected = SelectedRows(list_);
  for (auto next = selected.begin(); next != selected.end();) {
    const int first = *next;
    const auto end = std::lower_bound(next, selected.end(), first + kCopyAtOnce);
    const auto count = static_cast<size_t>(*std::prev(end) - first) + 1;
    const auto lines = state_.ReadHistory(static_cast<size_t>(first), count);
    for (; next != end; ++next) {
      const auto index = static_cast<size_t>(*next - first);
      if (index >= lines.size()) continue;
      rows.Add({Cell(lines[index], 0), Cell(lines[index], 1), Cell(lines[index], 2)});
    }
  }
  return rows.ToClipboard(list_);
}

std::wstring HistoryList::DescribeFocused() {
  const int row = ListView_GetNextItem(list_, -1, LVNI_FOCUSED);
  const HistoryLine* line = row >= 0 ? pages_.Get(static_cast<size_t>(row)) : nullptr;
  if (line == nullptr) return {};
  return Cell(*line, 0) + L"\n\n" + line->title + L"\n\n" + line->details;
}

}  // namespace host::console
