#include "tests/library/library_test_support.h"

#include "library/sqlite_handle.h"

#include <QFile>

#include <unistd.h>

namespace zelvaro::test {

QString LibraryTest::MakeFile(const QString& name, int bytes) const {
  return home_.WriteFile(QStringLiteral("media/") + name, QByteArray(bytes, 'x'));
}

std::vector<QString> LibraryTest::MakeFiles(const QStringList& names) const {
  std::vector<QString> paths;
  for (const QString& name : names) paths.push_back(MakeFile(name));
  return paths;
}

std::vector<QString> LibraryTest::MakeLinkedFiles(const QStringList& names) const {
  std::vector<QString> paths;
  if (names.isEmpty()) return paths;
  paths.push_back(MakeFile(names.front()));
  const QByteArray target = QFile::encodeName(paths.front());
  for (qsizetype i = 1; i < names.size(); ++i) {
    const QString path = MediaDir() + u'/' + names[i];
    if (::link(target.constData(), QFile::encodeName(path).constData()) != 0)
      ADD_FAILURE() << "cannot link " << path.toStdString();
    paths.push_back(path);
  }
  return paths;
}

int LibraryTest::Rows(const std::string& table) const {
  return std::stoi(QueryColumn(DbPath(), "SELECT COUNT(*) FROM " + table + ";").at(0));
}

std::vector<std::string> QueryColumn(const QString& dbPath, const std::string& sql) {
  std::vector<std::string> rows;
  sqlite3* raw = nullptr;
  sqlite3_open_v2(QFile::encodeName(dbPath).constData(), &raw, SQLITE_OPEN_READONLY, nullptr);
  SqliteConnection db(raw);
  sqlite3_busy_timeout(db.get(), 5000);
  SqliteStatement statement = PrepareStatement(db.get(), sql.c_str());
  if (!statement) {
    ADD_FAILURE() << "cannot prepare: " << sql << ": " << sqlite3_errmsg(db.get());
    return rows;
  }
  while (sqlite3_step(statement.get()) == SQLITE_ROW) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0));
    rows.emplace_back(text == nullptr ? "<null>" : text);
  }
  return rows;
}

bool ExecRaw(const QString& dbPath, const std::string& sql) {
  sqlite3* raw = nullptr;
  sqlite3_open_v2(QFile::encodeName(dbPath).constData(), &raw, SQLITE_OPEN_READWRITE, nullptr);
  SqliteConnection db(raw);
  sqlite3_busy_timeout(db.get(), 5000);
  return ExecSql(db.get(), sql.c_str()) == SQLITE_OK;
}

QStringList PathsOf(const std::vector<PlaylistItem>& items) {
  QStringList paths;
  for (const PlaylistItem& item : items) paths << item.file_path;
  return paths;
}

}  // namespace zelvaro::test
