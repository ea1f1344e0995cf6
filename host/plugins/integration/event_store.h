#pragma once

#include <deque>
#include <string>
#include <vector>

#include "host/common/sync.h"
#include "host/sqlite/sqlite.h"

namespace host::integration {

struct StoredEvent {
  uint64_t number = 0;
  std::string name;     // UTF-8
  std::string payload;  // JSON
};

// The events that the server has not acknowledged yet, in a file. Numbers begin with 1 and rise for
// ever, whatever was forgotten or dropped, and whether the process was ended by force or the
// machine lost its power: an event that Append has taken is on the disk.
//
// A file that is damaged or not of this kind is set aside under its name with ".damaged" behind it,
// and a new one is begun; where that happens to a file that was open, at the next Append or Open,
// its id and its numbers go on, so that the server sees no more than a gap. Only one process at a
// time can have a file open.
//
// Any thread. Each operation waits for the disk and for the others, and for nothing else.
class EventStore {
 public:
  // What is kept at most; beyond it the oldest events are dropped.
  struct Limits {
    size_t events = 10'000;
    size_t bytes = 256 * 1024 * 1024;  // of names and payloads
  };

  EventStore(std::wstring path, const Limits& limits);
  EventStore(const EventStore&) = delete;
  EventStore& operator=(const EventStore&) = delete;

  // Opens the file, or makes it with its folder. Does nothing where it is open already. False, and
  // a log line, where that is not possible now; then the operations below have no effect, and it
  // can be tried again.
  bool Open();
  void Close();

  // Names the file and its numbers: made with the file, and kept with it. Empty while it is not
  // open.
  std::string id();

  // False where the event could not be kept.
  bool Append(std::string_view name, std::string_view payload);

  // The oldest events after number `after`, in order: at most `count`, and no more than `bytes` in
  // sum but for the first.
  std::vector<StoredEvent> After(uint64_t after, size_t count, size_t bytes);

  // Forgets all events up to `number`, and never gives a number up to it again.
  void Forget(uint64_t number);

 private:
  struct Kept {
    uint64_t number;
    size_t bytes;
  };

  bool IsOpenLocked() const;
  bool OpenAnewLocked();
  int OpenLocked();
  int BeginLocked();
  int ReadLocked();
  bool AppendLocked(std::string_view name, std::string_view payload);
  void FailedLocked(const wchar_t* what, int result);

  const std::wstring path_;
  const Limits limits_;

  Mutex mutex_;
  UniqueSqlite database_;
  bool damaged_ = false;   // Found so while it is open: it has to be opened anew.
  std::string id_;         // Of the last file that was open; so is last_number_.
  std::deque<Kept> kept_;  // What is in the file.
  size_t kept_bytes_ = 0;
  uint64_t last_number_ = 0;
  uint64_t dropped_ = 0;  // Since the store became full.
};

}  // namespace host::integration
