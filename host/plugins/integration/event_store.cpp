#include "host/plugins/integration/event_store.h"

#include <utility>

#include "host/common/file_path.h"
#include "module/frame/guid.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

namespace host::integration {

namespace {

constexpr uint64_t kApplicationId = 0x52414556;
constexpr uint64_t kVersion = 1;

constexpr char kRaiseNumber[] = "UPDATE sqlite_sequence SET seq = ? WHERE name = 'events'";

int Exec(sqlite3* database, const char* sql) {
  return sqlite3_exec(database, sql, /*callback=*/nullptr, /*argument=*/nullptr,
                      /*errmsg=*/nullptr);
}

}  // namespace

EventStore::EventStore(std::wstring path, const Limits& limits)
    : path_(std::move(path)), limits_(limits) {}

bool EventStore::Open() {
  const Lock lock(mutex_);
  return IsOpenLocked() || OpenAnewLocked();
}

bool EventStore::IsOpenLocked() const {
  return database_ != nullptr && !damaged_;
}

bool EventStore::OpenAnewLocked() {
  database_.reset();
  damaged_ = false;
  int result = OpenLocked();
  if (IsSqliteDamage(result)) {
    ORN_LOG(logging::kError, L"EventStore::Open",
            L"The event store is damaged (%d) and is set aside: %s.damaged", result, path_.c_str());
    database_.reset();
    if (SetSqliteFileAside(path_)) result = OpenLocked();
  }
  if (result == SQLITE_OK) return true;
  database_.reset();
  ORN_LOG(logging::kError, L"EventStore::Open",
          L"The event store cannot be opened. Error: %d. Path: %s", result, path_.c_str());
  return false;
}

int EventStore::OpenLocked() {
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
  // An exclusive lock needs no memory shared with others. A commit has to be on the disk, since
  // a number that a power failure took back would be given to a second event, which the server
  // would take for the first.
  const int prepared = Exec(database,
                            "PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL;"
                            "PRAGMA synchronous = FULL; PRAGMA journal_size_limit = 1048576;"
                            "BEGIN IMMEDIATE; COMMIT");
  if (prepared != SQLITE_OK) return prepared;
  uint64_t objects = 0;
  const int read = ReadSqliteNumber(database, "SELECT count(*) FROM sqlite_schema", objects);
  if (read != SQLITE_OK) return read;
  if (objects == 0) {
    if (const int begun = BeginLocked(); begun != SQLITE_OK) return begun;
  }
  return ReadLocked();
}

int EventStore::BeginLocked() {
  const std::string id = id_.empty() ? orn::ToUtf8(orn::GenerateGuid().view()).c_str() : id_;
  if (id.empty()) return SQLITE_ERROR;
  SqliteTransaction transaction(database_.get());
  transaction.Do("CREATE TABLE store(id TEXT NOT NULL)");
  transaction.Do(
      "CREATE TABLE events(number INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL,"
      " payload TEXT NOT NULL)");
  transaction.Do("INSERT INTO sqlite_sequence(name, seq) VALUES('events', 0)");
  SqliteStatement insert(database_.get(), "INSERT INTO store(id) VALUES(?)");
  insert.Bind(1, id);
  transaction.Do(insert);
  transaction.Do(("PRAGMA application_id = " + std::to_string(kApplicationId)).c_str());
  transaction.Do(("PRAGMA user_version = " + std::to_string(kVersion)).c_str());
  return transaction.Commit();
}

int EventStore::ReadLocked() {
  sqlite3* const database = database_.get();
  uint64_t application = 0;
  uint64_t version = 0;
  int result = ReadSqliteNumber(database, "PRAGMA application_id", application);
  if (result == SQLITE_OK) result = ReadSqliteNumber(database, "PRAGMA user_version", version);
  if (result != SQLITE_OK) return result;
  if (application != kApplicationId || version != kVersion) return kSqliteForeign;

  SqliteStatement check(database, "PRAGMA quick_check(1)");
  result = check.Step();
  if (result != SQLITE_ROW) return result;
  if (check.Text(0) != "ok") return SQLITE_CORRUPT;

  SqliteStatement store(database, "SELECT id FROM store");
  result = store.Step();
  if (result != SQLITE_ROW) return result == SQLITE_DONE ? kSqliteForeign : result;
  const std::string id = store.Text(0);
  uint64_t number = 0;
  result =
      ReadSqliteNumber(database, "SELECT seq FROM sqlite_sequence WHERE name = 'events'", number);
  if (result != SQLITE_OK) return result;
  if (id == id_ && number < last_number_) {
    // What was lost had numbers that the server knows.
    number = last_number_;
    SqliteStatement raise(database, kRaiseNumber);
    raise.Bind(1, number);
    if (result = raise.Step(); result != SQLITE_DONE) return result;
  }

  std::deque<Kept> kept;
  size_t kept_bytes = 0;
  SqliteStatement events(database,
                         "SELECT number, length(CAST(name AS BLOB)) + length(CAST(payload AS BLOB))"
                         " FROM events ORDER BY number");
  while ((result = events.Step()) == SQLITE_ROW) {
    kept.push_back({events.Number(0), static_cast<size_t>(events.Number(1))});
    kept_bytes += kept.back().bytes;
  }
  if (result != SQLITE_DONE) return result;
  id_ = id;
  last_number_ = number;
  kept_ = std::move(kept);
  kept_bytes_ = kept_bytes;
  return SQLITE_OK;
}

void EventStore::Close() {
  const Lock lock(mutex_);
  database_.reset();
  damaged_ = false;
}

std::string EventStore::id() {
  const Lock lock(mutex_);
  return IsOpenLocked() ? id_ : std::string();
}

bool EventStore::Append(std::string_view name, std::string_view payload) {
  const Lock lock(mutex_);
  return AppendLocked(name, payload) ||
         (damaged_ && OpenAnewLocked() && AppendLocked(name, payload));
}

bool EventStore::AppendLocked(std::string_view name, std::string_view payload) {
  if (!IsOpenLocked()) return false;
  const size_t bytes = name.size() + payload.size();
  size_t drop = 0;
  for (size_t left = kept_bytes_ + bytes;
       drop < kept_.size() && (kept_.size() - drop >= limits_.events || left > limits_.bytes);
       ++drop) {
    left -= kept_[drop].bytes;
  }
  SqliteTransaction transaction(database_.get());
  SqliteStatement insert(database_.get(), "INSERT INTO events(name, payload) VALUES(?, ?)");
  insert.Bind(1, name);
  insert.Bind(2, payload);
  transaction.Do(insert);
  SqliteStatement remove(database_.get(), "DELETE FROM events WHERE number <= ?");
  if (drop > 0) {
    remove.Bind(1, kept_[drop - 1].number);
    transaction.Do(remove);
  }
  if (const int result = transaction.Commit(); result != SQLITE_OK) {
    FailedLocked(L"EventStore::Append", result);
    return false;
  }
  if (drop > 0 && dropped_ == 0) {
    ORN_LOG(logging::kWarning, L"EventStore::Append",
            L"The event store is full: for each new event the oldest is dropped.");
  }
  dropped_ += drop;
  for (; drop > 0; --drop) {
    kept_bytes_ -= kept_.front().bytes;
    kept_.pop_front();
  }
  last_number_ = static_cast<uint64_t>(sqlite3_last_insert_rowid(database_.get()));
  kept_.push_back({last_number_, bytes});
  kept_bytes_ += bytes;
  return true;
}

std::vector<StoredEvent> EventStore::After(uint64_t after, size_t count, size_t bytes) {
  std::vector<StoredEvent> events;
  const Lock lock(mutex_);
  if (!IsOpenLocked() || kept_.empty() || kept_.back().number <= after) return events;
  SqliteStatement select(
      database_.get(),
      "SELECT number, name, payload FROM events WHERE number > ? ORDER BY number LIMIT ?");
  select.Bind(1, after);
  select.Bind(2, uint64_t{count});
  size_t sum = 0;
  int result = SQLITE_OK;
  while ((result = select.Step()) == SQLITE_ROW) {
    StoredEvent event{select.Number(0), select.Text(1), select.Text(2)};
    sum += event.name.size() + event.payload.size();
    if (!events.empty() && sum > bytes) return events;
    events.push_back(std::move(event));
  }
  if (result != SQLITE_DONE) FailedLocked(L"EventStore::After", result);
  return events;
}

void EventStore::Forget(uint64_t number) {
  const Lock lock(mutex_);
  if (!IsOpenLocked()) return;
  const bool raise = number > last_number_;
  if (!raise && (kept_.empty() || kept_.front().number > number)) return;
  SqliteTransaction transaction(database_.get());
  SqliteStatement remove(database_.get(), "DELETE FROM events WHERE number <= ?");
  remove.Bind(1, number);
  transaction.Do(remove);
  SqliteStatement update(database_.get(), kRaiseNumber);
  if (raise) {
    update.Bind(1, number);
    transaction.Do(update);
  }
  if (const int result = transaction.Commit(); result != SQLITE_OK) {
    FailedLocked(L"EventStore::Forget", result);
    return;
  }
  if (raise) {
    ORN_LOG(logging::kWarning, L"EventStore::Forget",
            L"The server has events that this store does not know: the file was an older copy.");
    last_number_ = number;
  }
  while (!kept_.empty() && kept_.front().number <= number) {
    kept_bytes_ -= kept_.front().bytes;
    kept_.pop_front();
  }
  if (dropped_ > 0) {
    ORN_LOG(logging::kWarning, L"EventStore::Forget",
            L"There is room for events again. Dropped meanwhile: %llu.", dropped_);
    dropped_ = 0;
  }
}

void EventStore::FailedLocked(const wchar_t* what, int result) {
  ORN_LOG(logging::kError, what, L"The event store fails. Error: %d.", result);
  damaged_ = IsSqliteDamage(result);
}

}  // namespace host::integration
