#include "library/playlist_database.h"

#include "foundation/app_paths.h"
#include "foundation/trace.h"
#include "library/file_time.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <mutex>
#include <optional>

namespace zelvaro {
namespace {

constexpr char kInsertItemSql[] =
    "INSERT OR IGNORE INTO playlist (file_path, file_name, file_size, duration, file_date, "
    "codec_info, sort_order) VALUES (?, ?, ?, ?, ?, ?, ?);";
constexpr char kSelectItemsSql[] =
    "SELECT id, file_path, file_name, file_size, duration, file_date, codec_info, sort_order "
    "FROM playlist ORDER BY sort_order;";
constexpr char kDeleteItemsSql[] = "DELETE FROM playlist;";
constexpr char kUpdateDurationSql[] = "UPDATE playlist SET duration = ? WHERE id = ?;";
constexpr char kUpdateCodecSql[] = "UPDATE playlist SET codec_info = ? WHERE id = ?;";

constexpr char kSelectRecentSql[] =
    "SELECT file_path FROM recent_files ORDER BY accessed_at DESC LIMIT ?;";
constexpr char kAddRecentSql[] =
    "INSERT INTO recent_files (file_path, file_name, accessed_at) VALUES (?, ?, ?) "
    "ON CONFLICT(file_path) DO UPDATE SET file_name = excluded.file_name, "
    "accessed_at = excluded.accessed_at;";
constexpr char kDeleteRecentSql[] = "DELETE FROM recent_files WHERE file_path = ?;";
constexpr char kClearRecentSql[] = "DELETE FROM recent_files;";

enum class CheckResult { Sound, Damaged, Unreadable };

// Run before the schema script so that nothing is written to a damaged file.
// Only a file that SQLite itself calls damaged counts as Damaged; a lock held
// past the busy wait or a read error says nothing about the file's state.
CheckResult QuickCheck(sqlite3* db) {
  SqliteStatement check = PrepareStatement(db, "PRAGMA quick_check;");
  if (!check) {
    return IsCorruptionCode(sqlite3_errcode(db)) ? CheckResult::Damaged : CheckResult::Unreadable;
  }
  const int rc = sqlite3_step(check.get());
  if (rc != SQLITE_ROW) {
    return IsCorruptionCode(rc) ? CheckResult::Damaged : CheckResult::Unreadable;
  }
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(check.get(), 0));
  return text != nullptr && qstrcmp(text, "ok") == 0 ? CheckResult::Sound : CheckResult::Damaged;
}

// A free name beside the damaged file that says when it was set aside.
QString AsideName(const QString& path) {
  // Named as the settings file's damaged copies are: local time, the user reads it.
  const QString base = path + QStringLiteral(".damaged-") +
                       QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
  QString aside = base;
  for (int n = 2; QFileInfo::exists(aside) || QFileInfo(aside).isSymLink(); ++n) {
    aside = base + QStringLiteral("~%1").arg(n);
  }
  return aside;
}

std::mutex& DamageMutex() {
  static std::mutex mutex;
  return mutex;
}

std::optional<PlaylistDatabase::DamageReport>& PendingDamage() {
  static std::optional<PlaylistDatabase::DamageReport> report;
  return report;
}

}  // namespace

const char PlaylistDatabase::kSchemaScript[] =
    "-- Playlist\n"
    "CREATE TABLE IF NOT EXISTS playlist (\n"
    "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
    "    file_path TEXT UNIQUE NOT NULL,\n"
    "    file_name TEXT,\n"
    "    file_size INTEGER DEFAULT 0,\n"
    "    duration REAL DEFAULT 0,\n"
    "    file_date INTEGER DEFAULT 0,\n"
    "    codec_info TEXT,\n"
    "    sort_order INTEGER DEFAULT 0\n"
    ");\n"
    "CREATE INDEX IF NOT EXISTS idx_sort_order ON playlist(sort_order);\n"
    "CREATE INDEX IF NOT EXISTS idx_file_path ON playlist(file_path);\n"
    "-- Favourite groups\n"
    "CREATE TABLE IF NOT EXISTS favorite_groups (\n"
    "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
    "    name TEXT UNIQUE NOT NULL,\n"
    "    sort_order INTEGER DEFAULT 0\n"
    ");\n"
    "-- Favourite items\n"
    "CREATE TABLE IF NOT EXISTS favorite_items (\n"
    "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
    "    group_id INTEGER NOT NULL,\n"
    "    file_path TEXT NOT NULL,\n"
    "    file_name TEXT,\n"
    "    position REAL DEFAULT 0,\n"
    "    sort_order INTEGER DEFAULT 0,\n"
    "    FOREIGN KEY (group_id) REFERENCES favorite_groups(id) ON DELETE CASCADE,\n"
    "    UNIQUE(group_id, file_path)\n"
    ");\n"
    "CREATE INDEX IF NOT EXISTS idx_fav_items_group ON favorite_items(group_id);\n"
    "-- Recent files\n"
    "CREATE TABLE IF NOT EXISTS recent_files (\n"
    "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
    "    file_path TEXT UNIQUE NOT NULL,\n"
    "    file_name TEXT,\n"
    "    accessed_at INTEGER DEFAULT 0\n"
    ");\n"
    "CREATE INDEX IF NOT EXISTS idx_recent_accessed ON recent_files(accessed_at DESC);\n";

PlaylistDatabase& PlaylistDatabase::Instance() {
  static PlaylistDatabase instance;
  return instance;
}

QString PlaylistDatabase::DefaultPath() {
  const QString dir = DataDir();
  if (dir.isEmpty()) return QStringLiteral("playlist.db");
  EnsureDirectory(dir);  // result ignored: the open below tells
  return dir + QStringLiteral("/playlist.db");
}

bool PlaylistDatabase::Open() {
  if (db_) return true;
  path_ = DefaultPath();
  const QByteArray nativePath = QFile::encodeName(path_);
  // A file that is there already must prove sound before anything is written.
  const bool existing = QFileInfo(path_).size() > 0;

  SqliteConnection db = OpenConnection(nativePath);
  if (!db) return false;
  if (existing) {
    const CheckResult check = QuickCheck(db.get());
    if (check == CheckResult::Unreadable) {
      ZELVARO_TRACE_FIRST(5, "playlist store: %s could not be checked; left untouched",
                          nativePath.constData());
      return false;
    }
    if (check == CheckResult::Damaged) {
      db.reset();
      if (!SetDamagedFileAside()) return false;
      db = OpenConnection(nativePath);
      if (!db) return false;
    }
  }
  if (ExecSql(db.get(), kSchemaScript) != SQLITE_OK) {
    ZELVARO_TRACE_FIRST(5, "playlist store: schema script failed on %s", nativePath.constData());
    return false;
  }
  db_ = std::move(db);
  return true;
}

SqliteConnection PlaylistDatabase::OpenConnection(const QByteArray& nativePath) {
  sqlite3* raw = nullptr;
  const int rc = sqlite3_open_v2(nativePath.constData(), &raw,
                                 SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  SqliteConnection db(raw);
  if (rc != SQLITE_OK) {
    ZELVARO_TRACE_FIRST(5, "playlist store: cannot open %s (%d)", nativePath.constData(), rc);
    return SqliteConnection();
  }
  sqlite3_busy_timeout(db.get(), kBusyTimeoutMs);
  ExecSql(db.get(), "PRAGMA foreign_keys = ON;");  // result not looked at, on purpose
  return db;
}

bool PlaylistDatabase::SetDamagedFileAside() {
  const QString aside = AsideName(path_);
  // The journal belongs to the damaged file: left behind, SQLite would play
  // it back into the fresh one.
  for (const QString& suffix : {QStringLiteral("-journal"), QStringLiteral("-wal")}) {
    if (QFileInfo::exists(path_ + suffix)) QFile::rename(path_ + suffix, aside + suffix);
  }
  if (!QFile::rename(path_, aside)) {
    ZELVARO_TRACE_FIRST(5, "playlist store: %s failed its check and could not be set aside",
                        QFile::encodeName(path_).constData());
    return false;
  }
  Trace("playlist store: %s failed its check; kept as %s", QFile::encodeName(path_).constData(),
        QFile::encodeName(aside).constData());
  std::lock_guard guard(DamageMutex());
  PendingDamage() = DamageReport{path_, aside};
  return true;
}

std::optional<PlaylistDatabase::DamageReport> PlaylistDatabase::TakeDamageReport() {
  std::lock_guard guard(DamageMutex());
  std::optional<DamageReport> report = std::move(PendingDamage());
  PendingDamage().reset();
  return report;
}

void PlaylistDatabase::Close() {
  db_.reset();
}

void PlaylistDatabase::NoteResult(int resultCode) {
  if (IsCorruptionCode(resultCode)) db_.reset();
}

void PlaylistDatabase::BindItem(sqlite3_stmt* statement, const PlaylistItem& item) {
  BindText(statement, 1, item.file_path);
  BindText(statement, 2, item.file_name);
  sqlite3_bind_int64(statement, 3, static_cast<sqlite3_int64>(item.file_size));
  sqlite3_bind_double(statement, 4, item.duration);
  sqlite3_bind_int64(statement, 5, static_cast<sqlite3_int64>(item.file_date));
  BindText(statement, 6, item.codec_info);
  sqlite3_bind_int(statement, 7, item.sort_order);
}

int32_t PlaylistDatabase::InsertItem(const PlaylistItem& item) {
  SqliteStatement statement = PrepareStatement(db_.get(), kInsertItemSql);
  if (!statement) return -1;
  BindItem(statement.get(), item);
  const int rc = sqlite3_step(statement.get());
  const int32_t rowId = static_cast<int32_t>(sqlite3_last_insert_rowid(db_.get()));
  statement.reset();
  NoteResult(rc);
  return rc == SQLITE_DONE ? rowId : -1;
}

std::vector<PlaylistItem> PlaylistDatabase::LoadItems() {
  std::vector<PlaylistItem> items;
  SqliteStatement statement = PrepareStatement(db_.get(), kSelectItemsSql);
  if (!statement) return items;
  sqlite3_stmt* s = statement.get();
  int rc;
  while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
    PlaylistItem& item = items.emplace_back();
    item.id = sqlite3_column_int(s, 0);
    item.file_path = ColumnText(s, 1);
    item.file_name = ColumnText(s, 2);
    item.file_size = static_cast<uint64_t>(sqlite3_column_int64(s, 3));
    item.duration = sqlite3_column_double(s, 4);
    item.file_date = static_cast<uint64_t>(sqlite3_column_int64(s, 5));
    item.codec_info = ColumnText(s, 6);
    item.sort_order = sqlite3_column_int(s, 7);
  }
  if (rc != SQLITE_DONE) {
    // A read cut short would show half a list: show none, as for a failed open.
    items.clear();
    statement.reset();
    NoteResult(rc);
  }
  return items;
}

bool PlaylistDatabase::SaveItems(std::vector<PlaylistItem>& items) {
  return TrySaveItems(items, kBusyTimeoutMs) == SaveOutcome::Saved;
}

PlaylistDatabase::SaveOutcome PlaylistDatabase::TrySaveItems(std::vector<PlaylistItem>& items,
                                                             int busyWaitMs) {
  if (!db_) return SaveOutcome::Failed;
  sqlite3* db = db_.get();
  // Waits for another player's write lock (busy timeout) instead of failing
  // half-way through the list.
  if (busyWaitMs != kBusyTimeoutMs) sqlite3_busy_timeout(db, busyWaitMs);
  const int begin = ExecSql(db, "BEGIN IMMEDIATE TRANSACTION;");
  if (busyWaitMs != kBusyTimeoutMs) sqlite3_busy_timeout(db, kBusyTimeoutMs);
  if ((begin & 0xFF) == SQLITE_BUSY) return SaveOutcome::Busy;
  if (begin != SQLITE_OK) return SaveOutcome::Failed;
  bool ok = ExecSql(db, kDeleteItemsSql) == SQLITE_OK;
  {
    // One statement for all rows, reset between them: same text, same
    // bindings, a fraction of the cost of preparing 10,000 times.
    SqliteStatement insert = ok ? PrepareStatement(db, kInsertItemSql) : nullptr;
    ok = ok && insert != nullptr;
    for (size_t i = 0; ok && i < items.size(); ++i) {
      items[i].sort_order = static_cast<int32_t>(i);
      sqlite3_reset(insert.get());
      BindItem(insert.get(), items[i]);
      const int rc = sqlite3_step(insert.get());
      ok = rc == SQLITE_DONE;
      if (ok && saveRowHook_) saveRowHook_(static_cast<int>(i) + 1);
      if (!ok && IsCorruptionCode(rc)) break;
    }
  }
  if (ok) ok = ExecSql(db, "COMMIT;") == SQLITE_OK;
  if (!ok) {
    const int rc = sqlite3_errcode(db);
    ExecSql(db, "ROLLBACK;");
    NoteResult(rc);
  }
  return ok ? SaveOutcome::Saved : SaveOutcome::Failed;
}

PlaylistDatabase::SaveOutcome PlaylistDatabase::TryWrite(int busyWaitMs,
                                                         const std::function<bool()>& write) {
  if (!db_) return SaveOutcome::Failed;
  sqlite3* db = db_.get();
  sqlite3_busy_timeout(db, busyWaitMs);
  const int begin = ExecSql(db, "BEGIN IMMEDIATE TRANSACTION;");
  if (begin != SQLITE_OK) {
    sqlite3_busy_timeout(db, kBusyTimeoutMs);
    if ((begin & 0xFF) == SQLITE_BUSY) return SaveOutcome::Busy;
    NoteResult(begin);
    return SaveOutcome::Failed;
  }
  const bool ok = write();
  // A statement that found the file damaged has closed the connection,
  // which ended the transaction with it.
  if (!db_) return SaveOutcome::Failed;
  SaveOutcome outcome = SaveOutcome::Failed;
  if (ok) {
    const int commit = ExecSql(db, "COMMIT;");
    if (commit == SQLITE_OK) outcome = SaveOutcome::Saved;
    // A reader of another player kept the commit out: tried again later.
    if ((commit & 0xFF) == SQLITE_BUSY) outcome = SaveOutcome::Busy;
  }
  if (outcome != SaveOutcome::Saved) ExecSql(db, "ROLLBACK;");
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  return outcome;
}

bool PlaylistDatabase::UpdateDuration(int32_t id, double duration) {
  SqliteStatement statement = PrepareStatement(db_.get(), kUpdateDurationSql);
  if (!statement) return false;
  sqlite3_bind_double(statement.get(), 1, duration);
  sqlite3_bind_int(statement.get(), 2, id);
  const int rc = sqlite3_step(statement.get());
  statement.reset();
  NoteResult(rc);
  return rc == SQLITE_DONE;
}

bool PlaylistDatabase::UpdateCodecInfo(int32_t id, QStringView codecInfo) {
  SqliteStatement statement = PrepareStatement(db_.get(), kUpdateCodecSql);
  if (!statement) return false;
  BindText(statement.get(), 1, codecInfo);
  sqlite3_bind_int(statement.get(), 2, id);
  const int rc = sqlite3_step(statement.get());
  statement.reset();
  NoteResult(rc);
  return rc == SQLITE_DONE;
}

int32_t PlaylistDatabase::AddRecentFile(const QString& path) {
  if (!db_ || path.isEmpty()) return -1;
  SqliteStatement statement = PrepareStatement(db_.get(), kAddRecentSql);
  if (!statement) return -1;
  BindText(statement.get(), 1, path);
  BindText(statement.get(), 2, FileNameOfPath(path));
  sqlite3_bind_int64(statement.get(), 3, static_cast<sqlite3_int64>(CurrentFileTime()));
  sqlite3* db = db_.get();
  const int rc = sqlite3_step(statement.get());
  const int32_t rowId = static_cast<int32_t>(sqlite3_last_insert_rowid(db));
  statement.reset();
  NoteResult(rc);
  return rc == SQLITE_DONE ? rowId : -1;
}

std::vector<QString> PlaylistDatabase::LoadRecentFiles(int limit) {
  std::vector<QString> paths;
  SqliteStatement statement = PrepareStatement(db_.get(), kSelectRecentSql);
  if (!statement) return paths;
  sqlite3_bind_int(statement.get(), 1, limit);
  int rc;
  while ((rc = sqlite3_step(statement.get())) == SQLITE_ROW) {
    if (sqlite3_column_type(statement.get(), 0) == SQLITE_NULL) continue;
    paths.push_back(ColumnText(statement.get(), 0));
  }
  statement.reset();
  NoteResult(rc);
  return paths;
}

void PlaylistDatabase::RemoveRecentFile(const QString& path) {
  if (path.isEmpty()) return;
  SqliteStatement statement = PrepareStatement(db_.get(), kDeleteRecentSql);
  if (!statement) return;
  BindText(statement.get(), 1, path);
  const int rc = sqlite3_step(statement.get());
  statement.reset();
  NoteResult(rc);
}

void PlaylistDatabase::ClearRecentFiles() {
  if (!db_) return;
  NoteResult(ExecSql(db_.get(), kClearRecentSql));
}

}  // namespace zelvaro
