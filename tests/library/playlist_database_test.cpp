#include "library/playlist_database.h"

#include "library/favorites_database.h"
#include "library/playlist_model.h"
#include "tests/library/library_test_support.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <thread>

namespace zelvaro::test {
namespace {

using namespace Qt::StringLiterals;

PlaylistItem Item(const QString& path, uint64_t size = 0) {
  PlaylistItem item;
  item.file_path = path;
  item.file_name = path.mid(path.lastIndexOf(u'/') + 1);
  item.file_size = size;
  return item;
}

std::vector<PlaylistItem> NumberedItems(const QString& prefix, int count) {
  std::vector<PlaylistItem> items;
  for (int i = 0; i < count; ++i) items.push_back(Item(u"%1/%2.mkv"_s.arg(prefix).arg(i), i));
  return items;
}

class PlaylistDatabaseTest : public LibraryTest {};

TEST_F(PlaylistDatabaseTest, OpenCreatesTheFileInTheDataFolder) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  EXPECT_EQ(db.Path(), DbPath());
  EXPECT_TRUE(QFileInfo::exists(DbPath()));
  EXPECT_TRUE(db.Open());  // a second call is a no-op
  const auto names = QueryColumn(DbPath(), "SELECT name FROM sqlite_master ORDER BY name;");
  EXPECT_EQ(names, (std::vector<std::string>{
                       "favorite_groups", "favorite_items", "idx_fav_items_group", "idx_file_path",
                       "idx_recent_accessed", "idx_sort_order", "playlist", "recent_files",
                       "sqlite_autoindex_favorite_groups_1", "sqlite_autoindex_favorite_items_1",
                       "sqlite_autoindex_playlist_1", "sqlite_autoindex_recent_files_1",
                       "sqlite_sequence"}));
}

TEST_F(PlaylistDatabaseTest, SchemaHasItsDeclarations) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  const auto sql = QueryColumn(DbPath(), "SELECT sql FROM sqlite_master WHERE name='playlist';");
  ASSERT_EQ(sql.size(), 1u);
  for (const char* declaration :
       {"id INTEGER PRIMARY KEY AUTOINCREMENT", "file_path TEXT UNIQUE NOT NULL", "file_name TEXT",
        "file_size INTEGER DEFAULT 0", "duration REAL DEFAULT 0", "file_date INTEGER DEFAULT 0",
        "codec_info TEXT", "sort_order INTEGER DEFAULT 0"}) {
    EXPECT_NE(sql[0].find(declaration), std::string::npos) << declaration;
  }
  const auto items =
      QueryColumn(DbPath(), "SELECT sql FROM sqlite_master WHERE name='favorite_items';");
  ASSERT_EQ(items.size(), 1u);
  EXPECT_NE(
      items[0].find("FOREIGN KEY (group_id) REFERENCES favorite_groups(id) ON DELETE CASCADE"),
      std::string::npos);
  EXPECT_NE(items[0].find("UNIQUE(group_id, file_path)"), std::string::npos);
  // Foreign keys are on for the store's connection; journal mode stays the default.
  SqliteStatement pragma = PrepareStatement(db.Handle(), "PRAGMA foreign_keys;");
  ASSERT_EQ(sqlite3_step(pragma.get()), SQLITE_ROW);
  EXPECT_EQ(sqlite3_column_int(pragma.get(), 0), 1);
  EXPECT_EQ(QueryColumn(DbPath(), "PRAGMA journal_mode;"), std::vector<std::string>{"delete"});
}

TEST_F(PlaylistDatabaseTest, ReopeningAnExistingFileChangesNothing) {
  {
    PlaylistDatabase db;
    ASSERT_TRUE(db.Open());
    auto items = NumberedItems(u"/m"_s, 20);
    ASSERT_TRUE(db.SaveItems(items));
  }
  const QByteArray before = ReadFileBytes(DbPath());
  PlaylistDatabase again;
  ASSERT_TRUE(again.Open());
  EXPECT_EQ(again.LoadItems().size(), 20u);
  again.Close();
  EXPECT_EQ(ReadFileBytes(DbPath()), before);
}

TEST_F(PlaylistDatabaseTest, SaveAndLoadRoundTripAcrossARestart) {
  std::vector<PlaylistItem> items;
  PlaylistItem first = Item(u"/media/Ünïcødé 한국어 ファイル.mkv"_s, (uint64_t{5} << 32) + 7);
  first.duration = 1234.5;
  first.file_date = 133500000000000000ULL;  // 2024
  first.codec_info = u"H.264/AAC"_s;
  items.push_back(first);
  items.push_back(Item(u"https://example.org/stream.m3u8"_s));
  items.push_back(Item(u"/media/b.mp4"_s, 42));
  {
    PlaylistDatabase db;
    ASSERT_TRUE(db.Open());
    ASSERT_TRUE(db.SaveItems(items));
    EXPECT_EQ(items[2].sort_order, 2);  // rewritten with the index
  }
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  const std::vector<PlaylistItem> loaded = db.LoadItems();
  ASSERT_EQ(loaded.size(), 3u);
  for (size_t i = 0; i < loaded.size(); ++i) {
    EXPECT_GT(loaded[i].id, 0);
    EXPECT_EQ(loaded[i].file_path, items[i].file_path);
    EXPECT_EQ(loaded[i].file_name, items[i].file_name);
    EXPECT_EQ(loaded[i].file_size, items[i].file_size);
    EXPECT_EQ(loaded[i].duration, items[i].duration);
    EXPECT_EQ(loaded[i].file_date, items[i].file_date);
    EXPECT_EQ(loaded[i].codec_info, items[i].codec_info);
    EXPECT_EQ(loaded[i].sort_order, static_cast<int>(i));
  }
  // The time base: FILETIME ticks in one 64-bit integer.
  EXPECT_EQ(QueryColumn(DbPath(), "SELECT file_date FROM playlist WHERE sort_order = 0;"),
            std::vector<std::string>{"133500000000000000"});
}

TEST_F(PlaylistDatabaseTest, EachSaveGivesNewRowIds) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  auto items = NumberedItems(u"/m"_s, 3);
  ASSERT_TRUE(db.SaveItems(items));
  const int firstId = db.LoadItems()[0].id;
  ASSERT_TRUE(db.SaveItems(items));
  EXPECT_GT(db.LoadItems()[0].id, firstId);  // AUTOINCREMENT never reuses
}

TEST_F(PlaylistDatabaseTest, DuplicatePathIsDroppedLeavingAGap) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  std::vector<PlaylistItem> items = {Item(u"/m/a.mkv"_s), Item(u"/m/a.mkv"_s), Item(u"/m/b.mkv"_s)};
  ASSERT_TRUE(db.SaveItems(items));
  const auto loaded = db.LoadItems();
  ASSERT_EQ(loaded.size(), 2u);
  EXPECT_EQ(loaded[0].sort_order, 0);
  EXPECT_EQ(loaded[1].sort_order, 2);
}

TEST_F(PlaylistDatabaseTest, InsertOfAnIgnoredRowReturnsThePreviousRowId) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  const int32_t a = db.InsertItem(Item(u"/m/a.mkv"_s));
  const int32_t b = db.InsertItem(Item(u"/m/b.mkv"_s));
  EXPECT_GT(a, 0);
  EXPECT_EQ(b, a + 1);
  EXPECT_EQ(db.InsertItem(Item(u"/m/a.mkv"_s)), b);  // dropped, still SQLITE_DONE
  EXPECT_EQ(db.LoadItems().size(), 2u);
}

TEST_F(PlaylistDatabaseTest, PathsDifferingInCaseAreTwoRows) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  std::vector<PlaylistItem> items = {Item(u"/m/Movie.mkv"_s), Item(u"/m/movie.mkv"_s)};
  ASSERT_TRUE(db.SaveItems(items));
  EXPECT_EQ(db.LoadItems().size(), 2u);
}

TEST_F(PlaylistDatabaseTest, NullTextColumnsLoadAsEmpty) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  ASSERT_TRUE(ExecRaw(DbPath(),
                      "INSERT INTO playlist (file_path, file_name, codec_info) VALUES ('/x', NULL, "
                      "NULL);"));
  const auto loaded = db.LoadItems();
  ASSERT_EQ(loaded.size(), 1u);
  EXPECT_TRUE(loaded[0].file_name.isEmpty());
  EXPECT_TRUE(loaded[0].codec_info.isEmpty());
  EXPECT_EQ(loaded[0].file_size, 0u);
}

TEST_F(PlaylistDatabaseTest, UpdatesReachTheRowOnlyUntilTheNextSave) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  auto items = NumberedItems(u"/m"_s, 2);
  ASSERT_TRUE(db.SaveItems(items));
  const auto loaded = db.LoadItems();
  EXPECT_TRUE(db.UpdateDuration(loaded[1].id, 99.5));
  EXPECT_TRUE(db.UpdateCodecInfo(loaded[1].id, u"HEVC"));
  EXPECT_EQ(QueryColumn(DbPath(), "SELECT codec_info FROM playlist WHERE sort_order = 1;"),
            std::vector<std::string>{"HEVC"});
  ASSERT_TRUE(db.SaveItems(items));                   // ids are stale now
  EXPECT_TRUE(db.UpdateDuration(loaded[1].id, 1.0));  // matches no row, silently
  EXPECT_EQ(QueryColumn(DbPath(), "SELECT duration FROM playlist WHERE sort_order = 1;"),
            std::vector<std::string>{"0.0"});
}

TEST_F(PlaylistDatabaseTest, AFailedSaveLeavesTheOldListWhole) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  auto old = NumberedItems(u"/old"_s, 50);
  ASSERT_TRUE(db.SaveItems(old));
  // A row half-way through the new list fails, as a full disk would.
  ASSERT_TRUE(ExecRaw(DbPath(),
                      "CREATE TRIGGER fail_row BEFORE INSERT ON playlist WHEN NEW.file_path = "
                      "'/new/25.mkv' BEGIN SELECT RAISE(ABORT, 'no room'); END;"));
  auto fresh = NumberedItems(u"/new"_s, 50);
  EXPECT_FALSE(db.SaveItems(fresh));
  EXPECT_EQ(PathsOf(db.LoadItems()), PathsOf(old));
  // The connection is usable afterwards (no transaction left open).
  ASSERT_TRUE(ExecRaw(DbPath(), "DROP TRIGGER fail_row;"));
  EXPECT_TRUE(db.SaveItems(fresh));
  EXPECT_EQ(PathsOf(db.LoadItems()), PathsOf(fresh));
}

TEST_F(PlaylistDatabaseTest, ASaveWaitsForAnotherWritersLock) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  // Another connection (as another running player would) holds the write
  // lock for a while; the save waits instead of dropping the list.
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open(QFile::encodeName(DbPath()).constData(), &raw), SQLITE_OK);
  SqliteConnection other(raw);
  ASSERT_EQ(ExecSql(other.get(), "BEGIN EXCLUSIVE;"), SQLITE_OK);
  ASSERT_EQ(ExecSql(other.get(), "INSERT INTO recent_files (file_path) VALUES ('/other');"),
            SQLITE_OK);
  std::thread releaser([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    ExecSql(other.get(), "COMMIT;");
  });
  auto items = NumberedItems(u"/m"_s, 10);
  QElapsedTimer timer;
  timer.start();
  const bool saved = db.SaveItems(items);
  const qint64 waitedMs = timer.elapsed();
  releaser.join();
  EXPECT_TRUE(saved);
  EXPECT_GE(waitedMs, 200);
  EXPECT_EQ(db.LoadItems().size(), 10u);
  EXPECT_GT(db.AddRecentFile(u"/mine"_s), 0);
}

// -- A store that cannot be opened or read: no persistence, file untouched --

void ExpectInertStore(PlaylistDatabase& db) {
  EXPECT_FALSE(db.Open());
  EXPECT_FALSE(db.IsOpen());
  EXPECT_TRUE(db.LoadItems().empty());
  auto items = NumberedItems(u"/m"_s, 3);
  EXPECT_FALSE(db.SaveItems(items));
  EXPECT_EQ(db.InsertItem(items[0]), -1);
  EXPECT_EQ(db.AddRecentFile(u"/m/a.mkv"_s), -1);
  EXPECT_TRUE(db.LoadRecentFiles().empty());
  db.RemoveRecentFile(u"/m/a.mkv"_s);
  db.ClearRecentFiles();
  EXPECT_FALSE(db.UpdateDuration(1, 2.0));
}

// Everything the player does at start and in use, against a damaged file.
void ExercisePlayer(PlaylistDatabase& db, const QString& mediaFile) {
  ExpectInertStore(db);
  PlaylistModel model(db);
  model.RestoreFromDatabase();
  EXPECT_TRUE(model.Items().empty());
  model.ReplaceWithSeries(mediaFile);  // the list still works, in memory
  EXPECT_EQ(model.Items().size(), 1u);
  model.StopWorker();
  model.Clear();
  FavoritesDatabase favorites(db);
  EXPECT_TRUE(favorites.Groups().empty());
  EXPECT_FALSE(favorites.AddGroup(u"Mine"_s));
}

// The bytes of a damaged store, one kind per name.
QByteArray DamagedStore(const QString& kind, const QString& dbPath) {
  if (kind == u"random bytes"_s) {
    QByteArray garbage(64 * 1024, '\0');
    QRandomGenerator generator(1234);
    for (char& byte : garbage) byte = static_cast<char>(generator.generate() & 0xFF);
    return garbage;
  }
  {
    PlaylistDatabase db;
    EXPECT_TRUE(db.Open());
    auto items = NumberedItems(u"/a/fairly/long/folder/name/to/fill/pages"_s, 3000);
    EXPECT_TRUE(db.SaveItems(items));
  }
  QByteArray bytes = ReadFileBytes(dbPath);
  EXPECT_GT(bytes.size(), 100 * 1024);
  if (kind == u"truncated"_s) return bytes.left(bytes.size() / 2);
  // A scribbled page in the middle, the header and schema page left whole.
  for (qsizetype i = bytes.size() / 2; i < bytes.size() / 2 + 3000; ++i) bytes[i] = '\x5A';
  return bytes;
}

TEST_F(PlaylistDatabaseTest, ADamagedFileIsKeptAsideAndAFreshOneTakesItsPlace) {
  for (const QString& kind : {u"random bytes"_s, u"truncated"_s, u"corrupt page"_s}) {
    SCOPED_TRACE(kind.toStdString());
    QDir(home_.DataHome() + u"/zelvaro"_s).removeRecursively();
    const QByteArray damaged = DamagedStore(kind, DbPath());
    home_.WriteFile(u"data/zelvaro/playlist.db"_s, damaged);
    {
      PlaylistDatabase db;
      ASSERT_TRUE(db.Open());
      EXPECT_TRUE(db.LoadItems().empty());
      auto items = NumberedItems(u"/m"_s, 2);
      EXPECT_TRUE(db.SaveItems(items));
    }
    const auto report = PlaylistDatabase::TakeDamageReport();
    ASSERT_TRUE(report.has_value());
    EXPECT_FALSE(PlaylistDatabase::TakeDamageReport().has_value());  // told once
    EXPECT_EQ(report->damagedPath, DbPath());
    EXPECT_TRUE(report->keptPath.startsWith(DbPath() + u".damaged-"_s))
        << report->keptPath.toStdString();
    EXPECT_EQ(ReadFileBytes(report->keptPath), damaged);
    // The fresh file passes at the next start, which finds nothing to report.
    PlaylistDatabase next;
    ASSERT_TRUE(next.Open());
    EXPECT_EQ(next.LoadItems().size(), 2u);
    EXPECT_FALSE(PlaylistDatabase::TakeDamageReport().has_value());
  }
}

TEST_F(PlaylistDatabaseTest, AFileLockedPastTheBusyWaitIsNotTakenForDamaged) {
  {
    PlaylistDatabase db;
    ASSERT_TRUE(db.Open());
    auto items = NumberedItems(u"/m"_s, 3);
    ASSERT_TRUE(db.SaveItems(items));
  }
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open(QFile::encodeName(DbPath()).constData(), &raw), SQLITE_OK);
  SqliteConnection other(raw);
  ASSERT_EQ(ExecSql(other.get(), "BEGIN EXCLUSIVE;"), SQLITE_OK);
  ASSERT_EQ(ExecSql(other.get(), "DELETE FROM recent_files;"), SQLITE_OK);
  PlaylistDatabase db;
  EXPECT_FALSE(db.Open());
  EXPECT_FALSE(PlaylistDatabase::TakeDamageReport().has_value());
  ExecSql(other.get(), "COMMIT;");
  ASSERT_TRUE(db.Open());
  EXPECT_EQ(db.LoadItems().size(), 3u);
}

TEST_F(PlaylistDatabaseTest, AnUnwritableDataFolderMeansNoPersistence) {
  // The data folder's place is taken by a file, so nothing can be created
  // there (permissions would not stop a test that runs as root).
  home_.WriteFile(u"data/zelvaro"_s, "not a folder");
  PlaylistDatabase db;
  ExercisePlayer(db, MakeFile(u"Show 101.mkv"_s));
  EXPECT_EQ(ReadFileBytes(home_.DataHome() + u"/zelvaro"_s), QByteArray("not a folder"));
}

TEST_F(PlaylistDatabaseTest, OpenIsRetriedOnceTheFolderIsUsable) {
  home_.WriteFile(u"data/zelvaro"_s, "x");
  PlaylistDatabase db;
  EXPECT_FALSE(db.Open());
  ASSERT_TRUE(QFile::remove(home_.DataHome() + u"/zelvaro"_s));
  EXPECT_TRUE(db.Open());
}

TEST_F(PlaylistDatabaseTest, AnEmptyFileIsAFreshDatabase) {
  home_.WriteFile(u"data/zelvaro/playlist.db"_s, QByteArray());
  PlaylistDatabase db;
  EXPECT_TRUE(db.Open());
  auto items = NumberedItems(u"/m"_s, 2);
  EXPECT_TRUE(db.SaveItems(items));
}

}  // namespace
}  // namespace zelvaro::test
