#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>

#include "module/frame/handle.h"
#include "module/frame/path_string.h"

namespace orn {

// Calls a reader off. It is asked before every read, so the event itself is asked only once it was
// set: that call costs a third of the speed under Wine. One that could not be made never signals.
// Any thread.
class ReadCancelEvent {
 public:
  ReadCancelEvent();
  ReadCancelEvent(const ReadCancelEvent&) = delete;
  ReadCancelEvent& operator=(const ReadCancelEvent&) = delete;

  explicit operator bool() const noexcept { return static_cast<bool>(event_); }
  void Set() noexcept;
  bool IsSet() const noexcept;

 private:
  const UniqueHandle event_;  // Manual reset.
  std::atomic<bool> was_set_{false};
};

// Copies the output of a child from `pipe` to a file until all writers of the pipe have gone; an
// existing file is replaced. The file is text: a line feed becomes carriage return and line feed,
// and each chunk read ends at its first zero byte. Others may read and write the file meanwhile.
//
// `cancel_event` is looked at between reads only. `result` is set at the end: 0, 1223 after a
// cancel, 1627 where the file could not be opened; nothing is read then.
void ReadPipeThread(HANDLE pipe, const PathStringT<260>& output_path,
                    const ReadCancelEvent& cancel_event, uint32_t* result);

// A thread that reads, one at a time. To be joined before it is destroyed. Any thread.
class ReaderThread {
 public:
  ReaderThread() = default;
  ReaderThread(const ReaderThread&) = delete;
  ReaderThread& operator=(const ReaderThread&) = delete;

  // Waits for an earlier thread first, for 15 minutes at most. False where that lasts or no thread
  // could be made.
  bool Start(std::function<void()> body);
  // `timeout` in milliseconds. 0 where the thread has ended or there is none, 1627 otherwise.
  uint32_t Join(std::optional<uint32_t> timeout = std::nullopt);

 private:
  uint32_t JoinLocked(uint32_t timeout);

  std::mutex mutex_;
  UniqueHandle thread_;  // Guarded by mutex_.
};

}  // namespace orn
