// The machine's history: verified as a whole, and its size with a first page, beside the raw limit,
// a plain scan of the table with SHA-256 over what it holds.
//
//   history_speed fill FILE COUNT           makes a store
//   history_speed verify|open ours|raw FILE both print {"seconds": s, "records": n}

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/history/history_anchor.h"
#include "host/history/history_file.h"
#include "host/history/history_reader.h"
#include "host/history/history_store.h"
#include "host/history/verify_history.h"
#include "module/frame/utf.h"

namespace {

using namespace host;
using namespace host::history;
using Clock = std::chrono::steady_clock;

constexpr size_t kPage = 100;

// As the store would in 100,000 commits, in one.
bool Fill(const std::wstring& path, int64_t count) {
  HistoryStore store(path);
  if (store.Open() != 0) return false;
  store.Close();
  sqlite3* opened = nullptr;
  if (sqlite3_open(orn::ToUtf8(path).c_str(), &opened) != SQLITE_OK) return false;
  const UniqueSqlite database(opened);
  SqliteTransaction transaction(opened);
  RecordHash hasher;
  HistoryHead head;
  HistoryRecord record{.time = 1'700'000'000, .feature = L"RemoteAccess", .data = {}};
  for (const int key : {0, 1})
    record.data.values.Add(key, L"0");
  for (const int key : {2, 3})
    record.data.values.Add(key, L"1700000000");
  while (head.sequence < count) {
    const Hash before = head.hash;
    record.sequence = ++head.sequence;
    const std::string bytes = EncodeRecord(record);
    if (!hasher.Compute(before, bytes, head.hash)) return false;
    SqliteStatement insert(opened, "INSERT INTO records(" HISTORY_COLUMNS ") VALUES(?, ?, ?, ?)");
    insert.Bind(1, static_cast<uint64_t>(head.sequence));
    insert.BindBytes(2, BytesOf(before));
    insert.BindBytes(3, bytes);
    insert.BindBytes(4, BytesOf(head.hash));
    transaction.Do(insert);
  }
  return transaction.Commit() == SQLITE_OK && WriteAnchor(path, head) == 0;
}

int64_t VerifyOurs(const std::wstring& path) {
  const Verification found = VerifyHistory(path);
  return found.finding == Verification::Finding::kIntact && found.anchored ? found.records : -1;
}

int64_t OpenOurs(const std::wstring& path) {
  const HistoryReader reader(path);
  std::vector<HistoryRecord> records;
  int64_t count = 0;
  const bool read = reader.Count(count) == 0 && reader.ReadNewest(0, kPage, records, count) == 0;
  return read && records.size() == kPage ? count : -1;
}

int64_t ReadRaw(const std::wstring& path, bool with_hashes, const char* rows) {
  sqlite3* opened = nullptr;
  sqlite3_open_v2(orn::ToUtf8(path).c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
  const UniqueSqlite database(opened);
  SqliteStatement select(opened, rows);
  RecordHash hasher;
  Hash hash{};
  int64_t count = 0;
  for (; select.Step() == SQLITE_ROW; ++count) {
    if (with_hashes) hasher.Compute(hash, select.Bytes(2), hash);
  }
  return count;
}

int64_t VerifyRaw(const std::wstring& path) {
  return ReadRaw(path, /*with_hashes=*/true, "SELECT " HISTORY_COLUMNS " FROM records");
}

int64_t OpenRaw(const std::wstring& path) {
  return ReadRaw(path, /*with_hashes=*/false,
                 "SELECT " HISTORY_COLUMNS " FROM records ORDER BY sequence DESC LIMIT 100");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const std::string verb = argv[1];
  if (verb == "fill") {
    const bool filled = Fill(orn::ToWide(argv[2]).c_str(), std::atoll(argv[3]));
    std::puts("{}");
    return filled ? 0 : 1;
  }
  const bool ours = std::string(argv[2]) == "ours";
  const std::wstring path = orn::ToWide(argv[3]).c_str();
  const auto start = Clock::now();
  const int64_t records = verb == "verify" ? (ours ? VerifyOurs(path) : VerifyRaw(path))
                                           : (ours ? OpenOurs(path) : OpenRaw(path));
  const std::chrono::duration<double> time = Clock::now() - start;
  std::printf("{\"seconds\": %.6f, \"records\": %lld}\n", time.count(), records);
  return records < 0 ? 1 : 0;
}
