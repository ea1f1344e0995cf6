#pragma once

#include <cstdint>
#include <string>

#include "host/common/sync.h"
#include "host/history/history_record.h"
#include "host/sqlite/sqlite.h"

namespace host::history {

// The machine's history, a file to which one process adds and which others read (history_reader.h).
// Each record has a hash over the hash of the one before and its own canonical form; the last
// record is also kept in the registry (history_anchor.h).
//
// A store that proves damaged, or whose last record is not the one that the registry knows, is set
// aside under its name with ".damaged-", the time and a number, and a new one is begun, whose first
// record says so. The registry goes on knowing the last record of the old one.
//
// The file must lie in a folder that is there. Any thread. Each operation waits for the disk, for
// readers at most some seconds, and for the other operations.
class HistoryStore {
 public:
  explicit HistoryStore(std::wstring path) : path_(std::move(path)) {}
  HistoryStore(const HistoryStore&) = delete;
  HistoryStore& operator=(const HistoryStore&) = delete;

  // Opens the file, or makes it, for a new run of the agent. Where the last run did not close it,
  // a record says so. 0, or a Windows code and a log line; Add tries again then.
  uint32_t Open();

  // Appends a record with the present time. 0 once it is on the disk; otherwise it is lost, with
  // one line in the log, and nothing else is.
  uint32_t Add(const IHistory::Event::Data& data, const wchar_t* feature);

  // Notes the orderly end of the run.
  void Close();

 private:
  int OpenLocked();
  int BeginLocked();
  int ReadHeadLocked();
  int AppendLocked(const IHistory::Event::Data& data, const wchar_t* feature);
  // Opens the file whatever it takes, with the records that this brings about.
  int OpenAnewLocked();

  const std::wstring path_;

  Mutex mutex_;
  UniqueSqlite database_;  // Null while it is not open.
  HistoryHead head_;
  bool in_run_ = false;  // Open was called, and Close not yet.
};

}  // namespace host::history
