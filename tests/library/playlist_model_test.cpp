#include "library/playlist_model.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/file_time.h"
#include "tests/library/library_test_support.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <sys/stat.h>

namespace zelvaro::test {
namespace {

using namespace Qt::StringLiterals;

PlaylistItem Named(const QString& name, uint64_t size = 0, double duration = 0, uint64_t date = 0) {
  return Item(u"/media/"_s + name, size, duration, date);
}

QStringList Words(const char* words) {
  return QString::fromLatin1(words).split(u' ');
}

QStringList NamesOf(const std::vector<PlaylistItem>& items) {
  QStringList names;
  for (const PlaylistItem& item : items) names << item.file_name;
  return names;
}

class PlaylistModelTest : public LibraryTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(db_.Open());
    model_.SetView(&view_);
  }
  void Fill(const QStringList& names, int current = -1) {
    std::vector<PlaylistItem> items;
    for (const QString& name : names) items.push_back(Named(name));
    model_.SetItems(std::move(items));
    model_.SetCurrentIndex(current);
  }
  QStringList SavedNames() { return NamesOf(db_.LoadItems()); }
  // A series of `count` episodes, opened at the first; true once read to the end.
  bool OpenSeries(int count, int bytes) {
    for (int i = 0; i < count; ++i) MakeFile(u"Episode %1.mkv"_s.arg(1000 + i), bytes);
    model_.ReplaceWithSeries(MediaDir() + u"/Episode 1000.mkv"_s);
    return model_.Items().size() == static_cast<size_t>(count);
  }
  bool WorkerDone(int total) {
    return WaitUntil(
        [&] { return !view_.progress.empty() && view_.progress.back().first == total; });
  }

  PlaylistDatabase db_;
  RecordingView view_;
  PlaylistModel model_{db_};
};

TEST_F(PlaylistModelTest, AddFileReadsTheFileAndNeitherFiltersNorSaves) {
  const QString path = MakeFile(u"Clip.mkv"_s, 1500);
  const QString link = MediaDir() + u"/Link.mkv"_s;
  ASSERT_TRUE(QFile::link(path, link));
  model_.AddFile(path);
  model_.AddFile(u"https://example.org/live.m3u8"_s);
  model_.AddFile(MediaDir() + u"/gone.mkv"_s);
  model_.AddFile(MediaDir());  // a folder is one item, never expanded
  model_.AddFile(link);
  const auto& items = model_.Items();
  ASSERT_EQ(items.size(), 5u);
  EXPECT_EQ(items[0].file_name, u"Clip.mkv"_s);
  EXPECT_EQ(items[0].file_size, 1500u);
  struct stat info {};
  ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &info), 0);
  EXPECT_EQ(items[0].file_date, FileTimeFromUnix(info.st_mtim));
  EXPECT_EQ(items[1].file_name, u"live.m3u8"_s);
  EXPECT_EQ(items[2].file_date, 0u);
  EXPECT_NE(items[3].file_date, 0u);
  EXPECT_EQ(items[3].sort_order, 3);
  EXPECT_EQ(items[4].file_path, QFileInfo(path).canonicalFilePath());
  EXPECT_TRUE(model_.Filtered().empty());
  EXPECT_TRUE(db_.LoadItems().empty());

  model_.Clear();
  model_.AddFile(u"/m/Movie.mkv"_s);
  model_.AddFile(u"/m/movie.MKV"_s);  // duplicates are allowed by default
  ASSERT_TRUE(Settings::SetDword(setting::kPlaylistPreventDuplicates, 1));
  model_.AddFile(u"/M/MOVIE.mkv"_s);
  model_.AddFile(u"/m/other.mkv"_s);
  EXPECT_EQ(model_.Items().size(), 3u);
}

TEST_F(PlaylistModelTest, ReplaceWithSeriesListsSavesAndFillsInAttributes) {
  QStringList names;
  for (int i = 120; i >= 1; --i) names << u"Show %1.mkv"_s.arg(100 + i);
  names << u"Other 101.mkv"_s;
  for (const QString& name : names) MakeFile(name, name.size() * 10);
  Fill({u"old.mkv"_s}, 0);

  model_.ReplaceWithSeries(MediaDir() + u"/Show 105.mkv"_s);
  ASSERT_EQ(model_.Items().size(), 120u);
  EXPECT_EQ(model_.Items().front().file_name, u"Show 101.mkv"_s);
  EXPECT_EQ(model_.CurrentIndex(), 4);
  EXPECT_EQ(model_.Items()[7].sort_order, 7);
  EXPECT_EQ(model_.Filtered().size(), 120u);
  EXPECT_EQ(view_.visibleRows, std::vector<int>{4});
  EXPECT_EQ(view_.selectedRows, std::vector<int>{4});
  EXPECT_EQ(SavedNames(), NamesOf(model_.Items()));  // saved at once, before any attribute

  ASSERT_TRUE(WorkerDone(120));
  EXPECT_EQ(view_.progress, (std::vector<std::pair<int, int>>{{50, 120}, {100, 120}, {120, 120}}));
  EXPECT_FALSE(model_.IsWorkerRunning());
  for (const PlaylistItem& item : model_.Items()) {
    EXPECT_EQ(item.file_size, static_cast<uint64_t>(item.file_name.size() * 10));
    EXPECT_GT(item.file_date, 0u);
  }
  // The worker saves nothing: the sizes reach the file with the next save.
  EXPECT_EQ(db_.LoadItems()[0].file_size, 0u);
  model_.SaveToDatabase();
  EXPECT_EQ(db_.LoadItems()[0].file_size, 120u);

  // A key too short to match even itself: the opened file alone.
  MakeFiles({u"ab1234.mkv"_s, u"cd1235.mkv"_s});
  model_.ReplaceWithSeries(MediaDir() + u"/ab1234.mkv"_s);
  ASSERT_EQ(model_.Items().size(), 1u);
  EXPECT_EQ(model_.CurrentIndex(), 0);
  // An unsupported file empties the list.
  model_.ReplaceWithSeries(MakeFile(u"notes.txt"_s));
  EXPECT_TRUE(model_.Items().empty());
  EXPECT_EQ(model_.CurrentIndex(), -1);
  EXPECT_TRUE(SavedNames().isEmpty());
}

TEST_F(PlaylistModelTest, WorkerResultsFollowASortAndNeverReachAReplacedList) {
  ASSERT_TRUE(OpenSeries(300, 7));
  // Reorder at once, while the worker may still be reading.
  model_.SortByColumn(PlaylistModel::kSortByName);
  model_.SortByColumn(PlaylistModel::kSortByName);  // descending
  ASSERT_TRUE(WorkerDone(300));
  for (const PlaylistItem& item : model_.Items()) EXPECT_EQ(item.file_size, 7u);

  // A second list replaces the first while all of the first's results wait
  // in the queue: one full run of progress, the second's.
  view_.progress.clear();
  model_.ReplaceWithSeries(MediaDir() + u"/Episode 1000.mkv"_s);
  QDeadlineTimer deadline(10000);
  while (model_.IsWorkerRunning() && !deadline.hasExpired()) QThread::msleep(1);  // no events
  model_.ReplaceWithSeries(MediaDir() + u"/Episode 1001.mkv"_s);
  ASSERT_TRUE(WaitUntil([&] { return !model_.IsWorkerRunning(); }));
  QCoreApplication::sendPostedEvents();  // all the worker queued before it ended
  int finals = 0;
  for (const auto& [done, total] : view_.progress) finals += done == total;
  EXPECT_EQ(finals, 1);
  EXPECT_EQ(model_.CurrentIndex(), 1);

  model_.ReplaceWithSeries(MediaDir() + u"/Episode 1000.mkv"_s);
  model_.Clear();  // does not stop the worker; its results find no items
  ASSERT_TRUE(WaitUntil([&] { return !model_.IsWorkerRunning(); }));
  QCoreApplication::sendPostedEvents();
  EXPECT_TRUE(model_.Items().empty());
}

TEST_F(PlaylistModelTest, DestroyingDuringTheWorkIsSafe) {
  QStringList names;
  for (int i = 0; i < 3000; ++i) names << u"Episode %1.mkv"_s.arg(1000 + i);
  MakeLinkedFiles(names);
  for (int round = 0; round < 5; ++round) {
    auto model = std::make_unique<PlaylistModel>(db_);
    RecordingView view;
    model->SetView(&view);
    model->ReplaceWithSeries(MediaDir() + u"/Episode 1000.mkv"_s);
    model.reset();  // stops the worker; pending deliveries die with the model
    QCoreApplication::sendPostedEvents();
  }
}

TEST_F(PlaylistModelTest, FilterLookupAndStepping) {
  Fill(Words("Alpha.mkv beta.mkv GAMMA.mkv delta.mp4 beta.mkv"));
  model_.SetSearchText(u"A.MK"_s);  // names only, case ignored
  EXPECT_EQ(model_.Filtered(), (std::vector<int>{0, 1, 2, 4}));
  model_.SetSearchText(u"media"_s);  // the folder never matches
  EXPECT_TRUE(model_.Filtered().empty());
  EXPECT_EQ(view_.rowCounts.back(), 0);
  model_.SetSearchText(u"mp4"_s);
  EXPECT_EQ(model_.Filtered(), std::vector<int>{3});
  EXPECT_GE(view_.erasingRedraws, 3);

  EXPECT_EQ(model_.FindByPath(u"/MEDIA/BETA.mkv"_s), 1);  // the first copy
  EXPECT_EQ(model_.FindByPath(u"/media/beta.mkv2"_s), -1);
  model_.SetCurrentByPath(u"/media/delta.MP4"_s);
  EXPECT_EQ(model_.CurrentIndex(), 3);
  EXPECT_EQ(view_.visibleRows, std::vector<int>{0});
  model_.SetCurrentByPath(u"/media/Alpha.mkv"_s);
  EXPECT_EQ(model_.CurrentIndex(), 0);
  EXPECT_EQ(view_.visibleRows.size(), 1u);  // hidden by the search: no scroll
  model_.SetCurrentByPath(u"/elsewhere.mkv"_s);
  EXPECT_EQ(model_.CurrentIndex(), -1);

  model_.SetSearchText(QString());
  view_.visibleRows.clear();
  EXPECT_TRUE(model_.NextFile().isEmpty());  // nothing current
  model_.SetCurrentIndex(3);
  EXPECT_EQ(model_.NextFile(), u"/media/beta.mkv"_s);
  EXPECT_TRUE(model_.NextFile().isEmpty());
  EXPECT_EQ(model_.CurrentIndex(), 4);
  model_.SetCurrentIndex(1);
  EXPECT_EQ(model_.PreviousFile(), u"/media/Alpha.mkv"_s);
  EXPECT_TRUE(model_.PreviousFile().isEmpty());
  EXPECT_EQ(view_.visibleRows, (std::vector<int>{4, 0}));
}

TEST_F(PlaylistModelTest, UpdateMetadataWritesTheRowWhileItsIdIsFresh) {
  Fill({u"a.mkv"_s, u"b.mkv"_s});
  model_.SaveToDatabase();
  PlaylistModel restored(db_);
  restored.RestoreFromDatabase();
  const auto stored = [&](const char* column, int row) {
    return QueryColumn(DbPath(), "SELECT " + std::string(column) +
                                     " FROM playlist WHERE sort_order = " + std::to_string(row));
  };
  restored.UpdateMetadata(u"/MEDIA/B.mkv"_s, 321.5, u"H.264/AAC"_s);
  EXPECT_EQ(stored("duration || ' ' || codec_info", 1),
            std::vector<std::string>{"321.5 H.264/AAC"});
  // An empty codec text keeps the old one; the duration is written whatever it is.
  restored.UpdateMetadata(u"/media/b.mkv"_s, 0, QString());
  EXPECT_EQ(restored.Items()[1].codec_info, u"H.264/AAC"_s);
  EXPECT_EQ(restored.Items()[1].duration, 0);
  // After a save the ids are stale: the update reaches memory only, until the next save.
  restored.SaveToDatabase();
  restored.UpdateMetadata(u"/media/a.mkv"_s, 60, u"VP9"_s);
  EXPECT_EQ(stored("duration", 0), std::vector<std::string>{"0.0"});
  restored.SaveToDatabase();
  EXPECT_EQ(stored("duration || ' ' || codec_info", 0), std::vector<std::string>{"60.0 VP9"});
}

TEST_F(PlaylistModelTest, SortsFollowTheCurrentItemAndSave) {
  Fill({u"Ep 10.mkv"_s, u"ep 2.mkv"_s, u"Ep 1.mkv"_s, u"Bonus.mkv"_s}, 1);
  model_.SetSearchText(u"ep"_s);  // a search does not narrow the sort
  model_.SortByColumn(PlaylistModel::kSortByName);
  EXPECT_EQ(NamesOf(model_.Items()),
            (QStringList{u"Bonus.mkv"_s, u"Ep 1.mkv"_s, u"ep 2.mkv"_s, u"Ep 10.mkv"_s}));
  EXPECT_EQ(model_.Filtered(), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(model_.CurrentIndex(), 2);
  EXPECT_EQ(SavedNames(), NamesOf(model_.Items()));
  model_.SortByColumn(PlaylistModel::kSortByName);  // same column flips
  EXPECT_FALSE(model_.SortAscending());
  EXPECT_EQ(model_.CurrentIndex(), 1);
  model_.SortByColumn(PlaylistModel::kSortBySize);  // a new column starts ascending
  EXPECT_TRUE(model_.SortAscending());

  model_.SetItems({Named(u"huge"_s, ~uint64_t{0}, 5, 3), Named(u"small"_s, 10, 3600.5, 1),
                   Named(u"mid"_s, uint64_t{1} << 40, 0.25, ~uint64_t{0})});
  const std::pair<int, QStringList> byValue[] = {
      {PlaylistModel::kSortBySize, Words("huge mid small")},  // still descending
      {PlaylistModel::kSortByDuration, Words("mid huge small")},
      {PlaylistModel::kSortByDate, Words("small huge mid")},
      {PlaylistModel::kSortByDate, Words("mid huge small")},
  };
  for (const auto& [column, names] : byValue) {
    model_.SortByColumn(column);
    EXPECT_EQ(NamesOf(model_.Items()), names) << column;
  }
}

TEST_F(PlaylistModelTest, TheMarkerAfterASortWithDuplicates) {
  struct Case {
    QStringList names;
    int current;
    bool byColumn;  // else SortByName, which keeps the marker's row number
    int expected;
  };
  const Case cases[] = {
      {Words("b c a c"), 3, true, 2},  // the first copy
      {Words("b a"), -1, true, -1},   {Words("b a c"), 0, false, 0}, {Words("b a a"), 0, false, 0},
      {Words("c a a"), 2, false, 2},  {Words("a c a"), 1, false, 0},
  };
  for (const Case& c : cases) {
    Fill(c.names, c.current);
    c.byColumn ? model_.SortByColumn(PlaylistModel::kSortByName) : model_.SortByName();
    EXPECT_EQ(model_.CurrentIndex(), c.expected) << c.names.join(u',').toStdString();
  }
  EXPECT_EQ(model_.SortColumn(), 0);  // SortByName leaves the sort state alone
}

TEST_F(PlaylistModelTest, MoveItemAdjustsTheCurrentIndex) {
  const QStringList names = Words("0 1 2 3 4");
  struct Case {
    int from, to, current, expected;
  } cases[] = {
      {1, 3, 1, 3}, {1, 3, 2, 1}, {1, 3, 3, 2}, {1, 3, 4, 4}, {1, 3, 0, 0},
      {3, 1, 1, 2}, {3, 1, 2, 3}, {3, 1, 3, 1}, {3, 1, 4, 4}, {3, 1, -1, -1},
  };
  for (const Case& c : cases) {
    Fill(names, c.current);
    model_.MoveItem(c.from, c.to);
    EXPECT_EQ(model_.CurrentIndex(), c.expected) << c.from << "->" << c.to << " @" << c.current;
  }
  Fill(names, 2);
  model_.MoveItem(1, 1);
  model_.MoveItem(-1, 2);
  model_.MoveItem(1, 5);
  EXPECT_EQ(NamesOf(model_.Items()), names);
  model_.MoveItem(4, 0);
  EXPECT_EQ(NamesOf(model_.Items()), Words("4 0 1 2 3"));
}

TEST_F(PlaylistModelTest, SelectionMovesSwapOrMoveVisibleRowsWithoutSaving) {
  using Move = void (PlaylistModel::*)();
  struct Case {
    const char* name;
    const char* search;
    std::vector<int> selection;
    Move move;
    const char* order;
    std::vector<int> selected;
    int current;  // starts at 1; follows the item only to the top or bottom
  };
  const QStringList start = Words("x1 a x2 b x3");
  const Move up = &PlaylistModel::MoveSelectedUp, down = &PlaylistModel::MoveSelectedDown;
  const Move top = &PlaylistModel::MoveSelectedTop, bottom = &PlaylistModel::MoveSelectedBottom;
  const Case cases[] = {
      {"up", "", {1}, up, "a x1 x2 b x3", {0}, 1},  // the marker stays put
      {"up at the top", "", {0}, up, "x1 a x2 b x3", {0}, 1},
      {"down", "", {1}, down, "x1 x2 a b x3", {2}, 1},
      {"down at the end", "", {4}, down, "x1 a x2 b x3", {4}, 1},
      {"up among the shown", "x", {1}, up, "x2 a x1 b x3", {0}, 1},
      {"top, first selected counts", "", {3, 4}, top, "b x1 a x2 x3", {0}, 2},
      {"bottom", "", {1}, bottom, "x1 x2 b x3 a", {4}, 4},
      {"bottom of the whole list", "x", {0}, bottom, "a x2 b x3 x1", {2}, 0},
      {"nothing selected", "", {}, top, "x1 a x2 b x3", {}, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Fill(start, 1);
    model_.SetSearchText(QString::fromLatin1(c.search));
    view_.selection = c.selection;
    (model_.*c.move)();
    EXPECT_EQ(NamesOf(model_.Items()), Words(c.order));
    EXPECT_EQ(view_.selection, c.selected);
    EXPECT_EQ(model_.CurrentIndex(), c.current);
  }
  EXPECT_TRUE(SavedNames().isEmpty());
}

TEST_F(PlaylistModelTest, RemovingFixesTheMarkerAndSaves) {
  Fill(Words("x1 a x2 b e"), 3);
  model_.SetSearchText(u"x"_s);
  view_.selection = {1};  // rows map through the filter
  model_.RemoveSelected();
  model_.SetSearchText(QString());
  view_.selection = {0};
  model_.RemoveSelected();
  EXPECT_EQ(NamesOf(model_.Items()), Words("a b e"));
  EXPECT_EQ(model_.CurrentIndex(), 1);  // still on "b"
  EXPECT_EQ(SavedNames(), NamesOf(model_.Items()));
  EXPECT_EQ(view_.selectedRows.back(), 0);

  view_.selection = {1, 2};  // the current item goes: nothing is current
  model_.RemoveSelected();
  EXPECT_EQ(NamesOf(model_.Items()), Words("a"));
  EXPECT_EQ(model_.CurrentIndex(), -1);
  EXPECT_EQ(view_.selectedRows.back(), 0);  // clamped to the last row
  view_.selection = {0};
  const size_t selectCalls = view_.selectedRows.size();
  model_.RemoveSelected();
  EXPECT_TRUE(model_.Items().empty());
  EXPECT_EQ(view_.selectedRows.size(), selectCalls);  // no row left to select

  std::vector<PlaylistItem> items;
  for (const QString& name : Words("a B b a c")) items.push_back(Named(name));
  items[2].file_path = u"/MEDIA/B"_s;  // same path in another case
  items[3].file_size = 99;
  model_.SetItems(items);
  model_.SetCurrentIndex(3);  // the second copy of a
  model_.RemoveDuplicates();
  EXPECT_EQ(NamesOf(model_.Items()), Words("a B c"));
  EXPECT_EQ(model_.Items()[0].file_size, 0u);
  EXPECT_EQ(model_.CurrentIndex(), 0);
  EXPECT_EQ(SavedNames(), NamesOf(model_.Items()));
}

TEST_F(PlaylistModelTest, AListSurvivesARestartAndAClearEmptiesTheFile) {
  for (int i = 1; i <= 12; ++i) MakeFile(u"Series.%1.mkv"_s.arg(1000 + i), i);
  model_.ReplaceWithSeries(MediaDir() + u"/Series.1003.mkv"_s);
  ASSERT_TRUE(WorkerDone(12));
  model_.UpdateMetadata(MediaDir() + u"/Series.1003.mkv"_s, 42.0, u"AV1"_s);
  model_.SaveToDatabase();
  ASSERT_TRUE(QFile::remove(MediaDir() + u"/Series.1005.mkv"_s));

  PlaylistDatabase restartedDb;
  PlaylistModel restarted(restartedDb);
  RecordingView view;
  restarted.SetView(&view);
  restarted.RestoreFromDatabase();
  ASSERT_EQ(restarted.Items().size(), 12u);
  EXPECT_EQ(PathsOf(restarted.Items()), PathsOf(model_.Items()));
  EXPECT_EQ(restarted.CurrentIndex(), -1);  // nothing is current after a start
  EXPECT_EQ(restarted.Items()[2].duration, 42.0);
  EXPECT_EQ(restarted.Items()[2].codec_info, u"AV1"_s);
  EXPECT_EQ(restarted.Items()[4].file_size, 5u);  // a gone file keeps its stored values
  EXPECT_EQ(view.rowCounts.back(), 12);

  restarted.Clear();
  EXPECT_TRUE(restarted.Filtered().empty());
  EXPECT_TRUE(SavedNames().isEmpty());
  Fill({u"a"_s});
  model_.SaveToDatabase();
  ASSERT_TRUE(Settings::SetDword(setting::kPlaylistRestoreOnStartup, 0));
  PlaylistDatabase db;
  PlaylistModel third(db);
  third.RestoreFromDatabase();
  EXPECT_TRUE(db.IsOpen());
  EXPECT_TRUE(third.Items().empty());
}

}  // namespace
}  // namespace zelvaro::test
