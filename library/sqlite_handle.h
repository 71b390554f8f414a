#pragma once
// RAII for the two SQLite handles and the few conversions every statement of
// the store needs. Text crosses the SQL boundary as UTF-8, bound with length
// -1 semantics (explicit length here) and SQLITE_TRANSIENT; a NULL text column
// reads as the empty string.

#include "foundation/c_handle.h"

#include <QString>
#include <QStringView>

#include <sqlite3.h>

namespace zelvaro {

// close_v2: a connection closed while a statement lives ends with the statement.
using SqliteConnection = CHandle<sqlite3, sqlite3_close_v2>;
using SqliteStatement = CHandle<sqlite3_stmt, sqlite3_finalize>;

// Null when preparing fails.
SqliteStatement PrepareStatement(sqlite3* db, const char* sql);

// sqlite3_exec without a result callback; the error text is freed here.
int ExecSql(sqlite3* db, const char* sql);

void BindText(sqlite3_stmt* statement, int index, QStringView text);
QString ColumnText(sqlite3_stmt* statement, int column);

// True for the primary result codes that mean the file itself is damaged.
inline bool IsCorruptionCode(int resultCode) {
  const int primary = resultCode & 0xFF;
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

}  // namespace zelvaro
