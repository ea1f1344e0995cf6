#pragma once

#include <cstdint>
#include <string>

#include "host/history/record_hash.h"
#include "host/sqlite/sqlite.h"

// The file that the history is, as writer and readers know it. Results are SQLite's where nothing
// else is said.

namespace host::history {

inline constexpr uint64_t kApplicationId = 0x52414849;
inline constexpr uint64_t kFileVersion = 1;

// A row as it was found, whatever it holds.
struct StoredRecord {
  int64_t sequence = 0;
  std::string previous;  // The hash of the record before.
  std::string bytes;     // The canonical form.
  std::string hash;

  // Whether the hash is that of this very record.
  bool IsWhole(RecordHash& hasher) const;
};

// What a StoredRecord is read from by TakeRow.
#define HISTORY_COLUMNS "sequence, previous, record, hash"
StoredRecord TakeRow(const SqliteStatement& statement);

// Leaves a hash of another length zero.
Hash HashOf(std::string_view bytes);
std::string_view BytesOf(const Hash& hash);

// SQLITE_OK where the file is a history; `empty` where it has nothing in it at all.
int CheckKind(sqlite3* database, bool& empty);

// The last record; a sequence of 0 where there is none.
int ReadLast(sqlite3* database, StoredRecord& last);

// Opens the file for reading, in a way that does not keep it from being set aside. Gives a status
// as HistoryReader has it.
uint32_t OpenForReading(const std::wstring& path, UniqueSqlite& database);

}  // namespace host::history
