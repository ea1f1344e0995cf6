#pragma once

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "host/common/sync.h"
#include "host/history/history_reader.h"
#include "module/frame/handle.h"

namespace host::console {

// The machine's history as somebody looks at it: reads the file, notices by its folder when there
// is more or another one, and keeps what was read last. It holds nothing open but the folder. No
// file, or one that cannot be read, is an empty history.
//
// Start and Stop belong to one thread; the rest is for any.
class HistoryView {
 public:
  // `changed` is called on the view's thread, outside all locks.
  HistoryView(const std::wstring& file, std::function<void()> changed);
  HistoryView(const HistoryView&) = delete;
  HistoryView& operator=(const HistoryView&) = delete;
  ~HistoryView() { Stop(); }

  // Looks for the first time, then follows the file on a thread.
  void Start();
  void Stop();
  // Has the view look anew, for the cases in which no folder tells: when one that this user may not
  // see into gets a new one.
  void Look() { SetEvent(look_.get()); }

  size_t GetSize();
  // `count` records from `first` on, the newest first; fewer at the end.
  std::vector<history::HistoryRecord> Read(size_t first, size_t count);

 private:
  void Run();
  // Whether there is something else to be seen now.
  bool Update();
  void Watch();

  const history::HistoryReader reader_;
  const std::wstring folder_;
  const std::function<void()> changed_;
  const orn::UniqueHandle look_;
  const orn::UniqueHandle stop_;
  HANDLE watch_ = INVALID_HANDLE_VALUE;  // Of the thread, and before it of Start.
  uint32_t problem_ = 0;                 // Likewise. The last one that was logged.
  std::thread thread_;

  Mutex mutex_;
  // Guarded by mutex_.
  size_t size_ = 0;
  history::Hash newest_{};
  std::vector<history::HistoryRecord> block_;  // Around what was read last, of this size_.
  size_t block_first_ = 0;
};

}  // namespace host::console
