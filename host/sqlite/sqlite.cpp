#include "host/sqlite/sqlite.h"

#include "module/frame/log.h"
#include "module/frame/windows.h"

namespace host {

namespace {

HANDLE WINAPI CreateMovable(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                            DWORD disposition, DWORD flags, HANDLE pattern) {
  return CreateFileW(name, access, share | FILE_SHARE_DELETE, security, disposition, flags,
                     pattern);
}

}  // namespace

uint32_t WindowsCodeOf(sqlite3* database, int result) {
  const auto system_code = [database](uint32_t otherwise) {
    const int code = database == nullptr ? 0 : sqlite3_system_errno(database);
    return code == 0 ? otherwise : static_cast<uint32_t>(code);
  };
  if (IsSqliteDamage(result)) return ERROR_FILE_CORRUPT;
  switch (result & 0xff) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return 0;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return ERROR_BUSY;
    case SQLITE_FULL:
      return ERROR_DISK_FULL;
    case SQLITE_NOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case SQLITE_READONLY: {
      const int extended = database == nullptr ? result : sqlite3_extended_errcode(database);
      return extended == SQLITE_READONLY_ROLLBACK ? ERROR_NOT_READY : ERROR_ACCESS_DENIED;
    }
    case SQLITE_PERM:
      return ERROR_ACCESS_DENIED;
    case SQLITE_CANTOPEN:
      return system_code(ERROR_OPEN_FAILED);
    case SQLITE_IOERR:
      return system_code(ERROR_IO_DEVICE);
    default:
      return ERROR_INTERNAL_ERROR;
  }
}

bool SetSqliteFileAside(const std::wstring& path, const std::wstring& aside) {
  // What belongs to the file goes with it: a new one must not find the old one's journal.
  for (const wchar_t* const suffix : {L"-wal", L"-journal", L""}) {
    const std::wstring from = path + suffix;
    const std::wstring to = aside + suffix;
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING)) continue;
    const DWORD failure = GetLastError();
    if (failure == ERROR_FILE_NOT_FOUND) continue;
    ORN_LOG(logging::kError, L"SetSqliteFileAside", L"%s cannot be moved. Error: %d.", from.c_str(),
            failure);
    return false;
  }
  return true;
}

void LetSqliteFilesMove() {
  sqlite3_vfs* const system = sqlite3_vfs_find(/*zVfsName=*/nullptr);
  system->xSetSystemCall(system, "CreateFileW",
                         reinterpret_cast<sqlite3_syscall_ptr>(CreateMovable));
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
