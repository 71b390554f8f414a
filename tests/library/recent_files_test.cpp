#include "library/recent_files.h"

#include "library/file_time.h"
#include "tests/library/library_test_support.h"

#include <QDir>
#include <QFile>

namespace zelvaro::test {
namespace {

using namespace Qt::StringLiterals;

class RecentFilesTest : public LibraryTest {
 protected:
  void SetUp() override { ASSERT_TRUE(db_.Open()); }
  PlaylistDatabase db_;
};

TEST_F(RecentFilesTest, ReopeningMovesToTheFrontAndUpdatesTheRow) {
  RecentFiles recent(db_);
  const uint64_t before = CurrentFileTime();
  recent.Record(u"/m/a.mkv"_s);
  const auto firstAccess = QueryColumn(DbPath(), "SELECT accessed_at FROM recent_files;");
  EXPECT_GE(std::stoull(firstAccess.at(0)), before);
  EXPECT_LE(std::stoull(firstAccess.at(0)), CurrentFileTime());
  recent.Record(u"/m/b.mkv"_s);
  recent.Record(u"/m/A.mkv"_s);  // another case, another file
  recent.Record(u"/m/a.mkv"_s);
  EXPECT_EQ(recent.Entries(), (std::vector<QString>{u"/m/a.mkv"_s, u"/m/A.mkv"_s, u"/m/b.mkv"_s}));
  EXPECT_EQ(Rows("recent_files"), 3);
  const auto access =
      QueryColumn(DbPath(), "SELECT accessed_at FROM recent_files WHERE file_path='/m/a.mkv';");
  EXPECT_GT(std::stoll(access.at(0)), std::stoll(firstAccess.at(0)));
  EXPECT_EQ(QueryColumn(DbPath(), "SELECT file_name FROM recent_files WHERE file_path='/m/a.mkv';"),
            std::vector<std::string>{"a.mkv"});
  recent.Clear();
  recent.Clear();
  EXPECT_TRUE(recent.Entries().empty());
  EXPECT_EQ(Rows("recent_files"), 0);
}

TEST_F(RecentFilesTest, TheListKeepsTenTheTableKeepsAll) {
  RecentFiles recent(db_);
  for (int i = 0; i < 12; ++i) recent.Record(u"/m/%1.mkv"_s.arg(i));
  ASSERT_EQ(recent.Entries().size(), 10u);
  EXPECT_EQ(recent.Entries().front(), u"/m/11.mkv"_s);
  EXPECT_EQ(recent.Entries().back(), u"/m/2.mkv"_s);
  EXPECT_EQ(Rows("recent_files"), 12);

  // After a restart the newest ten come back in the same order; deleting
  // newer rows brings older ones back into the list.
  PlaylistDatabase restarted;
  ASSERT_TRUE(restarted.Open());
  RecentFiles reloaded(restarted);
  reloaded.Load();
  EXPECT_EQ(reloaded.Entries(), recent.Entries());
  reloaded.RemoveEntry(0);
  reloaded.RemoveEntry(0);
  reloaded.RemoveEntry(70);  // out of range: nothing
  EXPECT_EQ(Rows("recent_files"), 10);
  reloaded.Load();
  ASSERT_EQ(reloaded.Entries().size(), 10u);
  EXPECT_EQ(reloaded.Entries().front(), u"/m/9.mkv"_s);
  EXPECT_EQ(reloaded.Entries().back(), u"/m/0.mkv"_s);
}

TEST_F(RecentFilesTest, PathsAreKeptAbsoluteAndRelativeRowsOfOlderBuildsAreDropped) {
  RecentFiles recent(db_);
  const struct {
    QString given;
    QString kept;
  } cases[] = {
      {u"/m/./a/../b.mkv"_s, u"/m/b.mkv"_s},
      {u"Episode 1.mkv"_s, QDir::currentPath() + u"/Episode 1.mkv"_s},
      {u"file:///m/c%20d.mkv"_s, u"/m/c d.mkv"_s},
      {u"https://example.com/a/../live.m3u8?x=1"_s, u"https://example.com/a/../live.m3u8?x=1"_s},
  };
  for (const auto& c : cases) {
    recent.Record(c.given);
    EXPECT_EQ(recent.Entries().front(), c.kept) << c.given.toStdString();
  }
  // Rows an older build stored as typed cannot be resolved any more.
  for (const QString& old : {u"relative/old.mkv"_s, u"./here.mkv"_s, u"x.mkv"_s})
    db_.AddRecentFile(old);
  RecentFiles reloaded(db_);
  reloaded.Load();
  std::vector<QString> expected;
  for (auto it = std::rbegin(cases); it != std::rend(cases); ++it) expected.push_back(it->kept);
  EXPECT_EQ(reloaded.Entries(), expected);
}

// Another player holds the write lock past the busy wait: each write is
// handed on at once instead of holding the caller, and they all land, in the
// order they were made, once the lock is let go.
TEST_F(RecentFilesTest, WritesLockedOutByAnotherPlayerLandLaterInOrder) {
  RecentFiles recent(db_);
  recent.Record(u"/m/old.mkv"_s);
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open(QFile::encodeName(DbPath()).constData(), &raw), SQLITE_OK);
  SqliteConnection other(raw);
  ASSERT_EQ(ExecSql(other.get(), "BEGIN IMMEDIATE;"), SQLITE_OK);
  ASSERT_EQ(ExecSql(other.get(), "INSERT INTO recent_files (file_path) VALUES ('/x/other');"),
            SQLITE_OK);

  recent.Record(u"/m/a.mkv"_s);
  EXPECT_TRUE(recent.HasPendingWrites());
  recent.Record(u"/m/b.mkv"_s);
  recent.RemoveEntry(1);  // a.mkv: removed only after it was added
  recent.Clear();
  recent.Record(u"/m/c.mkv"_s);
  EXPECT_EQ(recent.Entries(), std::vector<QString>{u"/m/c.mkv"_s});

  ASSERT_EQ(ExecSql(other.get(), "COMMIT;"), SQLITE_OK);
  ASSERT_TRUE(recent.FlushWrites(30000));
  EXPECT_EQ(QueryColumn(DbPath(), "SELECT file_path FROM recent_files;"),
            std::vector<std::string>{"/m/c.mkv"});
  // With the lock free again, a write is made at once.
  recent.Record(u"/m/d.mkv"_s);
  EXPECT_FALSE(recent.HasPendingWrites());
  EXPECT_EQ(Rows("recent_files"), 2);
}

TEST_F(RecentFilesTest, EmptyPathOrClosedStoreGivesMinusOne) {
  EXPECT_EQ(db_.AddRecentFile(QString()), -1);
  PlaylistDatabase closed;
  EXPECT_EQ(closed.AddRecentFile(u"/m/a.mkv"_s), -1);
  RecentFiles recent(closed);
  recent.Record(u"/m/a.mkv"_s);  // the list goes on without the table
  EXPECT_EQ(recent.Entries().size(), 1u);
  recent.Load();  // a failed read still replaces the list
  EXPECT_TRUE(recent.Entries().empty());
  EXPECT_TRUE(PathExists(MakeFile(u"here.mkv"_s)));
  EXPECT_FALSE(PathExists(MediaDir() + u"/gone.mkv"_s));
  EXPECT_FALSE(PathExists(QString()));
}

}  // namespace
}  // namespace zelvaro::test
