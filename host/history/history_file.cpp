#include "host/history/history_file.h"

#include <algorithm>
#include <mutex>

#include "module/frame/error_codes.h"
#include "module/frame/utf.h"

namespace host::history {
namespace {

constexpr int kPatienceMs = 2'000;

}  // namespace

bool StoredRecord::IsWhole(RecordHash& hasher) const {
  Hash computed{};
  return previous.size() == computed.size() && EncodedSequence(bytes) == sequence &&
         hasher.Compute(HashOf(previous), bytes, computed) && BytesOf(computed) == hash;
}

StoredRecord TakeRow(const SqliteStatement& statement) {
  return {.sequence = static_cast<int64_t>(statement.Number(0)),
          .previous = statement.Text(1),
          .bytes = statement.Text(2),
          .hash = statement.Text(3)};
}

Hash HashOf(std::string_view bytes) {
  Hash hash{};
  if (bytes.size() == hash.size()) std::copy(bytes.begin(), bytes.end(), hash.begin());
  return hash;
}

std::string_view BytesOf(const Hash& hash) {
  return {reinterpret_cast<const char*>(hash.data()), hash.size()};
}

int CheckKind(sqlite3* database, bool& empty) {
  uint64_t application = 0;
  uint64_t version = 0;
  uint64_t objects = 0;
  int result = ReadSqliteNumber(database, "PRAGMA application_id", application);
  if (result == SQLITE_OK) result = ReadSqliteNumber(database, "PRAGMA user_version", version);
  if (result == SQLITE_OK) {
    result = ReadSqliteNumber(database, "SELECT count(*) FROM sqlite_schema", objects);
  }
  if (result != SQLITE_OK) return result;
  empty = application == 0 && version == 0 && objects == 0;
  return empty || (application == kApplicationId && version == kFileVersion) ? SQLITE_OK
                                                                             : kSqliteForeign;
}

int ReadLast(sqlite3* database, StoredRecord& last) {
  SqliteStatement select(database,
                         "SELECT " HISTORY_COLUMNS " FROM records ORDER BY sequence DESC LIMIT 1");
  const int result = select.Step();
  if (result == SQLITE_DONE) return SQLITE_OK;
  if (result != SQLITE_ROW) return result;
  last = TakeRow(select);
  return SQLITE_OK;
}

uint32_t OpenForReading(const std::wstring& path, UniqueSqlite& database) {
  static std::once_flag once;
  std::call_once(once, LetSqliteFilesMove);
  sqlite3* opened = nullptr;
  int result = sqlite3_open_v2(orn::ToUtf8(path).c_str(), &opened,
                               SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, /*zVfs=*/nullptr);
  database.reset(opened);
  if (result != SQLITE_OK) {
    const uint32_t status = WindowsCodeOf(opened, result);
    return status == ERROR_PATH_NOT_FOUND ? error::kPathNotFound : status;
  }
  sqlite3_busy_timeout(opened, kPatienceMs);
  // The agent may be making the file: all that is looked at is of one state.
  const SqliteTransaction transaction(opened);
  bool empty = false;
  result = CheckKind(opened, empty);
  return empty ? error::kPathNotFound : WindowsCodeOf(opened, result);
}

}  // namespace host::history
