// Two players on one database, and a player killed in the middle of a save:
// each forked child opens a real PlaylistDatabase on the same file.

#include "library/favorites_database.h"
#include "library/playlist_database.h"
#include "library/playlist_save_queue.h"
#include "tests/library/library_test_support.h"
#include "tests/support/child_process.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QRandomGenerator>

#include <chrono>
#include <thread>

#include <signal.h>

namespace zelvaro::test {
namespace {

using namespace Qt::StringLiterals;

// A whole list: `count` items named <tag>/<index>, padded so that a big list
// no longer fits SQLite's page cache and a save writes to the file before its
// commit.
std::vector<PlaylistItem> TaggedList(const QString& tag, int count, int padding = 0) {
  const QString pad(padding, u'p');
  std::vector<PlaylistItem> items;
  items.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) items.push_back(Item(u"/%1/%2/%3.mkv"_s.arg(tag, pad).arg(i), i));
  return items;
}

// The tag of a list when it is whole and in order, else empty.
QString WholeListTag(const std::vector<PlaylistItem>& items, int expectedCount) {
  if (static_cast<int>(items.size()) != expectedCount || items.empty()) return {};
  const QString first = items[0].file_path;
  const QString tag = first.section(u'/', 1, 1);
  for (int i = 0; i < expectedCount; ++i) {
    const PlaylistItem& item = items[static_cast<size_t>(i)];
    if (item.file_path.section(u'/', 1, 1) != tag) return {};
    if (item.file_name != u"%1.mkv"_s.arg(i) || item.sort_order != i) return {};
  }
  return tag;
}

QByteArray FileHash(const QString& path) {
  return QCryptographicHash::hash(ReadFileBytes(path), QCryptographicHash::Sha1);
}

class ProcessSafetyTest : public LibraryTest {};

TEST_F(ProcessSafetyTest, TwoPlayersSavingAtOnceLoseNothingEitherCommitted) {
  constexpr int kRounds = 40;
  constexpr int kItems = 300;
  {
    PlaylistDatabase db;
    FavoritesDatabase favorites(db);  // schema and the default group, before the race
    ASSERT_EQ(favorites.Groups().size(), 1u);
  }
  int go[2];
  ASSERT_EQ(::pipe(go), 0);
  auto player = [&](int role) -> int {
    ::close(go[1]);
    ReadByte(go[0], 10000);  // both start together when the parent closes the pipe
    PlaylistDatabase db;
    if (!db.Open()) return 10;
    FavoritesDatabase favorites(db);
    if (favorites.Groups().empty()) return 11;
    for (int round = 0; round < kRounds; ++round) {
      if (db.AddRecentFile(u"/p%1/recent%2.mkv"_s.arg(role).arg(round)) <= 0) return 12;
      std::vector<PlaylistItem> items = TaggedList(u"p%1r%2"_s.arg(role).arg(round), kItems);
      if (!db.SaveItems(items)) return 13;
      if (!favorites.AddItem(0, u"/p%1/fav%2.mkv"_s.arg(role).arg(round), round)) return 14;
      // A reader never sees half of the other player's list.
      if (WholeListTag(db.LoadItems(), kItems).isEmpty()) return 15;
    }
    return 0;
  };
  const pid_t first = ForkChild([&] { return player(1); });
  const pid_t second = ForkChild([&] { return player(2); });
  ::close(go[0]);
  ::close(go[1]);
  EXPECT_EQ(WaitForExit(first), 0);
  EXPECT_EQ(WaitForExit(second), 0);

  // Every recent file and favourite of both players is there.
  EXPECT_EQ(Rows("recent_files"), 2 * kRounds);
  EXPECT_EQ(Rows("favorite_items"), 2 * kRounds);
  // The playlist is one player's last list, whole.
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  const QString tag = WholeListTag(db.LoadItems(), kItems);
  EXPECT_TRUE(tag == u"p1r%1"_s.arg(kRounds - 1) || tag == u"p2r%1"_s.arg(kRounds - 1))
      << tag.toStdString();
}

// One player holds the store's write lock for 7 s, past the busy wait; the
// other's save neither blocks its interface thread nor gets lost: it is
// deferred, retried, and on disk once both have exited.
TEST_F(ProcessSafetyTest, AListLockedOutPastTheBusyWaitIsSavedLater) {
  {
    PlaylistDatabase db;
    ASSERT_TRUE(db.Open());
  }
  int locked[2];
  ASSERT_EQ(::pipe(locked), 0);
  const pid_t holder = ForkChild([&] {
    ::close(locked[0]);
    sqlite3* raw = nullptr;
    if (sqlite3_open(QFile::encodeName(DbPath()).constData(), &raw) != SQLITE_OK) return 20;
    SqliteConnection db(raw);
    if (ExecSql(db.get(), "BEGIN IMMEDIATE;") != SQLITE_OK) return 21;
    if (ExecSql(db.get(), "DELETE FROM playlist;") != SQLITE_OK) return 22;
    WriteByte(locked[1], 'L');
    std::this_thread::sleep_for(std::chrono::seconds(7));
    return ExecSql(db.get(), "COMMIT;") == SQLITE_OK ? 0 : 23;
  });
  ::close(locked[1]);
  ASSERT_EQ(ReadByte(locked[0], 10000), 'L');
  ::close(locked[0]);
  const pid_t saver = ForkChild([&] {
    PlaylistDatabase db;
    if (!db.Open()) return 30;
    PlaylistSaveQueue queue(db);
    std::vector<PlaylistItem> items = TaggedList(u"mine"_s, 20);
    if (queue.Save(items) != PlaylistSaveQueue::Result::Deferred) return 31;
    return 0;  // the queue's destruction waits for the deferred save
  });
  EXPECT_EQ(WaitForExit(saver), 0);
  EXPECT_EQ(WaitForExit(holder), 0);
  PlaylistDatabase db;
  ASSERT_TRUE(db.Open());
  EXPECT_EQ(WholeListTag(db.LoadItems(), 20), u"mine"_s);
}

TEST_F(ProcessSafetyTest, KilledInTheMiddleOfASaveKeepsTheOldList) {
  constexpr int kItems = 20000;
  constexpr int kKillAtRow = 15000;
  const std::vector<PlaylistItem> oldList = TaggedList(u"old"_s, kItems, 200);
  {
    PlaylistDatabase db;
    ASSERT_TRUE(db.Open());
    std::vector<PlaylistItem> items = oldList;
    ASSERT_TRUE(db.SaveItems(items));
  }
  const QByteArray committedHash = FileHash(DbPath());
  int channel[2];
  ASSERT_EQ(::pipe(channel), 0);
  const pid_t child = ForkChild([&] {
    ::close(channel[0]);
    PlaylistDatabase db;
    if (!db.Open()) return 10;
    db.SetSaveRowHookForTesting([&](int rows) {
      if (rows != kKillAtRow) return;
      WriteByte(channel[1], 'M');
      for (;;) ::pause();  // held here, mid-transaction, until killed
    });
    std::vector<PlaylistItem> items = TaggedList(u"new"_s, kItems, 200);
    db.SaveItems(items);
    return 11;
  });
  ::close(channel[1]);
  ASSERT_EQ(ReadByte(channel[0], 30000), 'M');
  // The save is under way on disk: a journal, and pages of the new list
  // already written into the file itself.
  EXPECT_GT(QFileInfo(DbPath() + u"-journal"_s).size(), 0);
  EXPECT_NE(FileHash(DbPath()), committedHash);
  ::kill(child, SIGKILL);
  EXPECT_EQ(WaitForExit(child), -SIGKILL);
  ::close(channel[0]);

  PlaylistDatabase restarted;
  ASSERT_TRUE(restarted.Open());
  EXPECT_EQ(WholeListTag(restarted.LoadItems(), kItems), u"old"_s);
  EXPECT_EQ(QueryColumn(DbPath(), "PRAGMA integrity_check;"), std::vector<std::string>{"ok"});
}

// A hundred kills, each at a random moment of a save (rows going in, the
// commit, the journal's removal), each followed by a restart. The random
// sleep before each kill is the thing under test, not a wait.
TEST_F(ProcessSafetyTest, KilledAtRandomMomentsTheListIsOldOrNewNeverAMix) {
  constexpr int kRounds = 100;
  constexpr int kItems = 1000;
  const std::vector<PlaylistItem> listA = TaggedList(u"A"_s, kItems, 100);
  const std::vector<PlaylistItem> listB = TaggedList(u"B"_s, kItems, 100);
  QRandomGenerator random(20240229);
  int killsWithJournal = 0;
  for (int round = 0; round < kRounds; ++round) {
    int channel[2];
    ASSERT_EQ(::pipe(channel), 0);
    const pid_t child = ForkChild([&] {
      ::close(channel[0]);
      PlaylistDatabase db;
      if (!db.Open()) return 10;
      for (int save = 0;; ++save) {
        std::vector<PlaylistItem> items = save % 2 == 0 ? listB : listA;
        if (db.SaveItems(items)) WriteByte(channel[1], 'C');
      }
    });
    ::close(channel[1]);
    // Two commits to learn how long a save takes, then a kill somewhere inside one.
    ASSERT_EQ(ReadByte(channel[0], 30000), 'C');
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(ReadByte(channel[0], 30000), 'C');
    const auto saveTime = std::chrono::steady_clock::now() - start;
    std::this_thread::sleep_for(saveTime * random.bounded(1000) / 1000);
    ::kill(child, SIGKILL);
    EXPECT_EQ(WaitForExit(child), -SIGKILL);
    ::close(channel[0]);
    if (QFileInfo(DbPath() + u"-journal"_s).size() > 0) ++killsWithJournal;

    PlaylistDatabase restarted;
    ASSERT_TRUE(restarted.Open());
    const QString tag = WholeListTag(restarted.LoadItems(), kItems);
    EXPECT_TRUE(tag == u"A"_s || tag == u"B"_s)
        << "round " << round << ": '" << tag.toStdString() << "'";
  }
  RecordProperty("KillsWithAHotJournal", killsWithJournal);
}

}  // namespace
}  // namespace zelvaro::test
