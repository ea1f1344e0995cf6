#include "host/sqlite/sqlite.h"

#include "module/frame/log.h"
#include "module/frame/windows.h"

namespace host {

bool SetSqliteFileAside(const std::wstring& path) {
  // What belongs to the file goes with it: a new one must not find the old one's journal.
  for (const wchar_t* const suffix : {L"-wal", L"-journal", L""}) {
    const std::wstring from = path + suffix;
    const std::wstring to = path + L".damaged" + suffix;
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING)) continue;
    const DWORD failure = GetLastError();
    if (failure == ERROR_FILE_NOT_FOUND) continue;
    ORN_LOG(logging::kError, L"SetSqliteFileAside", L"%s cannot be moved. Error: %d.", from.c_str(),
            failure);
    return false;
  }
  return true;
}

int ReadSqliteNumber(sqlite3* database, const char* sql, uint64_t& number) {
  SqliteStatement statement(database, sql);
  const int result = statement.Step();
  if (result == SQLITE_DONE) return kSqliteForeign;
  if (result != SQLITE_ROW) return result;
  number = statement.Number(0);
  return SQLITE_OK;
}

}  // namespace host
