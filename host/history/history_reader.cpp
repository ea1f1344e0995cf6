#include "host/history/history_reader.h"

#include <algorithm>
#include <functional>
#include <limits>

#include "host/history/history_file.h"
#include "host/history/own_events.h"
#include "module/frame/error_codes.h"

namespace host::history {
namespace {

// `work` reads one state of the store, with the sequence of its last record, and gives SQLite's
// result.
uint32_t ReadStore(const std::wstring& path,
                   const std::function<int(sqlite3* database, int64_t total)>& work) {
  UniqueSqlite database;
  if (const uint32_t status = OpenForReading(path, database); status != 0) return status;
  SqliteTransaction transaction(database.get());
  uint64_t total = 0;
  int result =
      ReadSqliteNumber(database.get(), "SELECT ifnull(max(sequence), 0) FROM records", total);
  if (result == SQLITE_OK) {
    result = work(database.get(), std::max<int64_t>(static_cast<int64_t>(total), 0));
  }
  return WindowsCodeOf(database.get(), result);
}

HistoryRecord LostRecord(int64_t sequence) {
  return {.sequence = sequence, .feature = kOwnFeature, .data = OwnEventData(OwnEvent::kLost)};
}

// All of `newest` down to `oldest`.
int ReadRange(sqlite3* database, int64_t newest, int64_t oldest,
              std::vector<HistoryRecord>& records) {
  SqliteStatement select(database, "SELECT " HISTORY_COLUMNS
                                   " FROM records WHERE sequence BETWEEN ? AND ?"
                                   " ORDER BY sequence DESC");
  select.Bind(1, static_cast<uint64_t>(oldest));
  select.Bind(2, static_cast<uint64_t>(newest));
  RecordHash hasher;
  int64_t next = newest;
  int result = SQLITE_OK;
  while ((result = select.Step()) == SQLITE_ROW) {
    const StoredRecord row = TakeRow(select);
    for (; next > row.sequence; --next)
      records.push_back(LostRecord(next));
    HistoryRecord record;
    const bool readable = row.IsWhole(hasher) && DecodeRecord(row.bytes, record);
    records.push_back(readable ? std::move(record) : LostRecord(next));
    records.back().hash = HashOf(row.hash);
    --next;
  }
  if (result != SQLITE_DONE) return result;
  for (; next >= oldest; --next)
    records.push_back(LostRecord(next));
  return SQLITE_OK;
}

int ReadBelow(sqlite3* database, int64_t newest, size_t count,
              std::vector<HistoryRecord>& records) {
  records.clear();
  if (newest < 1 || count == 0) return SQLITE_OK;
  const auto wanted = static_cast<int64_t>(
      std::min(count, static_cast<size_t>(std::numeric_limits<int64_t>::max())));
  return ReadRange(database, newest, std::max<int64_t>(newest - wanted + 1, 1), records);
}

}  // namespace

uint32_t HistoryReader::Count(int64_t& count) const {
  return ReadStore(path_, [&](sqlite3*, int64_t total) {
    count = total;
    return SQLITE_OK;
  });
}

uint32_t HistoryReader::ReadNewest(int64_t first, size_t count, std::vector<HistoryRecord>& records,
                                   int64_t& total) const {
  return ReadStore(path_, [&](sqlite3* database, int64_t all) {
    total = all;
    return ReadBelow(database, all - std::max<int64_t>(first, 0), count, records);
  });
}

uint32_t HistoryReader::ReadBefore(int64_t before, size_t count,
                                   std::vector<HistoryRecord>& records, int64_t& total) const {
  return ReadStore(path_, [&](sqlite3* database, int64_t all) {
    total = all;
    return ReadBelow(database, before > all ? all : before - 1, count, records);
  });
}

uint32_t HistoryReader::Read(int64_t sequence, HistoryRecord& record) const {
  std::vector<HistoryRecord> records;
  const uint32_t status = ReadStore(path_, [&](sqlite3* database, int64_t all) {
    return sequence > all ? SQLITE_OK : ReadBelow(database, sequence, 1, records);
  });
  if (status != 0) return status;
  if (records.empty()) return error::kNotFound;
  record = std::move(records.front());
  return error::kSuccess;
}

}  // namespace host::history
