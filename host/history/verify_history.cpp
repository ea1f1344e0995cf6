#include "host/history/verify_history.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "host/history/history_anchor.h"
#include "host/history/history_file.h"

namespace host::history {
namespace {

using Finding = Verification::Finding;

// What is read at once: meanwhile the agent cannot write.
constexpr uint64_t kPiece = 5'000;

int ReadPiece(sqlite3* database, int64_t after, std::vector<StoredRecord>& rows) {
  rows.clear();
  SqliteStatement select(database, "SELECT " HISTORY_COLUMNS
                                   " FROM records WHERE sequence > ? ORDER BY sequence LIMIT ?");
  select.Bind(1, static_cast<uint64_t>(after));
  select.Bind(2, kPiece);
  int result = SQLITE_OK;
  while ((result = select.Step()) == SQLITE_ROW)
    rows.push_back(TakeRow(select));
  return result;
}

// Goes along the chain, record by record.
class ChainWalk {
 public:
  // `anchor` is null where there is none.
  ChainWalk(Verification& found, const HistoryHead* anchor) : found_(found), anchor_(anchor) {}

  const HistoryHead& last() const { return last_; }

  // False once something is wrong.
  bool Take(const StoredRecord& row) {
    const int64_t expected = last_.sequence + 1;
    if (row.sequence > expected) return Bad(Finding::kRemoved, expected);
    if (row.sequence < expected || !row.IsWhole(hasher_)) {
      return Bad(Finding::kChanged, row.sequence);
    }
    // A record that fits its own hash, but not what the next one knows of it, was changed together
    // with its hash. Nobody stands before the first one.
    if (HashOf(row.previous) != last_.hash) {
      return Bad(Finding::kChanged, std::max<int64_t>(last_.sequence, 1));
    }
    last_ = {.sequence = row.sequence, .hash = HashOf(row.hash)};
    const bool is_anchored = anchor_ != nullptr && anchor_->sequence == row.sequence;
    return !is_anchored || anchor_->hash == last_.hash || Bad(Finding::kChanged, row.sequence);
  }
  bool Bad(Finding finding, int64_t sequence) {
    found_.finding = finding;
    found_.first_bad = sequence;
    return false;
  }

 private:
  Verification& found_;
  const HistoryHead* const anchor_;
  RecordHash hasher_;
  HistoryHead last_;
};

// What the registry says about the last record.
void CheckEnd(const std::wstring& path, const HistoryHead& before, ChainWalk& walk) {
  const int64_t last = walk.last().sequence;
  if (last < before.sequence) {
    walk.Bad(Finding::kRemoved, last + 1);
    return;
  }
  // The agent may have written since.
  HistoryHead now;
  if (!ReadAnchor(path, now)) now = before;
  // One record may have been committed and not noted yet, or never, by a run that was ended.
  if (last > now.sequence + 1) walk.Bad(Finding::kChanged, now.sequence + 2);
}

// Goes along all records, as far as they are right. SQLITE_DONE, or what went wrong with the file.
int WalkAll(sqlite3* database, ChainWalk& walk, Verification& found) {
  found.finding = Finding::kIntact;
  std::vector<StoredRecord> rows;
  int64_t after = std::numeric_limits<int64_t>::min();
  int result = SQLITE_OK;
  do {
    result = ReadPiece(database, after, rows);
    for (const StoredRecord& row : rows) {
      if (!walk.Take(row)) return SQLITE_DONE;
      after = row.sequence;
    }
  } while (result == SQLITE_DONE && !rows.empty());
  if (result == SQLITE_DONE) return result;
  found.finding = Finding::kUnreadable;
  if (IsSqliteDamage(result)) walk.Bad(Finding::kChanged, walk.last().sequence + 1);
  return result;
}

Verification VerifyOnce(const std::wstring& path, const HistoryHead* anchor) {
  Verification found;
  found.anchored = anchor != nullptr;
  UniqueSqlite database;
  found.status = OpenForReading(path, database);
  if (found.status != 0) return found;
  ChainWalk walk(found, anchor);
  found.status = WindowsCodeOf(database.get(), WalkAll(database.get(), walk, found));
  if (found.finding == Finding::kIntact && anchor != nullptr) CheckEnd(path, *anchor, walk);
  // All are counted only where not all were read.
  auto records = static_cast<uint64_t>(walk.last().sequence);
  if (found.finding != Finding::kIntact) {
    ReadSqliteNumber(database.get(), "SELECT count(*) FROM records", records);
  }
  found.records = static_cast<int64_t>(records);
  return found;
}

}  // namespace

Verification VerifyHistory(const std::wstring& path) {
  for (;;) {
    HistoryHead anchor;
    if (!ReadAnchor(path, anchor)) return VerifyOnce(path, nullptr);
    Verification found = VerifyOnce(path, &anchor);
    if (found.finding == Finding::kIntact) return found;
    // What the registry said need not be about the file that was read, where the agent has set the
    // store aside meanwhile and begun anew.
    HistoryHead now;
    if (ReadAnchor(path, now) && now.sequence >= anchor.sequence) return found;
  }
}

}  // namespace host::history
