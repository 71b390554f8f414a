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
};

// The default group is named once, in the language of its creation, and
// comes back only when no group is left.
TEST_F(FavoritesDatabaseTest, DefaultGroupIsNamedAtItsCreation) {
  LanguageManager::Instance().SetLanguage(u"ko"_s);
  {
    PlaylistDatabase db;
    FavoritesDatabase favorites(db);
    ASSERT_EQ(favorites.Groups().size(), 1u);
    EXPECT_EQ(favorites.Groups()[0].name, u"기본"_s);
    EXPECT_EQ(favorites.Groups()[0].sort_order, 1);
    EXPECT_TRUE(db.IsOpen());  // the start opened the playlist store
    ASSERT_TRUE(favorites.AddGroup(u"Films"_s));
  }
  LanguageManager::Instance().SetLanguage(u"en"_s);
  const auto names = [] {
    PlaylistDatabase db;
    FavoritesDatabase favorites(db);
    QStringList names;
    for (const auto& group : favorites.Groups()) names << group.name;
    return names;
  };
  EXPECT_EQ(names(), (QStringList{u"기본"_s, u"Films"_s}));
  ASSERT_TRUE(ExecRaw(DbPath(), "DELETE FROM favorite_groups WHERE sort_order = 1;"));
  EXPECT_EQ(names(), QStringList{u"Films"_s});
  ASSERT_TRUE(ExecRaw(DbPath(), "DELETE FROM favorite_groups;"));
  EXPECT_EQ(names(), QStringList{u"Default"_s});
  ASSERT_TRUE(ExecRaw(DbPath(), "DELETE FROM favorite_groups;"));
  LanguageManager::Instance().ResetForTesting();
  EXPECT_EQ(names(), QStringList{u"Favorites.DefaultGroup"_s});
}

TEST_F(FavoritesDatabaseTest, GroupNamesAreUniqueExactlyAndLimitedToFifty) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  EXPECT_FALSE(favorites.AddGroup(QString()));
  EXPECT_FALSE(favorites.AddGroup(u"Default"_s));
  EXPECT_TRUE(favorites.AddGroup(u"default"_s));  // case-sensitive names
  EXPECT_EQ(favorites.Groups()[1].sort_order, 2);
  EXPECT_TRUE(favorites.RenameGroup(1, u"default"_s));  // its own name passes
  EXPECT_FALSE(favorites.RenameGroup(1, u"Default"_s));
  EXPECT_FALSE(favorites.RenameGroup(1, QString()));
  EXPECT_FALSE(favorites.RenameGroup(2, u"X"_s));
  EXPECT_FALSE(favorites.RenameGroup(-1, u"X"_s));
  EXPECT_TRUE(favorites.RenameGroup(1, u"Movies"_s));
  for (int i = 2; i < FavoritesDatabase::kMaxGroups; ++i)
    ASSERT_TRUE(favorites.AddGroup(u"Group %1"_s.arg(i)));
  EXPECT_FALSE(favorites.AddGroup(u"One too many"_s));
  EXPECT_EQ(Rows("favorite_groups"), 50);
  PlaylistDatabase db2;
  FavoritesDatabase reloaded(db2);
  EXPECT_EQ(reloaded.Groups()[1].name, u"Movies"_s);
}

TEST_F(FavoritesDatabaseTest, ItemsRoundTripAndReAddUpdatesThePosition) {
  {
    PlaylistDatabase db;
    FavoritesDatabase favorites(db);
    ASSERT_TRUE(favorites.AddItem(0, u"/m/Movie.mkv"_s, 0.0));
    ASSERT_TRUE(favorites.AddItem(0, u"https://host/live/stream"_s, 12.5));
    ASSERT_TRUE(favorites.AddItem(0, u"/m/gone.mkv"_s, 0.0));
    const FavoriteItem& first = favorites.Groups()[0].items[0];
    EXPECT_EQ(first.file_name, u"Movie.mkv"_s);
    EXPECT_EQ(first.group_id, favorites.Groups()[0].id);
    // A path differing only in case is the same item: its position changes.
    ASSERT_TRUE(favorites.AddItem(0, u"/m/MOVIE.mkv"_s, 95.25));
    EXPECT_FALSE(favorites.AddItem(3, u"/m/x.mkv"_s, 0));
    // Removing leaves a gap in the order; the next item goes after the last.
    EXPECT_FALSE(favorites.RemoveItem(0, 3));
    ASSERT_TRUE(favorites.RemoveItem(0, 1));
    ASSERT_TRUE(favorites.AddItem(0, u"/m/d.mkv"_s, 0));
    FavoriteItem item = favorites.Groups()[0].items[2];
    item.position = 33;
    EXPECT_TRUE(favorites.UpdateItem(item));
  }
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  const auto& items = favorites.Groups()[0].items;
  ASSERT_EQ(items.size(), 3u);
  const std::tuple<QString, double, int> expected[] = {
      {u"/m/Movie.mkv"_s, 95.25, 1}, {u"/m/gone.mkv"_s, 0, 3}, {u"/m/d.mkv"_s, 33, 4}};
  for (size_t i = 0; i < items.size(); ++i) {
    EXPECT_EQ(std::tie(items[i].file_path, items[i].position, items[i].sort_order), expected[i]);
  }
}

TEST_F(FavoritesDatabaseTest, LimitsAndDeletesReachTheTable) {
  PlaylistDatabase db;
  FavoritesDatabase favorites(db);
  for (int i = 0; i < FavoritesDatabase::kMaxItems; ++i)
    ASSERT_TRUE(favorites.AddItem(0, u"/m/%1.mkv"_s.arg(i), 0));
  EXPECT_FALSE(favorites.AddItem(0, u"/m/extra.mkv"_s, 0));
  EXPECT_TRUE(favorites.AddItem(0, u"/m/7.MKV"_s, 70));  // a re-add still works when full
  EXPECT_EQ(favorites.Groups()[0].items[7].position, 70);
  EXPECT_EQ(Rows("favorite_items"), 100);

  ASSERT_TRUE(favorites.AddGroup(u"Films"_s));
  ASSERT_TRUE(favorites.AddItem(1, u"/m/b.mkv"_s, 0));
  ASSERT_TRUE(favorites.AddItem(1, u"/m/c.mkv"_s, 0));
  favorites.ClearGroup(0);
  favorites.ClearGroup(5);
  EXPECT_TRUE(favorites.Groups()[0].items.empty());
  EXPECT_EQ(Rows("favorite_items"), 2);
  EXPECT_FALSE(favorites.DeleteGroup(2));
  ASSERT_TRUE(favorites.DeleteGroup(1));  // its items go with it
  EXPECT_EQ(Rows("favorite_items"), 0);
  ASSERT_EQ(favorites.Groups().size(), 1u);
}

}  // namespace
}  // namespace zelvaro::test
