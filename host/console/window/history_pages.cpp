#include "host/console/window/history_pages.h"

#include <algorithm>

namespace host::console {

const HistoryLine* HistoryPages::Get(size_t row) {
  const size_t number = row / kPageSize;
  auto page = std::find_if(pages_.begin(), pages_.end(),
                           [&](const Page& other) { return other.number == number; });
  if (page == pages_.end()) {
    if (pages_.size() == kMaximumPages) pages_.pop_back();
    pages_.push_front({number, state_.ReadHistory(number * kPageSize, kPageSize)});
  } else {
    pages_.splice(pages_.begin(), pages_, page);
  }
  const std::vector<HistoryLine>& lines = pages_.front().lines;
  const size_t index = row % kPageSize;
  return index < lines.size() ? &lines[index] : nullptr;
}

std::optional<size_t> RowsAdded(const HistoryExtent& before, const HistoryExtent& now) {
  if (now.size < before.size || now.newest < before.newest) return std::nullopt;
  const auto added = static_cast<size_t>(now.newest - before.newest);
  if (added > now.size) return std::nullopt;
  return added;
}

}  // namespace host::console
