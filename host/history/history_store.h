#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "host/common/sync.h"
#include "host/history/history_record.h"
#include "host/history/record_hash.h"
#include "host/sqlite/sqlite.h"

namespace host::history {

// The machine's history, a file to which one process adds and which others read (history_reader.h).
// Each record has a hash over the hash of the one before and its own canonical form; the last
// record is also kept in the registry (history_anchor.h).
//
// A store that proves damaged, or whose last record is not the one that the registry knows, is set
// aside under its name with ".damaged-" and the time behind it, and a new one is begun, whose first
// record says so. The registry goes on knowing the last record of the old one. A store that is
// gone, though the registry knows it, is told by the first record of the new one, too.
//
// The file's folder must be there. Any thread. Each operation waits for the disk, for readers at
// most some seconds, and for the other operations.
class HistoryStore {
 public:
  explicit HistoryStore(std::wstring path) : path_(std::move(path)) {}
  HistoryStore(const HistoryStore&) = delete;
  HistoryStore& operator=(const HistoryStore&) = delete;

  // Opens the file, or makes it, for a new run of the agent. Where the last run did not close it, a
  // record says so. 0, or a Windows code and a log line: each Add tries again then.
  uint32_t Open();

  // Appends a record with the present time. 0 once it is on the disk; otherwise it is lost, with
  // one line in the log, and no other is. 87 where the feature has not 1 to 256
  // characters, 223 where the record is longer than 64 KiB, 21 outside a run.
  uint32_t Add(const IHistory::Event::Data& data, const wchar_t* feature);

  // Notes the orderly end of the run.
  void Close();

 private:
  // Statuses are Windows codes; 1392 asks for a new store.
  uint32_t PrepareLocked();
  uint32_t OpenLocked();
  uint32_t BeginLocked();
  uint32_t CheckEndLocked();
  uint32_t MarkRunLocked();
  uint32_t RenewLocked();
  uint32_t AppendLocked(const IHistory::Event::Data& data, const wchar_t* feature);
  uint32_t CodeLocked(int result) const { return WindowsCodeOf(database_.get(), result); }
  void AnchorLocked() const;

  const std::wstring path_;

  Mutex mutex_;
  RecordHash hasher_;
  UniqueSqlite database_;  // Null while it is not open.
  HistoryHead head_;
  bool in_run_ = false;
  bool is_marked_ = false;  // The file knows of the run.
  bool is_new_ = false;     // The file was begun by the last OpenLocked.
  std::wstring aside_;      // The name of a store that was set aside, until a record tells it.
};

}  // namespace host::history
