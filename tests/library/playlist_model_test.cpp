#include "library/playlist_model.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/file_time.h"
#include "tests/library/library_test_support.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace zelvaro::test {
namespace {

using namespace Qt::StringLiterals;

PlaylistItem Named(const QString& name, uint64_t size = 0, double duration = 0, uint64_t date = 0) {
  PlaylistItem item;
  item.file_path = u"/media/"_s + name;
  item.file_name = name;
  item.file_size = size;
  item.duration = duration;
  item.file_date = date;
  return item;
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
  // A list of named items, made current at `current`, saved once.
  void Fill(const QStringList& names, int current = -1) {
    std::vector<PlaylistItem> items;
    for (const QString& name : names) items.push_back(Named(name));
    model_.SetItems(std::move(items));
    model_.SetCurrentIndex(current);
  }
  QStringList SavedNames() {
    QStringList names;
    for (const PlaylistItem& item : db_.LoadItems()) names << item.file_name;
    return names;
  }

  PlaylistDatabase db_;
  RecordingView view_;
  PlaylistModel model_{db_};
};

// -- AddFile --

TEST_F(PlaylistModelTest, AddFileReadsSizeAndDateAndNeitherFiltersNorSaves) {
  const QString path = MakeFile(u"Clip.mkv"_s, 1500);
  model_.AddFile(path);
  model_.AddFile(u"https://example.org/live.m3u8"_s);
  model_.AddFile(MediaDir() + u"/gone.mkv"_s);
  model_.AddFile(MediaDir());  // a folder is one item, never expanded
  const auto& items = model_.Items();
  ASSERT_EQ(items.size(), 4u);
  EXPECT_EQ(items[0].file_name, u"Clip.mkv"_s);
  EXPECT_EQ(items[0].file_size, 1500u);
  struct stat info {};
  ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &info), 0);
  EXPECT_EQ(items[0].file_date, FileTimeFromUnix(info.st_mtim));
  EXPECT_EQ(items[1].file_name, u"live.m3u8"_s);
  EXPECT_EQ(items[1].file_size, 0u);
  EXPECT_EQ(items[2].file_date, 0u);
  EXPECT_EQ(items[3].file_path, MediaDir());
  EXPECT_EQ(items[3].file_size, 0u);
  EXPECT_NE(items[3].file_date, 0u);
  EXPECT_EQ(items[3].sort_order, 3);
  EXPECT_TRUE(model_.Filtered().empty());
  EXPECT_TRUE(db_.LoadItems().empty());
}

TEST_F(PlaylistModelTest, AddFileListsALinkAsItsTarget) {
  const QString target = MakeFile(u"Real.mkv"_s, 10);
  const QString link = MediaDir() + u"/Link.mkv"_s;
  ASSERT_TRUE(QFile::link(target, link));
  model_.AddFile(link);
  ASSERT_EQ(model_.Items().size(), 1u);
  EXPECT_EQ(model_.Items()[0].file_path, QFileInfo(target).canonicalFilePath());
}

TEST_F(PlaylistModelTest, PreventDuplicatesRefusesAPathInAnyCase) {
  model_.AddFile(u"/m/Movie.mkv"_s);
  model_.AddFile(u"/m/movie.MKV"_s);
  EXPECT_EQ(model_.Items().size(), 2u);  // the setting is off by default
  ASSERT_TRUE(Settings::SetDword(setting::kPlaylistPreventDuplicates, 1));
  model_.AddFile(u"/M/MOVIE.mkv"_s);
  model_.AddFile(u"/m/other.mkv"_s);
  EXPECT_EQ(model_.Items().size(), 3u);
}

// -- ReplaceWithSeries and the metadata worker --

TEST_F(PlaylistModelTest, ReplaceWithSeriesListsSavesAndFillsInAttributes) {
  QStringList names;
  for (int i = 120; i >= 1; --i) names << u"Show %1.mkv"_s.arg(100 + i);
  names << u"Other 101.mkv"_s;
  for (const QString& name : names) MakeFile(name, name.size() * 10);
  Fill({u"old.mkv"_s}, 0);

  model_.ReplaceWithSeries(MediaDir() + u"/Show 105.mkv"_s);
  ASSERT_EQ(model_.Items().size(), 120u);
  EXPECT_EQ(model_.Items().front().file_name, u"Show 101.mkv"_s);
  EXPECT_EQ(model_.Items().back().file_name, u"Show 220.mkv"_s);
  EXPECT_EQ(model_.CurrentIndex(), 4);
  EXPECT_EQ(model_.Items()[7].sort_order, 7);
  EXPECT_EQ(model_.Filtered().size(), 120u);
  EXPECT_EQ(view_.visibleRows, std::vector<int>{4});
  EXPECT_EQ(view_.selectedRows, std::vector<int>{4});
  EXPECT_EQ(SavedNames(), NamesOf(model_.Items()));  // saved at once, before any attribute

  ASSERT_TRUE(
      WaitUntil([&] { return !view_.progress.empty() && view_.progress.back().first == 120; }));
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
}

TEST_F(PlaylistModelTest, AnUnsupportedFileEmptiesTheList) {
  Fill({u"a.mkv"_s, u"b.mkv"_s}, 1);
  model_.ReplaceWithSeries(MakeFile(u"notes.txt"_s));
  EXPECT_TRUE(model_.Items().empty());
  EXPECT_EQ(model_.CurrentIndex(), -1);
  EXPECT_TRUE(SavedNames().isEmpty());
}

TEST_F(PlaylistModelTest, TheOpenedFileMayBeOutsideTheSeries) {
  // A key too short to match even itself, and no neighbour one run apart.
  MakeFiles({u"ab1234.mkv"_s, u"cd1235.mkv"_s});
  model_.ReplaceWithSeries(MediaDir() + u"/ab1234.mkv"_s);
  ASSERT_EQ(model_.Items().size(), 1u);
  EXPECT_EQ(model_.CurrentIndex(), 0);
}

TEST_F(PlaylistModelTest, ResultsFollowTheirItemsThroughASortAndAreDroppedAfterAClear) {
  QStringList names;
  for (int i = 0; i < 300; ++i) names << u"Episode %1.mkv"_s.arg(1000 + i);
  for (const QString& name : names) MakeFile(name, 7);
  model_.ReplaceWithSeries(MediaDir() + u"/Episode 1000.mkv"_s);
  // Reorder at once, while the worker may still be reading.
  model_.SortByColumn(PlaylistModel::kSortByName);
  model_.SortByColumn(PlaylistModel::kSortByName);  // descending
  ASSERT_TRUE(
      WaitUntil([&] { return !view_.progress.empty() && view_.progress.back().first == 300; }));
  for (const PlaylistItem& item : model_.Items())
    EXPECT_EQ(item.file_size, 7u) << item.file_name.toStdString();

  model_.ReplaceWithSeries(MediaDir() + u"/Episode 1000.mkv"_s);
  model_.Clear();  // does not stop the worker; its results find no items
  WaitUntil([&] { return !model_.IsWorkerRunning(); });
  WaitUntil([] { return false; }, 50);
  EXPECT_TRUE(model_.Items().empty());
}

TEST_F(PlaylistModelTest, AReplacedWorkerDeliversNothingMore) {
  QStringList names;
  for (int i = 0; i < 400; ++i) names << u"Episode %1.mkv"_s.arg(1000 + i);
  for (const QString& name : names) MakeFile(name, 3);
  model_.ReplaceWithSeries(MediaDir() + u"/Episode 1000.mkv"_s);
  model_.ReplaceWithSeries(MediaDir() + u"/Episode 1001.mkv"_s);
  ASSERT_TRUE(WaitUntil([&] { return !model_.IsWorkerRunning(); }));
  WaitUntil([] { return false; }, 100);  // let queued deliveries arrive
  // One full run of progress, from the second worker only.
  ASSERT_FALSE(view_.progress.empty());
  int finals = 0;
  for (const auto& [done, total] : view_.progress) finals += done == total;
  EXPECT_EQ(finals, 1);
  EXPECT_EQ(model_.CurrentIndex(), 1);
}

TEST_F(PlaylistModelTest, StoppingAndDestroyingDuringTheWorkIsQuickAndSafe) {
  QStringList names;
  for (int i = 0; i < 3000; ++i) names << u"Episode %1.mkv"_s.arg(1000 + i);
  MakeLinkedFiles(names);
  for (int round = 0; round < 5; ++round) {
    auto model = std::make_unique<PlaylistModel>(db_);
    RecordingView view;
    model->SetView(&view);
    model->ReplaceWithSeries(MediaDir() + u"/Episode 1000.mkv"_s);
    QElapsedTimer timer;
    timer.start();
    model.reset();  // stops the worker; pending deliveries die with the model
    EXPECT_LT(timer.elapsed(), 250);
    WaitUntil([] { return false; }, 20);
  }
}

// -- Filter, lookup, current item --

TEST_F(PlaylistModelTest, FilterSearchesNamesOnlyWithCaseIgnored) {
  std::vector<PlaylistItem> items;
  for (const char16_t* name : {u"Alpha.mkv", u"beta.mkv", u"GAMMA.mkv", u"delta.mp4"}) {
    PlaylistItem item = Named(QString::fromUtf16(name));
    item.file_path = u"/zzz/"_s + item.file_name;  // the folder never matches
    items.push_back(item);
  }
  model_.SetItems(std::move(items));
  model_.SetSearchText(u"A.MK"_s);
  EXPECT_EQ(model_.Filtered(), (std::vector<int>{0, 1, 2}));
  model_.SetSearchText(u"z"_s);
  EXPECT_TRUE(model_.Filtered().empty());
  EXPECT_EQ(view_.rowCounts.back(), 0);
  model_.SetSearchText(u"mp4"_s);
  EXPECT_EQ(model_.Filtered(), std::vector<int>{3});
  model_.SetSearchText(QString());
  EXPECT_EQ(model_.Filtered().size(), 4u);
  EXPECT_EQ(view_.rowCounts.back(), 4);
  EXPECT_GE(view_.erasingRedraws, 4);
}

TEST_F(PlaylistModelTest, FindByPathIgnoresCaseAndTakesTheFirst) {
  Fill({u"a.mkv"_s, u"B.mkv"_s, u"b.mkv"_s});
  EXPECT_EQ(model_.FindByPath(u"/MEDIA/b.MKV"_s), 1);
  EXPECT_EQ(model_.FindByPath(u"/media/c.mkv"_s), -1);
  EXPECT_EQ(model_.FindByPath(u"/media/b.mkv2"_s), -1);
}

TEST_F(PlaylistModelTest, SetCurrentByPathScrollsOnlyToAVisibleRow) {
  Fill({u"a.mkv"_s, u"b.mkv"_s, u"c.mkv"_s});
  model_.SetSearchText(u"c"_s);
  model_.SetCurrentByPath(u"/media/C.mkv"_s);
  EXPECT_EQ(model_.CurrentIndex(), 2);
  EXPECT_EQ(view_.visibleRows, std::vector<int>{0});
  model_.SetCurrentByPath(u"/media/a.mkv"_s);
  EXPECT_EQ(model_.CurrentIndex(), 0);
  EXPECT_EQ(view_.visibleRows.size(), 1u);  // hidden by the search: no scroll
  model_.SetCurrentByPath(u"/elsewhere.mkv"_s);
  EXPECT_EQ(model_.CurrentIndex(), -1);
}

TEST_F(PlaylistModelTest, NextAndPreviousStopAtTheEnds) {
  Fill({u"a.mkv"_s, u"b.mkv"_s, u"c.mkv"_s});
  EXPECT_TRUE(model_.NextFile().isEmpty());  // nothing current
  model_.SetCurrentIndex(0);
  EXPECT_EQ(model_.NextFile(), u"/media/b.mkv"_s);
  EXPECT_EQ(model_.NextFile(), u"/media/c.mkv"_s);
  EXPECT_TRUE(model_.NextFile().isEmpty());
  EXPECT_EQ(model_.CurrentIndex(), 2);
  EXPECT_EQ(model_.PreviousFile(), u"/media/b.mkv"_s);
  EXPECT_EQ(model_.PreviousFile(), u"/media/a.mkv"_s);
  EXPECT_TRUE(model_.PreviousFile().isEmpty());
  EXPECT_EQ(view_.visibleRows, (std::vector<int>{1, 2, 1, 0}));
}

TEST_F(PlaylistModelTest, UpdateMetadataWritesTheRowWhileItsIdIsFresh) {
  Fill({u"a.mkv"_s, u"b.mkv"_s});
  model_.SaveToDatabase();
  PlaylistModel restored(db_);
  restored.RestoreFromDatabase();
  restored.UpdateMetadata(u"/MEDIA/B.mkv"_s, 321.5, u"H.264/AAC"_s);
  EXPECT_EQ(restored.Items()[1].duration, 321.5);
  EXPECT_EQ(restored.Items()[1].codec_info, u"H.264/AAC"_s);
  EXPECT_EQ(QueryColumn(DbPath(),
                        "SELECT duration || ' ' || codec_info FROM playlist "
                        "WHERE sort_order = 1;"),
            std::vector<std::string>{"321.5 H.264/AAC"});
  // An empty codec text keeps the old one; the duration is written whatever it is.
  restored.UpdateMetadata(u"/media/b.mkv"_s, 0, QString());
  EXPECT_EQ(restored.Items()[1].codec_info, u"H.264/AAC"_s);
  EXPECT_EQ(restored.Items()[1].duration, 0);
  // After a save the ids are stale: the update reaches memory only, until the next save.
  restored.SaveToDatabase();
  restored.UpdateMetadata(u"/media/a.mkv"_s, 60, u"VP9"_s);
  EXPECT_EQ(QueryColumn(DbPath(), "SELECT duration FROM playlist WHERE sort_order = 0;"),
            std::vector<std::string>{"0.0"});
  restored.SaveToDatabase();
  EXPECT_EQ(QueryColumn(DbPath(), "SELECT duration FROM playlist WHERE sort_order = 0;"),
            std::vector<std::string>{"60.0"});
  restored.UpdateMetadata(u"/media/none.mkv"_s, 1, u"x"_s);  // no match: nothing
}

// -- Sorting --

TEST_F(PlaylistModelTest, SortByNameIsNaturalAndTheCurrentItemIsFollowed) {
  Fill({u"Ep 10.mkv"_s, u"ep 2.mkv"_s, u"Ep 1.mkv"_s, u"Bonus.mkv"_s}, 1);
  model_.SortByColumn(PlaylistModel::kSortByName);
  EXPECT_EQ(NamesOf(model_.Items()),
            (QStringList{u"Bonus.mkv"_s, u"Ep 1.mkv"_s, u"ep 2.mkv"_s, u"Ep 10.mkv"_s}));
  EXPECT_EQ(model_.CurrentIndex(), 2);
  EXPECT_EQ(model_.SortColumn(), 0);
  EXPECT_TRUE(model_.SortAscending());
  EXPECT_EQ(SavedNames(), NamesOf(model_.Items()));
  model_.SortByColumn(PlaylistModel::kSortByName);  // same column flips
  EXPECT_FALSE(model_.SortAscending());
  EXPECT_EQ(NamesOf(model_.Items()),
            (QStringList{u"Ep 10.mkv"_s, u"ep 2.mkv"_s, u"Ep 1.mkv"_s, u"Bonus.mkv"_s}));
  EXPECT_EQ(model_.CurrentIndex(), 1);
  model_.SortByColumn(PlaylistModel::kSortBySize);  // a new column starts ascending
  EXPECT_TRUE(model_.SortAscending());
}

TEST_F(PlaylistModelTest, SortWithoutACurrentItemLeavesItAtMinusOne) {
  Fill({u"b.mkv"_s, u"a.mkv"_s});
  model_.SortByColumn(PlaylistModel::kSortByName);
  EXPECT_EQ(model_.CurrentIndex(), -1);
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"a.mkv"_s, u"b.mkv"_s}));
}

TEST_F(PlaylistModelTest, NumericColumnsSortByValue) {
  std::vector<PlaylistItem> items = {
      Named(u"huge"_s, ~uint64_t{0}, 5, 3),
      Named(u"small"_s, 10, 3600.5, 1),
      Named(u"mid"_s, uint64_t{1} << 40, 0.25, ~uint64_t{0}),
  };
  model_.SetItems(items);
  model_.SortByColumn(PlaylistModel::kSortBySize);
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"small"_s, u"mid"_s, u"huge"_s}));
  model_.SortByColumn(PlaylistModel::kSortByDuration);
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"mid"_s, u"huge"_s, u"small"_s}));
  model_.SortByColumn(PlaylistModel::kSortByDate);
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"small"_s, u"huge"_s, u"mid"_s}));
  model_.SortByColumn(PlaylistModel::kSortByDate);
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"mid"_s, u"huge"_s, u"small"_s}));
}

TEST_F(PlaylistModelTest, SortingDuringASearchSortsTheWholeList) {
  Fill({u"c1.mkv"_s, u"x.mkv"_s, u"a1.mkv"_s, u"b.mkv"_s});
  model_.SetSearchText(u"1"_s);
  model_.SortByColumn(PlaylistModel::kSortByName);
  EXPECT_EQ(NamesOf(model_.Items()),
            (QStringList{u"a1.mkv"_s, u"b.mkv"_s, u"c1.mkv"_s, u"x.mkv"_s}));
  EXPECT_EQ(model_.Filtered(), (std::vector<int>{0, 2}));
}

TEST_F(PlaylistModelTest, WithDuplicatesTheMarkerLandsOnTheFirstCopy) {
  Fill({u"b.mkv"_s, u"c.mkv"_s, u"a.mkv"_s, u"c.mkv"_s}, 3);
  model_.SortByColumn(PlaylistModel::kSortByName);
  EXPECT_EQ(model_.CurrentIndex(), 2);
}

TEST_F(PlaylistModelTest, SortByNameKeepsTheMarkersRowNumber) {
  Fill({u"b.mkv"_s, u"a.mkv"_s, u"c.mkv"_s}, 0);
  model_.SortByName();
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"a.mkv"_s, u"b.mkv"_s, u"c.mkv"_s}));
  EXPECT_EQ(model_.CurrentIndex(), 0);  // now on a.mkv, not on b.mkv
  EXPECT_EQ(model_.SortColumn(), -1);   // the sort state is left alone
  EXPECT_EQ(SavedNames(), NamesOf(model_.Items()));
  // With a duplicate the marker falls back to the earlier copy.
  Fill({u"b.mkv"_s, u"a.mkv"_s, u"a.mkv"_s}, 0);
  model_.SortByName();
  EXPECT_EQ(model_.CurrentIndex(), 0);
  Fill({u"c.mkv"_s, u"a.mkv"_s, u"a.mkv"_s}, 2);
  model_.SortByName();  // row 2 now holds c.mkv; its first copy is row 2
  EXPECT_EQ(model_.CurrentIndex(), 2);
  Fill({u"a.mkv"_s, u"c.mkv"_s, u"a.mkv"_s}, 1);
  model_.SortByName();  // row 1 holds a copy of a.mkv: the first copy wins
  EXPECT_EQ(model_.CurrentIndex(), 0);
}

// -- Moves --

TEST_F(PlaylistModelTest, MoveItemAdjustsTheCurrentIndex) {
  const QStringList names = {u"0"_s, u"1"_s, u"2"_s, u"3"_s, u"4"_s};
  struct Case {
    int from, to, current, expected;
  } cases[] = {
      {1, 3, 1, 3},                // the current item moves with it
      {1, 3, 2, 1},                // between, moving down: drops
      {1, 3, 3, 2},                // at the target, moving down: drops
      {1, 3, 4, 4},                // beyond: stays
      {1, 3, 0, 0}, {3, 1, 1, 2},  // at the target, moving up: rises
      {3, 1, 2, 3}, {3, 1, 3, 1}, {3, 1, 4, 4}, {3, 1, -1, -1},
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
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"4"_s, u"0"_s, u"1"_s, u"2"_s, u"3"_s}));
}

TEST_F(PlaylistModelTest, UpAndDownSwapWithoutMovingTheMarkerAndDoNotSave) {
  Fill({u"a"_s, u"b"_s, u"c"_s}, 1);
  model_.SaveToDatabase();
  view_.selection = {1};
  model_.MoveSelectedUp();
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"b"_s, u"a"_s, u"c"_s}));
  EXPECT_EQ(model_.CurrentIndex(), 1);  // the marker now sits on "a"
  EXPECT_EQ(view_.selection, std::vector<int>{0});
  EXPECT_EQ(view_.clearSelections, 1);
  model_.MoveSelectedUp();  // row 0: nothing
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"b"_s, u"a"_s, u"c"_s}));
  EXPECT_EQ(view_.clearSelections, 1);
  model_.MoveSelectedDown();
  model_.MoveSelectedDown();
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"a"_s, u"c"_s, u"b"_s}));
  EXPECT_EQ(view_.selection, std::vector<int>{2});
  model_.MoveSelectedDown();  // last row: nothing
  EXPECT_EQ(view_.selection, std::vector<int>{2});
  EXPECT_EQ(SavedNames(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));  // no save
}

TEST_F(PlaylistModelTest, UpSwapsWithTheNeighbouringVisibleItemDuringASearch) {
  Fill({u"x1"_s, u"a"_s, u"b"_s, u"c"_s, u"x2"_s});
  model_.SetSearchText(u"x"_s);
  view_.selection = {1};
  model_.MoveSelectedUp();
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"x2"_s, u"a"_s, u"b"_s, u"c"_s, u"x1"_s}));
  EXPECT_EQ(view_.selection, std::vector<int>{0});
}

TEST_F(PlaylistModelTest, TopAndBottomMoveTheItemAndTheMarkerFollows) {
  Fill({u"a"_s, u"b"_s, u"c"_s, u"d"_s}, 2);
  view_.selection = {2, 3};  // the first selected row counts
  model_.MoveSelectedTop();
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"c"_s, u"a"_s, u"b"_s, u"d"_s}));
  EXPECT_EQ(model_.CurrentIndex(), 0);
  EXPECT_EQ(view_.selection, std::vector<int>{0});
  model_.MoveSelectedBottom();
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"a"_s, u"b"_s, u"d"_s, u"c"_s}));
  EXPECT_EQ(model_.CurrentIndex(), 3);
  EXPECT_EQ(view_.selection, std::vector<int>{3});
  model_.MoveSelectedBottom();  // already last: nothing
  view_.selection.clear();
  model_.MoveSelectedTop();  // nothing selected: nothing
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"a"_s, u"b"_s, u"d"_s, u"c"_s}));
  EXPECT_TRUE(SavedNames().isEmpty());
}

TEST_F(PlaylistModelTest, BottomDuringASearchMovesToTheEndOfTheWholeList) {
  Fill({u"x1"_s, u"a"_s, u"x2"_s, u"b"_s});
  model_.SetSearchText(u"x"_s);
  view_.selection = {0};
  model_.MoveSelectedBottom();
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"a"_s, u"x2"_s, u"b"_s, u"x1"_s}));
  EXPECT_EQ(view_.selection, std::vector<int>{1});
}

// -- Removing --

TEST_F(PlaylistModelTest, RemoveSelectedFixesTheMarkerAndSaves) {
  Fill({u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s}, 3);
  view_.selection = {0, 2};
  model_.RemoveSelected();
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"b"_s, u"d"_s, u"e"_s}));
  EXPECT_EQ(model_.CurrentIndex(), 1);  // still on "d"
  EXPECT_EQ(SavedNames(), NamesOf(model_.Items()));
  EXPECT_EQ(view_.selectedRows.back(), 0);

  view_.selection = {1, 2};  // the current item goes: nothing is current
  model_.RemoveSelected();
  EXPECT_EQ(NamesOf(model_.Items()), QStringList{u"b"_s});
  EXPECT_EQ(model_.CurrentIndex(), -1);
  EXPECT_TRUE(model_.NextFile().isEmpty());
  EXPECT_EQ(view_.selectedRows.back(), 0);  // clamped to the last row

  view_.selection = {0};
  const size_t selectCalls = view_.selectedRows.size();
  model_.RemoveSelected();
  EXPECT_TRUE(model_.Items().empty());
  EXPECT_EQ(view_.selectedRows.size(), selectCalls);  // no row left to select
  view_.selection.clear();
  model_.RemoveSelected();  // nothing selected: nothing
}

TEST_F(PlaylistModelTest, RemoveSelectedMapsRowsThroughTheFilter) {
  Fill({u"x1"_s, u"a"_s, u"x2"_s, u"b"_s}, 3);
  model_.SetSearchText(u"x"_s);
  view_.selection = {1};
  model_.RemoveSelected();
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"x1"_s, u"a"_s, u"b"_s}));
  EXPECT_EQ(model_.CurrentIndex(), 2);
}

TEST_F(PlaylistModelTest, RemoveDuplicatesKeepsTheFirstOfEachPath) {
  std::vector<PlaylistItem> items = {Named(u"a"_s), Named(u"B"_s), Named(u"b"_s), Named(u"a"_s),
                                     Named(u"c"_s)};
  items[2].file_path = u"/MEDIA/B"_s;  // same path in another case
  items[3].file_size = 99;
  model_.SetItems(items);
  model_.SetCurrentIndex(3);  // the second copy of a
  model_.RemoveDuplicates();
  EXPECT_EQ(NamesOf(model_.Items()), (QStringList{u"a"_s, u"B"_s, u"c"_s}));
  EXPECT_EQ(model_.Items()[0].file_size, 0u);
  EXPECT_EQ(model_.CurrentIndex(), 0);
  EXPECT_EQ(SavedNames(), NamesOf(model_.Items()));
  model_.SetCurrentIndex(-1);
  model_.RemoveDuplicates();
  EXPECT_EQ(model_.CurrentIndex(), -1);
}

// -- Clear, save and restart --

TEST_F(PlaylistModelTest, ClearEmptiesAndPersists) {
  Fill({u"a"_s, u"b"_s}, 1);
  model_.SaveToDatabase();
  model_.Clear();
  EXPECT_TRUE(model_.Items().empty());
  EXPECT_TRUE(model_.Filtered().empty());
  EXPECT_EQ(model_.CurrentIndex(), -1);
  EXPECT_TRUE(SavedNames().isEmpty());
}

TEST_F(PlaylistModelTest, AListSurvivesARestart) {
  for (int i = 1; i <= 12; ++i) MakeFile(u"Series.%1.mkv"_s.arg(1000 + i), i);
  model_.ReplaceWithSeries(MediaDir() + u"/Series.1003.mkv"_s);
  ASSERT_TRUE(
      WaitUntil([&] { return !view_.progress.empty() && view_.progress.back().first == 12; }));
  model_.UpdateMetadata(MediaDir() + u"/Series.1003.mkv"_s, 42.0, u"AV1"_s);
  model_.SaveToDatabase();

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
  EXPECT_EQ(restarted.Items()[4].file_size, 5u);
  EXPECT_EQ(restarted.Filtered().size(), 12u);
  EXPECT_EQ(view.rowCounts.back(), 12);
  // A file that has gone stays listed with its stored values.
  ASSERT_TRUE(QFile::remove(MediaDir() + u"/Series.1005.mkv"_s));
  PlaylistDatabase thirdDb;
  PlaylistModel third(thirdDb);
  third.RestoreFromDatabase();
  EXPECT_EQ(third.Items()[4].file_size, 5u);
}

TEST_F(PlaylistModelTest, RestoreCanBeSwitchedOff) {
  Fill({u"a"_s});
  model_.SaveToDatabase();
  ASSERT_TRUE(Settings::SetDword(setting::kPlaylistRestoreOnStartup, 0));
  PlaylistDatabase db;
  PlaylistModel restarted(db);
  restarted.RestoreFromDatabase();
  EXPECT_TRUE(db.IsOpen());
  EXPECT_TRUE(restarted.Items().empty());
}

}  // namespace
}  // namespace zelvaro::test
