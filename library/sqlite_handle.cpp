#include "library/sqlite_handle.h"

namespace zelvaro {

SqliteStatement PrepareStatement(sqlite3* db, const char* sql) {
  if (db == nullptr) return nullptr;
  sqlite3_stmt* raw = nullptr;
  if (sqlite3_prepare_v2(db, sql, -1, &raw, nullptr) != SQLITE_OK) {
    sqlite3_finalize(raw);
    return nullptr;
  }
  return SqliteStatement(raw);
}

int ExecSql(sqlite3* db, const char* sql) {
  if (db == nullptr) return SQLITE_MISUSE;
  char* message = nullptr;
  const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
  sqlite3_free(message);
  return rc;
}

void BindText(sqlite3_stmt* statement, int index, QStringView text) {
  const QByteArray utf8 = text.toUtf8();
  sqlite3_bind_text(statement, index, utf8.constData(), static_cast<int>(utf8.size()),
                    SQLITE_TRANSIENT);
}

QString ColumnText(sqlite3_stmt* statement, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  if (text == nullptr) return {};
  return QString::fromUtf8(text, sqlite3_column_bytes(statement, column));
}

}  // namespace zelvaro
