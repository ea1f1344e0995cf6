#include "host/history/history_store.h"

#include <ctime>
#include <cwchar>
#include <iterator>

#include "host/history/history_anchor.h"
#include "host/history/history_file.h"
#include "host/history/own_events.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

namespace host::history {
namespace {

constexpr uint32_t kDamaged = ERROR_FILE_CORRUPT;
// Somebody else has put a record at the end.
constexpr uint32_t kStale = ERROR_REVISION_MISMATCH;
constexpr size_t kLongestFeature = 256;
constexpr size_t kLargestRecord = 64 * 1024;
constexpr int kPatienceMs = 5'000;

std::wstring NameAside(const std::wstring& path) {
  SYSTEMTIME now = {};
  GetSystemTime(&now);
  wchar_t time[40] = {};
  swprintf(time, std::size(time), L".damaged-%04d%02d%02dT%02d%02d%02dZ", now.wYear, now.wMonth,
           now.wDay, now.wHour, now.wMinute, now.wSecond);
  std::wstring name = path + time;
  for (int i = 2; GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES; ++i)
    name = path + time + L'-' + std::to_wstring(i);
  return name;
}

}  // namespace

uint32_t HistoryStore::Open() {
  const Lock lock(mutex_);
  in_run_ = true;
  is_marked_ = false;
  const uint32_t status = PrepareLocked();
  if (status != 0) {
    ORN_LOG(logging::kError, L"HistoryStore::Open",
            L"The history cannot be opened. Error: %d. Path: %s", status, path_.c_str());
  }
  return status;
}

uint32_t HistoryStore::Add(const IHistory::Event::Data& data, const wchar_t* feature) {
  const size_t length = feature == nullptr ? 0 : std::wcslen(feature);
  if (length == 0 || length > kLongestFeature) return error::kBadParameter;
  const Lock lock(mutex_);
  uint32_t status = in_run_ ? PrepareLocked() : error::kNotReady;
  if (status == 0) status = AppendLocked(data, feature);
  if (status == kStale && (status = PrepareLocked()) == 0) status = AppendLocked(data, feature);
  if (status == kDamaged && (status = RenewLocked()) == 0) status = AppendLocked(data, feature);
  if (status != 0) {
    ORN_LOG(logging::kError, L"HistoryStore::Add",
            L"A record of \"%s\" cannot be written and is lost. Error: %d.", feature, status);
  }
  return status;
}

void HistoryStore::Close() {
  const Lock lock(mutex_);
  if (database_ != nullptr && is_marked_) {
    const int result = SqliteStatement(database_.get(), "UPDATE run SET open = 0").Step();
    if (result != SQLITE_DONE) {
      ORN_LOG(logging::kWarning, L"HistoryStore::Close",
              L"The end of the run cannot be noted. Error: %d.", CodeLocked(result));
    }
  }
  database_.reset();
  in_run_ = false;
}

uint32_t HistoryStore::PrepareLocked() {
  uint32_t status = database_ == nullptr ? OpenLocked() : 0;
  if (status == 0 && !is_marked_) status = MarkRunLocked();
  if (status == kDamaged) return RenewLocked();
  if (status != 0) database_.reset();
  return status;
}

uint32_t HistoryStore::OpenLocked() {
  head_ = {};
  is_new_ = false;
  sqlite3* database = nullptr;
  const int opened =
      sqlite3_open_v2(orn::ToUtf8(path_).c_str(), &database,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                      /*zVfs=*/nullptr);
  database_.reset(database);
  if (opened != SQLITE_OK) return CodeLocked(opened);
  sqlite3_busy_timeout(database, kPatienceMs);
  // Readers need no right to write with a rollback journal. One that stays is cleared on the disk
  // with each commit, so that a power failure cannot bring it back.
  const int prepared =
      sqlite3_exec(database, "PRAGMA synchronous = FULL; PRAGMA journal_mode = PERSIST",
                   /*callback=*/nullptr, /*argument=*/nullptr, /*errmsg=*/nullptr);
  bool empty = false;
  const int checked = prepared == SQLITE_OK ? CheckKind(database, empty) : prepared;
  if (checked != SQLITE_OK) return CodeLocked(checked);
  return empty ? BeginLocked() : CheckEndLocked();
}

uint32_t HistoryStore::BeginLocked() {
  SqliteTransaction transaction(database_.get());
  transaction.Do(
      "CREATE TABLE records(sequence INTEGER PRIMARY KEY, previous BLOB NOT NULL,"
      " record BLOB NOT NULL, hash BLOB NOT NULL)");
  // Whether the agent runs, or ended without noting it.
  transaction.Do("CREATE TABLE run(open INTEGER NOT NULL)");
  transaction.Do("INSERT INTO run(open) VALUES(0)");
  transaction.Do(("PRAGMA application_id = " + std::to_string(kApplicationId)).c_str());
  transaction.Do(("PRAGMA user_version = " + std::to_string(kFileVersion)).c_str());
  is_new_ = true;
  return CodeLocked(transaction.Commit());
}

uint32_t HistoryStore::CheckEndLocked() {
  StoredRecord last;
  const int result = ReadLast(database_.get(), last);
  if (result != SQLITE_OK) return CodeLocked(result);
  if (last.sequence != 0 && (last.sequence < 0 || !last.IsWhole(hasher_))) return kDamaged;
  head_ = {.sequence = last.sequence, .hash = HashOf(last.hash)};
  HistoryHead anchor;
  if (!ReadAnchor(path_, anchor)) {
    if (head_.sequence != 0) {
      ORN_LOG(logging::kWarning, L"HistoryStore::Open",
              L"The registry does not know the history's last record. Path: %s", path_.c_str());
      AnchorLocked();
    }
    return 0;
  }
  if (head_ == anchor) return 0;
  // A run that was ended between the commit and the registry left one record more in the store.
  const bool is_one_ahead =
      head_.sequence == anchor.sequence + 1 && HashOf(last.previous) == anchor.hash;
  if (!is_one_ahead) return kDamaged;
  AnchorLocked();
  return 0;
}

uint32_t HistoryStore::MarkRunLocked() {
  uint64_t open = 0;
  const int result = ReadSqliteNumber(database_.get(), "SELECT open FROM run", open);
  if (result != SQLITE_OK) return CodeLocked(result);
  uint32_t status = 0;
  HistoryHead anchor;
  if (!aside_.empty()) {
    status = AppendLocked(OwnEventData(OwnEvent::kSetAside, aside_), kOwnFeature);
    if (status == 0) aside_.clear();
  } else if (is_new_ && ReadAnchor(path_, anchor)) {
    status = AppendLocked(OwnEventData(OwnEvent::kRemoved), kOwnFeature);
  } else if (open != 0) {
    status = AppendLocked(OwnEventData(OwnEvent::kUnexpectedEnd), kOwnFeature);
  }
  if (status != 0) return status;
  const int marked = SqliteStatement(database_.get(), "UPDATE run SET open = 1").Step();
  is_marked_ = marked == SQLITE_DONE;
  return CodeLocked(marked);
}

uint32_t HistoryStore::RenewLocked() {
  database_.reset();
  const std::wstring aside = NameAside(path_);
  ORN_LOG(logging::kError, L"HistoryStore::Renew", L"The history is damaged and is set aside: %s",
          aside.c_str());
  if (!SetSqliteFileAside(path_, aside)) return ERROR_SHARING_VIOLATION;
  if (HistoryHead anchor; ReadAnchor(path_, anchor)) {
    WriteAnchor(aside, anchor);
    RemoveAnchor(path_);
  }
  aside_ = aside.substr(aside.find_last_of(L"\\/") + 1);
  is_marked_ = false;
  uint32_t status = OpenLocked();
  if (status == 0) status = MarkRunLocked();
  if (status != 0) database_.reset();
  return status;
}

uint32_t HistoryStore::AppendLocked(const IHistory::Event::Data& data, const wchar_t* feature) {
  const HistoryHead before = head_;
  const std::string bytes = EncodeRecord({.sequence = before.sequence + 1,
                                          .time = std::time(nullptr),
                                          .feature = feature,
                                          .data = data});
  if (bytes.size() > kLargestRecord) return error::kSizeLimit;
  HistoryHead next{.sequence = before.sequence + 1};
  if (!hasher_.Compute(before.hash, bytes, next.hash)) return error::kInternal;
  uint32_t status = 0;
  {
    SqliteStatement insert(database_.get(),
                           "INSERT INTO records(" HISTORY_COLUMNS ") VALUES(?, ?, ?, ?)");
    insert.Bind(1, static_cast<uint64_t>(next.sequence));
    insert.BindBytes(2, BytesOf(before.hash));
    insert.BindBytes(3, bytes);
    insert.BindBytes(4, BytesOf(next.hash));
    const int result = insert.Step();
    status = result == SQLITE_CONSTRAINT ? kStale : CodeLocked(result);
  }
  if (status != 0) {
    // A commit that failed may have happened: what is in the file has to be read again.
    database_.reset();
    return status;
  }
  head_ = next;
  AnchorLocked();
  return 0;
}

void HistoryStore::AnchorLocked() const {
  const uint32_t status = WriteAnchor(path_, head_);
  if (status == 0) return;
  ORN_LOG(logging::kWarning, L"HistoryStore::Add",
          L"The history's last record cannot be noted in the registry. Error: %d.", status);
}

}  // namespace host::history
