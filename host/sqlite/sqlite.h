#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

// The little of SQLite that is used here, with its results as they are. Not synchronised.

namespace host {

// An own result beside SQLite's: a database, but not one of the kind that was wanted.
inline constexpr int kSqliteForeign = -1;

// Whether a result tells that the file will never do. SQLITE_ERROR is the answer to a statement
// that does not fit the tables.
inline bool IsSqliteDamage(int result) {
  return result == kSqliteForeign || result == SQLITE_CORRUPT || result == SQLITE_NOTADB ||
         result == SQLITE_ERROR;
}

// What a result means in Windows' codes: 170 locked, 112 disk full, 5 denied, 21 the file must be
// repaired by somebody who may write, 1392 damaged, others of the file system. Of the last failure
// of `database`, which may be null.
uint32_t WindowsCodeOf(sqlite3* database, int result);

// Gives the file of a database, and what belongs to it, the name `to`. False, and a log line, where
// that is not possible. The database is closed.
bool SetSqliteFileAside(const std::wstring& path, const std::wstring& to);
// To its name with ".damaged" behind it.
inline bool SetSqliteFileAside(const std::wstring& path) {
  return SetSqliteFileAside(path, path + L".damaged");
}

// From here on, files that this process opens as databases can be given another name meanwhile, as
// far as this process is concerned.
void LetSqliteFilesMove();

// The number in the only row of what `sql` gives. SQLITE_OK, or what went wrong; no row is foreign.
int ReadSqliteNumber(sqlite3* database, const char* sql, uint64_t& number);

struct SqliteClose {
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
using UniqueSqlite = std::unique_ptr<sqlite3, SqliteClose>;

//   SqliteStatement insert(database, "INSERT INTO events(name, payload) VALUES(?, ?)");
//   insert.Bind(1, name);
//   insert.Bind(2, payload);
//   if (insert.Step() != SQLITE_DONE) ...
class SqliteStatement {
 public:
  // A text that cannot be prepared makes each Step fail with the reason.
  SqliteStatement(sqlite3* database, const char* sql)
      : result_(sqlite3_prepare_v2(database, sql, /*nByte=*/-1, &statement_, /*pzTail=*/nullptr)) {}
  ~SqliteStatement() { sqlite3_finalize(statement_); }
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  // Places count from 1. The text must live until the statement is gone.
  void Bind(int place, uint64_t number) {
    sqlite3_bind_int64(statement_, place, static_cast<sqlite3_int64>(number));
  }
  void Bind(int place, std::string_view text) {
    sqlite3_bind_text64(statement_, place, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  }

  void BindBytes(int place, std::string_view bytes) {
    sqlite3_bind_blob64(statement_, place, bytes.data(), bytes.size(), SQLITE_STATIC);
  }

  // SQLITE_ROW, SQLITE_DONE or what went wrong.
  int Step() {
    if (result_ == SQLITE_OK || result_ == SQLITE_ROW) result_ = sqlite3_step(statement_);
    return result_;
  }

  // Of the row that Step came to; columns count from 0.
  uint64_t Number(int column) const {
    return static_cast<uint64_t>(sqlite3_column_int64(statement_, column));
  }
  std::string Text(int column) const { return std::string(Bytes(column)); }
  // Valid until the next Step.
  std::string_view Bytes(int column) const {
    const void* const bytes = sqlite3_column_blob(statement_, column);
    return {static_cast<const char*>(bytes),
            static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
  }

 private:
  sqlite3_stmt* statement_ = nullptr;
  int result_;
};

// Everything between construction and Commit happens, or nothing does.
class SqliteTransaction {
 public:
  explicit SqliteTransaction(sqlite3* database) : database_(database), result_(Run("BEGIN")) {}
  ~SqliteTransaction() {
    // A failure may have rolled back already.
    if (sqlite3_get_autocommit(database_) == 0) Run("ROLLBACK");
  }
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;

  // Runs a statement unless an earlier one has failed.
  void Do(SqliteStatement& statement) {
    if (result_ == SQLITE_OK) Take(statement.Step());
  }
  void Do(const char* sql) {
    if (result_ == SQLITE_OK) Take(Run(sql));
  }
  // SQLITE_OK, or the first failure.
  int Commit() {
    Do("COMMIT");
    return result_;
  }

 private:
  void Take(int result) {
    if (result != SQLITE_DONE && result != SQLITE_ROW) result_ = result;
  }
  int Run(const char* sql) {
    return sqlite3_exec(database_, sql, /*callback=*/nullptr, /*argument=*/nullptr,
                        /*errmsg=*/nullptr);
  }

  sqlite3* const database_;
  int result_;
};

}  // namespace host
