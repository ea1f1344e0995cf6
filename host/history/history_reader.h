#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/history/history_record.h"

namespace host::history {

// Reads the machine's history from its file, with no more than the right to read it, while the
// agent may be adding to it. Keeps nothing open between the operations, so that it always sees the
// file that is there now. In the place of a record that was removed, or that is not what its hash
// says, it gives OwnEvent::kLost (own_events.h).
//
// Operations return 0, or what stands in the way:
//   2     there is no store yet
//   5     this user may not read it
//   21    the agent was ended while it wrote, and has to repair the file first: it does so when
//           it starts
//   170   the file stayed locked for some seconds
//   1392  the file is damaged or no history
// Any thread; operations of one object wait for nobody but the writer.
class HistoryReader {
 public:
  explicit HistoryReader(std::wstring path) : path_(std::move(path)) {}

  // How many records there are: the last one's sequence.
  uint32_t Count(int64_t& count) const;
  // Up to `count` records, the newest first, after leaving out the `first` newest; `total` is what
  // Count gives. Fewer only at the oldest one.
  uint32_t ReadNewest(int64_t first, size_t count, std::vector<HistoryRecord>& records,
                      int64_t& total) const;
  // The same, of the records before the one of that sequence.
  uint32_t ReadBefore(int64_t before, size_t count, std::vector<HistoryRecord>& records,
                      int64_t& total) const;
  // 1168 where it is not within 1 and Count.
  uint32_t Read(int64_t sequence, HistoryRecord& record) const;

 private:
  const std::wstring path_;
};

}  // namespace host::history
