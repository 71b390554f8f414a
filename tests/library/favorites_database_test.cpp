#include "library/favorites_database.h"

#include "foundation/language_manager.h"
#include "tests/library/library_test_support.h"
#include "tests/support/test_paths.h"

namespace zelvaro::test {
namespace {

using namespace Qt::StringLiterals;

class FavoritesDatabaseTest : public LibraryTest {
 protected:
  void SetUp() override {
    LanguageManager::Instance().ResetForTesting();
    LanguageManager::Instance().Initialize(SourceDir() + u'/', QLocale::English);
  }
  void TearDown() override { LanguageManager::Instance().ResetForTesting(); }
  int Count(const char* sql) { return std::stoi(QueryColumn(DbPath(), sql).at(0)); }
};

TEST_F(FavoritesDatabaseTest, FirstStartMakesTheDefaultGroup) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  ASSERT_EQ(favorites.Groups().size(), 1u);
  EXPECT_EQ(favorites.Groups()[0].name, u"Default"_s);
  EXPECT_EQ(favorites.Groups()[0].sort_order, 1);
  EXPECT_TRUE(favorites.Groups()[0].items.empty());
  EXPECT_TRUE(db.IsOpen());  // the start opened the playlist store
}

TEST_F(FavoritesDatabaseTest, DefaultGroupIsNamedInTheLanguageInForce) {
  LanguageManager::Instance().SetLanguage(u"ko"_s);
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  ASSERT_EQ(favorites.Groups().size(), 1u);
  EXPECT_EQ(favorites.Groups()[0].name, u"기본"_s);
  // A later language switch is not noticed: the group keeps its name.
  LanguageManager::Instance().SetLanguage(u"en"_s);
  PlaylistDatabase db2;
  FavoritesDatabase again(db2);
  ASSERT_EQ(again.Groups().size(), 1u);
  EXPECT_EQ(again.Groups()[0].name, u"기본"_s);
}

TEST_F(FavoritesDatabaseTest, WithoutALanguageTheKeyNamesTheGroup) {
  LanguageManager::Instance().ResetForTesting();
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  ASSERT_EQ(favorites.Groups().size(), 1u);
  EXPECT_EQ(favorites.Groups()[0].name, u"Favorites.DefaultGroup"_s);
}

TEST_F(FavoritesDatabaseTest, DefaultGroupReturnsOnlyWhenNoGroupIsLeft) {
  {
    PlaylistDatabase db;
    FavoritesDatabase favorites(db);
    ASSERT_TRUE(favorites.AddGroup(u"Films"_s));
  }
  ASSERT_TRUE(ExecRaw(DbPath(), "DELETE FROM favorite_groups WHERE name = 'Default';"));
  {
    PlaylistDatabase db;
    FavoritesDatabase favorites(db);
    ASSERT_EQ(favorites.Groups().size(), 1u);
    EXPECT_EQ(favorites.Groups()[0].name, u"Films"_s);
  }
  ASSERT_TRUE(ExecRaw(DbPath(), "DELETE FROM favorite_groups;"));
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  ASSERT_EQ(favorites.Groups().size(), 1u);
  EXPECT_EQ(favorites.Groups()[0].name, u"Default"_s);
}

TEST_F(FavoritesDatabaseTest, GroupNamesAreCheckedExactlyAndLimitedToFifty) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  EXPECT_FALSE(favorites.AddGroup(QString()));
  EXPECT_FALSE(favorites.AddGroup(u"Default"_s));
  EXPECT_TRUE(favorites.AddGroup(u"default"_s));  // case-sensitive names
  EXPECT_EQ(favorites.Groups()[1].sort_order, 2);
  for (int i = 2; i < FavoritesDatabase::kMaxGroups; ++i)
    ASSERT_TRUE(favorites.AddGroup(u"Group %1"_s.arg(i)));
  EXPECT_EQ(favorites.Groups().size(), 50u);
  EXPECT_FALSE(favorites.AddGroup(u"One too many"_s));
  EXPECT_EQ(Count("SELECT COUNT(*) FROM favorite_groups;"), 50);
}

TEST_F(FavoritesDatabaseTest, RenameChecksOtherGroupsOnly) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  ASSERT_TRUE(favorites.AddGroup(u"Films"_s));
  EXPECT_TRUE(favorites.RenameGroup(1, u"Films"_s));  // its own name passes
  EXPECT_FALSE(favorites.RenameGroup(1, u"Default"_s));
  EXPECT_FALSE(favorites.RenameGroup(1, QString()));
  EXPECT_FALSE(favorites.RenameGroup(2, u"X"_s));
  EXPECT_FALSE(favorites.RenameGroup(-1, u"X"_s));
  EXPECT_TRUE(favorites.RenameGroup(1, u"Movies"_s));
  PlaylistDatabase db2;
  FavoritesDatabase reloaded(db2);
  ASSERT_EQ(reloaded.Groups().size(), 2u);
  EXPECT_EQ(reloaded.Groups()[1].name, u"Movies"_s);
}

TEST_F(FavoritesDatabaseTest, ItemsRoundTripAndReAddUpdatesThePosition) {
  {
    PlaylistDatabase db;
    FavoritesDatabase favorites(db);
    ASSERT_TRUE(favorites.AddItem(0, u"/m/Movie.mkv"_s, 0.0));
    ASSERT_TRUE(favorites.AddItem(0, u"https://host/live/stream"_s, 12.5));
    const FavoriteItem& first = favorites.Groups()[0].items[0];
    EXPECT_EQ(first.file_name, u"Movie.mkv"_s);
    EXPECT_EQ(first.sort_order, 1);
    EXPECT_EQ(favorites.Groups()[0].items[1].sort_order, 2);
    EXPECT_EQ(first.group_id, favorites.Groups()[0].id);
    // A path differing only in case is the same item: its position changes.
    ASSERT_TRUE(favorites.AddItem(0, u"/m/MOVIE.mkv"_s, 95.25));
    EXPECT_EQ(favorites.Groups()[0].items.size(), 2u);
    EXPECT_FALSE(favorites.AddItem(3, u"/m/x.mkv"_s, 0));
  }
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  const auto& items = favorites.Groups()[0].items;
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].file_path, u"/m/Movie.mkv"_s);
  EXPECT_EQ(items[0].position, 95.25);
  EXPECT_EQ(items[1].file_path, u"https://host/live/stream"_s);
  EXPECT_EQ(items[1].position, 12.5);
}

TEST_F(FavoritesDatabaseTest, AGroupHoldsAHundredItemsButReAddsStillWork) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  for (int i = 0; i < FavoritesDatabase::kMaxItems; ++i)
    ASSERT_TRUE(favorites.AddItem(0, u"/m/%1.mkv"_s.arg(i), 0));
  EXPECT_FALSE(favorites.AddItem(0, u"/m/extra.mkv"_s, 0));
  EXPECT_TRUE(favorites.AddItem(0, u"/m/7.MKV"_s, 70));
  EXPECT_EQ(favorites.Groups()[0].items[7].position, 70);
  EXPECT_EQ(Count("SELECT COUNT(*) FROM favorite_items;"), 100);
}

TEST_F(FavoritesDatabaseTest, DeletingAGroupCascadesToItsItems) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  ASSERT_TRUE(favorites.AddGroup(u"Films"_s));
  ASSERT_TRUE(favorites.AddItem(0, u"/m/a.mkv"_s, 0));
  ASSERT_TRUE(favorites.AddItem(1, u"/m/b.mkv"_s, 0));
  ASSERT_TRUE(favorites.AddItem(1, u"/m/c.mkv"_s, 0));
  EXPECT_FALSE(favorites.DeleteGroup(2));
  ASSERT_TRUE(favorites.DeleteGroup(1));
  ASSERT_EQ(favorites.Groups().size(), 1u);
  EXPECT_EQ(Count("SELECT COUNT(*) FROM favorite_items;"), 1);
  ASSERT_TRUE(favorites.DeleteGroup(0));
  EXPECT_EQ(Count("SELECT COUNT(*) FROM favorite_items;"), 0);
  EXPECT_TRUE(favorites.Groups().empty());
}

TEST_F(FavoritesDatabaseTest, RemovingItemsLeavesGapsInSortOrder) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  for (const char16_t* path : {u"/m/a.mkv", u"/m/b.mkv", u"/m/c.mkv"})
    ASSERT_TRUE(favorites.AddItem(0, QString::fromUtf16(path), 0));
  EXPECT_FALSE(favorites.RemoveItem(0, 3));
  ASSERT_TRUE(favorites.RemoveItem(0, 1));
  ASSERT_TRUE(favorites.AddItem(0, u"/m/d.mkv"_s, 0));
  PlaylistDatabase db2;
  FavoritesDatabase reloaded(db2);
  const auto& items = reloaded.Groups()[0].items;
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[0].sort_order, 1);
  EXPECT_EQ(items[1].sort_order, 3);
  EXPECT_EQ(items[2].sort_order, 4);
  EXPECT_EQ(items[2].file_path, u"/m/d.mkv"_s);
}

TEST_F(FavoritesDatabaseTest, UpdateItemWritesPositionAndOrder) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  ASSERT_TRUE(favorites.AddItem(0, u"/m/a.mkv"_s, 0));
  FavoriteItem item = favorites.Groups()[0].items[0];
  item.position = 33;
  item.sort_order = 9;
  EXPECT_TRUE(favorites.UpdateItem(item));
  EXPECT_EQ(QueryColumn(DbPath(), "SELECT position || ',' || sort_order FROM favorite_items;"),
            std::vector<std::string>{"33.0,9"});
}

TEST_F(FavoritesDatabaseTest, ClearGroupEmptiesTableAndMemory) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  ASSERT_TRUE(favorites.AddItem(0, u"/m/a.mkv"_s, 0));
  ASSERT_TRUE(favorites.AddItem(0, u"/m/b.mkv"_s, 0));
  favorites.ClearGroup(0);
  favorites.ClearGroup(5);
  EXPECT_TRUE(favorites.Groups()[0].items.empty());
  EXPECT_EQ(Count("SELECT COUNT(*) FROM favorite_items;"), 0);
}

TEST_F(FavoritesDatabaseTest, TheSecondConnectionHasForeignKeysOn) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  SqliteStatement pragma = PrepareStatement(favorites.GetConnection(), "PRAGMA foreign_keys;");
  ASSERT_EQ(sqlite3_step(pragma.get()), SQLITE_ROW);
  EXPECT_EQ(sqlite3_column_int(pragma.get(), 0), 1);
}

}  // namespace
}  // namespace zelvaro::test
