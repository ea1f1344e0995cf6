#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/common/sync.h"
#include "host/sqlite/sqlite.h"

namespace host::signals {

// Names of listeners by the channel of their signal, in a file that several processes may have open
// at the same time. What an operation has taken is on the disk. A file that is damaged or not of
// this kind is set aside under its name with ".damaged" behind it, and a new one is begun.
//
// Any thread. The file is opened by the first operation; where that fails, each further one tries
// again.
class NameStore {
 public:
  explicit NameStore(std::wstring path) : path_(std::move(path)) {}
  NameStore(const NameStore&) = delete;
  NameStore& operator=(const NameStore&) = delete;

  // These change nothing where the name is there already, or is not there. False, and a log line,
  // where the file could not be changed.
  bool Add(std::string_view channel, std::string_view id);
  bool Remove(std::string_view channel, std::string_view id);

  // In the order in which they were added; none, and a log line, where the file cannot be read.
  std::vector<std::string> Names(std::string_view channel);

 private:
  // Runs `work` on the open database, on a new one again where the old proves damaged. What it
  // returns is SQLite's.
  bool Do(const wchar_t* what, const std::function<int(sqlite3*)>& work);
  int OpenLocked();
  int BeginLocked();

  const std::wstring path_;

  Mutex mutex_;
  UniqueSqlite database_;  // Guarded by mutex_. Null while it is not open.
};

}  // namespace host::signals
