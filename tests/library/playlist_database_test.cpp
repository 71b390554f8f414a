#include "library/playlist_database.h"

#include "library/favorites_database.h"
#include "library/playlist_model.h"
#include "tests/library/library_test_support.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

namespace zelvaro::test {
namespace {

using namespace Qt::StringLiterals;

std::vector<PlaylistItem> NumberedItems(const QString& prefix, int count) {
  std::vector<PlaylistItem> items;
  for (int i = 0; i < count; ++i) items.push_back(Item(u"%1/%2.mkv"_s.arg(prefix).arg(i), i));
  return items;
}

class PlaylistDatabaseTest : public LibraryTest {};

TEST_F(PlaylistDatabaseTest, OpenCreatesTheTablesAndAReopenChangesNothing) {
  {
    PlaylistDatabase db;
    ASSERT_TRUE(db.Open());
    EXPECT_EQ(db.Path(), DbPath());
    EXPECT_TRUE(db.Open());  // a second call is a no-op
    auto items = NumberedItems(u"/m"_s, 20);
    ASSERT_TRUE(db.SaveItems(items));
  }
  EXPECT_EQ(
      QueryColumn(DbPath(), "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name;"),
      (std::vector<std::string>{"favorite_groups", "favorite_items", "playlist", "recent_files",
                                "sqlite_sequence"}));
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
  const auto fields = [](const PlaylistItem& item) {
    return std::tie(item.file_path, item.file_name, item.file_size, item.duration, item.file_date,
                    item.codec_info, item.sort_order);
  };
  for (size_t i = 0; i < loaded.size(); ++i) {
    EXPECT_GT(loaded[i].id, 0);
    EXPECT_EQ(fields(loaded[i]), fields(items[i]));
  }
}

TEST_F(PlaylistDatabaseTest, RowsKeepUniquePathsAndFreshIds) {
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  // A repeated path is dropped, leaving a gap; a path in another case is another row.
  std::vector<PlaylistItem> items = {Item(u"/m/a.mkv"_s), Item(u"/m/a.mkv"_s), Item(u"/m/A.mkv"_s)};
  ASSERT_TRUE(db.SaveItems(items));
  auto loaded = db.LoadItems();
  ASSERT_EQ(loaded.size(), 2u);
  EXPECT_EQ(loaded[1].sort_order, 2);
  const int firstId = loaded[0].id;
  ASSERT_TRUE(db.SaveItems(items));
  EXPECT_GT(db.LoadItems()[0].id, firstId);  // AUTOINCREMENT never reuses
  // An ignored insert still answers with the last row id.
  const int32_t b = db.InsertItem(Item(u"/m/b.mkv"_s));
  EXPECT_EQ(db.InsertItem(Item(u"/m/a.mkv"_s)), b);
  ASSERT_TRUE(ExecRaw(DbPath(), "INSERT INTO playlist (file_path, sort_order) VALUES ('/x', -1);"));
  loaded = db.LoadItems();
  ASSERT_EQ(loaded.size(), 4u);
  EXPECT_TRUE(loaded[0].file_name.isEmpty());  // NULL text loads as empty
  EXPECT_TRUE(loaded[0].codec_info.isEmpty());
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

TEST_F(PlaylistDatabaseTest, AnUnusableFolderMeansNoPersistenceUntilItIsFixed) {
  // The data folder's place is taken by a file, so nothing can be created
  // there (permissions would not stop a test that runs as root).
  home_.WriteFile(u"data/zelvaro"_s, "not a folder");
  PlaylistDatabase db;
  ExercisePlayer(db, MakeFile(u"Show 101.mkv"_s));
  EXPECT_EQ(ReadFileBytes(home_.DataHome() + u"/zelvaro"_s), QByteArray("not a folder"));
  ASSERT_TRUE(QFile::remove(home_.DataHome() + u"/zelvaro"_s));
  // An empty file is a fresh store, and the open is retried.
  home_.WriteFile(u"data/zelvaro/playlist.db"_s, QByteArray());
  EXPECT_TRUE(db.Open());
  auto items = NumberedItems(u"/m"_s, 2);
  EXPECT_TRUE(db.SaveItems(items));
}

}  // namespace
}  // namespace zelvaro::test
