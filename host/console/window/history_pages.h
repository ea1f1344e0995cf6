#pragma once

#include <cstddef>
#include <list>
#include <optional>
#include <vector>

#include "host/console/console_state.h"

namespace host::console {

// The records of the history that were looked at last, read a page at a time: a list shows some
// thirty rows of a history of any length. One thread at a time.
class HistoryPages {
 public:
  explicit HistoryPages(IConsoleState& state) : state_(state) {}

  // The record at `row`, 0 being the newest. Null where there is none or it cannot be read. The
  // pointer is good until the next operation.
  const HistoryLine* Get(size_t row);

  // For when the history has changed, or its language.
  void Forget() { pages_.clear(); }

 private:
  static constexpr size_t kPageSize = 32;
  static constexpr size_t kMaximumPages = 8;

  struct Page {
    size_t number = 0;
    std::vector<HistoryLine> lines;
  };

  IConsoleState& state_;
  std::list<Page> pages_;  // The one used last is the first.
};

// What a list of the history shows.
struct HistoryExtent {
  size_t size = 0;
  int64_t newest = 0;  // Its sequence number.
};

// By how many rows the records of `before` have moved down in `now`. None when it isn't the same
// history that only has grown.
std::optional<size_t> RowsAdded(const HistoryExtent& before, const HistoryExtent& now);

}  // namespace host::console
