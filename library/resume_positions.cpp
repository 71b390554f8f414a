#include "library/resume_positions.h"

#include "library/sqlite_handle.h"

#include <cmath>

namespace zelvaro {
namespace {

// `stamp` orders the rows by their last write; a counter rather than a
// clock, so two writes in one second keep their order.
constexpr char kCreateSql[] =
    "CREATE TABLE IF NOT EXISTS resume_positions ("
    "file_path TEXT PRIMARY KEY NOT NULL, "
    "position REAL NOT NULL, "
    "stamp INTEGER NOT NULL);";

constexpr char kSelectSql[] = "SELECT position FROM resume_positions WHERE file_path = ?1;";

constexpr char kUpsertSql[] =
    "INSERT OR REPLACE INTO resume_positions (file_path, position, stamp) "
    "VALUES (?1, ?2, (SELECT COALESCE(MAX(stamp), 0) + 1 FROM resume_positions));";

constexpr char kPruneSql[] =
    "DELETE FROM resume_positions WHERE stamp <= "
    "(SELECT stamp FROM resume_positions ORDER BY stamp DESC LIMIT 1 OFFSET ?1);";

constexpr char kDeleteSql[] = "DELETE FROM resume_positions WHERE file_path = ?1;";

bool EnsureTable(PlaylistDatabase& database) {
  return database.IsOpen() && ExecSql(database.Handle(), kCreateSql) == SQLITE_OK;
}

bool StepDone(const SqliteStatement& statement) {
  return statement && sqlite3_step(statement.get()) == SQLITE_DONE;
}

}  // namespace

std::optional<double> ResumePositions::KeptPosition(double positionSeconds,
                                                    double durationSeconds) {
  if (!std::isfinite(positionSeconds) || !std::isfinite(durationSeconds)) return std::nullopt;
  if (durationSeconds <= 0 || positionSeconds < kMinSeconds) return std::nullopt;
  if (positionSeconds >= durationSeconds * (1.0 - kEndShare)) return std::nullopt;
  return positionSeconds;
}

std::optional<double> ResumePositions::Lookup(const QString& path, double durationSeconds) {
  if (path.isEmpty() || !database_.Open()) return std::nullopt;
  SqliteStatement statement = PrepareStatement(database_.Handle(), kSelectSql);
  if (!statement) return std::nullopt;
  BindText(statement.get(), 1, path);
  if (sqlite3_step(statement.get()) != SQLITE_ROW) return std::nullopt;
  const int type = sqlite3_column_type(statement.get(), 0);
  if (type != SQLITE_FLOAT && type != SQLITE_INTEGER) return std::nullopt;
  // A row written for another length of the file (replaced since) is only
  // trusted while it still lies where a kept position may.
  return KeptPosition(sqlite3_column_double(statement.get(), 0), durationSeconds);
}

void ResumePositions::Record(const QString& path, double positionSeconds, double durationSeconds) {
  if (path.isEmpty()) return;
  const std::optional<double> kept = KeptPosition(positionSeconds, durationSeconds);
  if (kept) {
    writes_.Submit(
        [path, seconds = *kept](PlaylistDatabase& db) { return WritePosition(db, path, seconds); });
  } else {
    writes_.Submit([path](PlaylistDatabase& db) { return ErasePosition(db, path); });
  }
}

bool ResumePositions::WritePosition(PlaylistDatabase& database, const QString& path,
                                    double seconds) {
  if (!EnsureTable(database)) return false;
  SqliteStatement upsert = PrepareStatement(database.Handle(), kUpsertSql);
  if (!upsert) return false;
  BindText(upsert.get(), 1, path);
  sqlite3_bind_double(upsert.get(), 2, seconds);
  if (!StepDone(upsert)) return false;
  SqliteStatement prune = PrepareStatement(database.Handle(), kPruneSql);
  if (!prune) return false;
  sqlite3_bind_int(prune.get(), 1, kMaxEntries);
  return StepDone(prune);
}

bool ResumePositions::ErasePosition(PlaylistDatabase& database, const QString& path) {
  if (!EnsureTable(database)) return false;
  SqliteStatement erase = PrepareStatement(database.Handle(), kDeleteSql);
  if (!erase) return false;
  BindText(erase.get(), 1, path);
  return StepDone(erase);
}

}  // namespace zelvaro
