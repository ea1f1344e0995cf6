#include "host/plugins/persistent_handlers/name_store.h"

#include <utility>

#include "host/common/file_path.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/frame/utf.h"

namespace host::signals {

namespace {

constexpr uint64_t kApplicationId = 0x5241'4E4D;
constexpr uint64_t kVersion = 1;
constexpr int kPatience = 5000;  // Milliseconds for another process to be done with the file.

int Exec(sqlite3* database, const char* sql) {
  return sqlite3_exec(database, sql, /*callback=*/nullptr, /*argument=*/nullptr,
                      /*errmsg=*/nullptr);
}

int Change(sqlite3* database, const char* sql, std::string_view channel, std::string_view id) {
  SqliteStatement statement(database, sql);
  statement.Bind(1, channel);
  statement.Bind(2, id);
  const int result = statement.Step();
  return result == SQLITE_DONE ? SQLITE_OK : result;
}

}  // namespace

bool NameStore::Add(std::string_view channel, std::string_view id) {
  return Do(L"NameStore::Add", [&](sqlite3* database) {
    return Change(database, "INSERT OR IGNORE INTO names(channel, id) VALUES(?, ?)", channel, id);
  });
}

bool NameStore::Remove(std::string_view channel, std::string_view id) {
  return Do(L"NameStore::Remove", [&](sqlite3* database) {
    return Change(database, "DELETE FROM names WHERE channel = ? AND id = ?", channel, id);
  });
}

std::vector<std::string> NameStore::Names(std::string_view channel) {
  std::vector<std::string> names;
  Do(L"NameStore::Names", [&](sqlite3* database) {
    names.clear();
    SqliteStatement select(database, "SELECT id FROM names WHERE channel = ? ORDER BY number");
    select.Bind(1, channel);
    int result = SQLITE_OK;
    while ((result = select.Step()) == SQLITE_ROW)
      names.push_back(select.Text(0));
    return result == SQLITE_DONE ? SQLITE_OK : result;
  });
  return names;
}

bool NameStore::Do(const wchar_t* what, const std::function<int(sqlite3*)>& work) {
  const Lock lock(mutex_);
  const auto attempt = [&] {
    const int opened = database_ != nullptr ? SQLITE_OK : OpenLocked();
    return opened == SQLITE_OK ? work(database_.get()) : opened;
  };
  int result = attempt();
  if (IsSqliteDamage(result)) {
    ORN_LOG(logging::kError, what,
            L"The names of listeners are damaged (%d) and are set aside: %s.damaged", result,
            path_.c_str());
    database_.reset();
    if (SetSqliteFileAside(path_)) result = attempt();
  }
  if (result == SQLITE_OK) return true;
  ORN_LOG(logging::kError, what, L"The file of listeners' names fails. Error: %d. Path: %s", result,
          path_.c_str());
  database_.reset();
  return false;
}

int NameStore::OpenLocked() {
  orn::PathStringT<260> folder;
  folder = FolderOf(path_).c_str();
  orn::CreateFolderRecursively(folder);  // Otherwise opening the file fails.
  sqlite3* database = nullptr;
  const int opened =
      sqlite3_open_v2(orn::ToUtf8(path_).c_str(), &database,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                      /*zVfs=*/nullptr);
  database_.reset(database);
  if (opened != SQLITE_OK) return opened;
  sqlite3_busy_timeout(database, kPatience);
  return BeginLocked();
}

int NameStore::BeginLocked() {
  sqlite3* const database = database_.get();
  // Of two processes that find the file empty, one makes the table and the other then sees it.
  // What fails in between is taken back when the file is closed.
  int result = Exec(database, "BEGIN IMMEDIATE");
  if (result != SQLITE_OK) return result;
  uint64_t objects = 0;
  result = ReadSqliteNumber(database, "SELECT count(*) FROM sqlite_schema", objects);
  if (result == SQLITE_OK && objects == 0) {
    const std::string begin =
        "CREATE TABLE names(number INTEGER PRIMARY KEY, channel TEXT NOT NULL, id TEXT NOT NULL,"
        " UNIQUE(channel, id)); PRAGMA application_id = " +
        std::to_string(kApplicationId) + "; PRAGMA user_version = " + std::to_string(kVersion);
    result = Exec(database, begin.c_str());
  }
  uint64_t application = 0;
  uint64_t version = 0;
  if (result == SQLITE_OK) {
    result = ReadSqliteNumber(database, "PRAGMA application_id", application);
  }
  if (result == SQLITE_OK) result = ReadSqliteNumber(database, "PRAGMA user_version", version);
  if (result != SQLITE_OK) return result;
  if (application != kApplicationId || version != kVersion) return kSqliteForeign;
  return Exec(database, "COMMIT");
}

}  // namespace host::signals
