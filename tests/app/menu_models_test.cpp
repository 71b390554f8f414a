// The popup menus' rows from known engine and store states: order, ids,
// checks and greyed rows. No language file is loaded, so a text reads as its
// key.

#include "app/menu_models.h"
#include "app/commands.h"
#include "app/favorite_menu_ids.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvaro {
namespace {

// One row as a line: "key-or-text id [x] [-] [>]"; "---" for a separator.
// [x] checked, [-] greyed, [>] submenu.
std::string Describe(const MenuItem& row) {
  if (row.separator) return "---";
  std::string line = (row.key.isEmpty() ? row.text : row.key).toStdString();
  if (row.id != 0) line += " " + std::to_string(row.id);
  if (row.checked) line += " [x]";
  if (!row.enabled) line += " [-]";
  if (row.isSubmenu) line += " [>]";
  return line;
}

std::vector<std::string> Describe(const MenuModel& rows) {
  std::vector<std::string> lines;
  for (const MenuItem& row : rows) lines.push_back(Describe(row));
  return lines;
}

const MenuItem& SubmenuOf(const MenuModel& rows, const char* key) {
  for (const MenuItem& row : rows) {
    if (row.key == QLatin1String(key)) return row;
  }
  static const MenuItem kNone;
  ADD_FAILURE() << "no row " << key;
  return kNone;
}

using Lines = std::vector<std::string>;

// Row by row: the golden image lets two rows trade places unseen.
TEST(MenuModels, ContextMenuRowsInOrder) {
  const MenuModel rows = ContextMenuModel({}, {});
  EXPECT_EQ(Describe(rows), (Lines{"Menu.Open 5001",
                                   "Menu.OpenUrl 5002",
                                   "Menu.RecentFiles [>]",
                                   "Menu.Favorites [>]",
                                   "---",
                                   "Menu.Play [>]",
                                   "Menu.SpeedSubmenuFormat [>]",
                                   "---",
                                   "Menu.VideoSize [>]",
                                   "Menu.VideoRotate [>]",
                                   "---",
                                   "Menu.ABRepeat [>]",
                                   "---",
                                   "Menu.Subtitle [>]",
                                   "Menu.AudioTrack [>]",
                                   "Menu.LyricsPanel 5027",
                                   "---",
                                   "Menu.Screenshot 5014",
                                   "Menu.CutClip 5026",
                                   "---",
                                   "Menu.ControlPanel 5024",
                                   "Menu.FileInfo 5023",
                                   "---",
                                   "Menu.Settings 5020",
                                   "Menu.About 5021",
                                   "---",
                                   "Menu.Exit 5022"}));
  EXPECT_EQ(Describe(SubmenuOf(rows, "Menu.Play").submenu),
            (Lines{"Menu.PlayPause 5003", "Menu.Stop 5004", "Menu.Prev 5005", "Menu.Next 5006"}));
  EXPECT_EQ(
      Describe(SubmenuOf(rows, "Menu.VideoSize").submenu),
      (Lines{"Menu.Size25 5070", "Menu.Size50 5071", "Menu.Size75 5072", "Menu.Size100 5073",
             "Menu.Size150 5074", "Menu.Size200 5075", "---", "Menu.MonitorSize30 5080",
             "Menu.MonitorSize45 5081", "Menu.MonitorSize60 5082", "Menu.MonitorSize75 5083"}));
  EXPECT_EQ(
      Describe(SubmenuOf(rows, "Menu.VideoRotate").submenu),
      (Lines{"Menu.RotateReset 5060", "---", "Menu.RotateLeft270 5065", "Menu.RotateRight90 5066",
             "---", "Menu.RotateLeftContinuous 5061", "Menu.RotateRightContinuous 5062", "---",
             "Menu.FlipHorizontal 5063", "Menu.FlipVertical 5064"}));
  EXPECT_EQ(Describe(SubmenuOf(rows, "Menu.AudioTrack").submenu), (Lines{"Menu.NoItems [-]"}));
}

TEST(MenuModels, ABRepeatMarksCheckAndTitle) {
  const struct {
    int64_t markA, markB;
    bool aChecked, bChecked, clearable;
    const char* title;
  } cases[] = {
      {0, 0, false, false, false, "Menu.ABRepeat"},
      {50, 0, true, false, true, "Menu.ABRepeatMenu.ABRepeatHasA"},
      {50, 90, true, true, true, "Menu.ABRepeatMenu.ABRepeatActive"},
      {90, 50, true, true, true, "Menu.ABRepeatMenu.ABRepeatHasA"},  // B behind A: no loop
  };
  for (const auto& c : cases) {
    ContextMenuState state;
    state.markA = c.markA;
    state.markB = c.markB;
    const MenuModel rows = ContextMenuModel(state, {});
    const MenuItem& repeat = SubmenuOf(rows, "Menu.ABRepeat");
    const std::string checkA = c.aChecked ? " [x]" : "", checkB = c.bChecked ? " [x]" : "";
    EXPECT_EQ(
        Describe(repeat.submenu),
        (Lines{"Menu.ABRepeatPointA 5400" + checkA, "Menu.ABRepeatPointB 5401" + checkB, "---",
               c.clearable ? "Menu.ABRepeatClear 5402" : "Menu.ABRepeatClear 5402 [-]"}))
        << c.markA << " " << c.markB;
    EXPECT_EQ(repeat.text.toStdString(), c.title);
  }
}

TEST(MenuModels, SpeedChecksWithinAThousandth) {
  struct Case {
    double speed, frameRate;
    std::vector<int> checkedIds;
    size_t rows;
  };
  const Case cases[] = {
      {1.0, 0, {5034}, 17},
      {0.898, 0, {}, 17},
      {0.9005, 0, {5033}, 17},
      // 25 fps played as 30 (29.97 is 0.0012 away), the frame-rate rows after a separator.
      {1.2, 25.0, {5054}, 25},
      {1.0, 25.0, {5034, 5052}, 25},
  };
  for (const Case& c : cases) {
    const MenuModel rows = SpeedMenuModel(c.speed, c.frameRate);
    std::vector<int> checked;
    for (const MenuItem& row : rows)
      if (row.checked) checked.push_back(row.id);
    EXPECT_EQ(checked, c.checkedIds) << c.speed << " at " << c.frameRate;
    EXPECT_EQ(rows.size(), c.rows);
  }
  EXPECT_EQ(Describe(SpeedMenuModel(1.5, 0)).front(), "Menu.SpeedReset 5015");
  EXPECT_EQ(SpeedMenuModel(1.0, 30).back().id, ID_SPEED_FPS_LAST);
  ContextMenuState state;
  state.speed = 1.25;
  EXPECT_EQ(SubmenuOf(ContextMenuModel(state, {}), "Menu.SpeedSubmenuFormat").submenu.size(), 17u);
}

TEST(MenuModels, SubtitleMenuByTracksAndChoice) {
  struct Case {
    const char* name;
    SubtitleMenuState state;
    Lines rows;
  };
  const Case cases[] = {
      {"nothing", {}, {"Menu.SubtitleOpen 5351", "Menu.NoItems [-]"}},
      {"one PGS stream",
       {{QStringLiteral("English (PGS)")}, {}, -1, true, -1},
       {"Menu.SubtitleOpen 5351", "---", "Menu.SubtitleDisable 5350 [x]", "---",
        "English (PGS) 5300 [-]"}},
      {"side file shown",
       {{},
        {{QStringLiteral("movie.srt"), QStringLiteral("en")}, {QString(), QString()}},
        0,
        true,
        -1},
       {"Menu.SubtitleOpen 5351", "---", "Menu.SubtitleDisable 5350", "---",
        "movie.srt [en] 5300 [x]", "External subtitle 2 5301"}},
      {"side file, renderer off",
       {{}, {{QStringLiteral("movie.srt"), QString()}}, 0, false, -1},
       {"Menu.SubtitleOpen 5351", "---", "Menu.SubtitleDisable 5350 [x]", "---", "movie.srt 5300"}},
      {"embedded chosen hides side files",
       {{QString(), QStringLiteral("hdmv_pgs")},
        {{QStringLiteral("movie.srt"), QString()}},
        0,
        true,
        0},
       {"Menu.SubtitleOpen 5351", "---", "Menu.SubtitleDisable 5350", "---",
        "Embedded subtitle 1 5300 [x]", "hdmv_pgs 5301 [-]"}},
      {"side files after the streams",
       {{QStringLiteral("Korean")}, {{QStringLiteral("movie.srt"), QString()}}, 0, true, -1},
       {"Menu.SubtitleOpen 5351", "---", "Menu.SubtitleDisable 5350", "---", "Korean 5300", "---",
        "movie.srt 5301 [x]"}},
  };
  for (const Case& c : cases) {
    // Prefixes are language texts; without a language file they read as keys.
    Lines actual = Describe(SubtitleMenuModel(c.state));
    for (std::string& line : actual) {
      for (const auto& [key, text] :
           {std::pair{"Menu.EmbeddedSubtitlePrefix", "Embedded subtitle"},
            std::pair{"Menu.ExternalSubtitlePrefix", "External subtitle"}}) {
        if (line.rfind(key, 0) == 0) line.replace(0, std::string(key).size(), text);
      }
    }
    EXPECT_EQ(actual, c.rows) << c.name;
  }
}

TEST(MenuModels, AudioTracksRecentAndFavorites) {
  EXPECT_EQ(Describe(AudioTrackMenuModel({QStringLiteral("Korean"), QString()}, 1)),
            (Lines{"Korean 5200", "Menu.AudioTrackPrefix 2 5201 [x]"}));
  EXPECT_EQ(Describe(AudioTrackMenuModel({}, -1)), (Lines{"Menu.NoItems [-]"}));

  EXPECT_EQ(Describe(RecentMenuModel({})), (Lines{"(없음) 5100 [-]"}));
  std::vector<QString> recent;
  for (int i = 0; i < 12; ++i) recent.push_back(QStringLiteral("/m/dir\\clip%1.mkv").arg(i));
  recent[1] = QStringLiteral("/m/") + QString(300, u'n');
  const MenuModel recentRows = RecentMenuModel(recent);
  ASSERT_EQ(recentRows.size(), 12u);
  EXPECT_EQ(Describe(recentRows.front()), "&1. clip0.mkv 5100");
  EXPECT_EQ(recentRows[1].text,
            QStringLiteral("&2. ") + QString(247, u'n') + QStringLiteral("..."));
  EXPECT_EQ(Describe(recentRows[9]), "&10. clip9.mkv 5109");
  EXPECT_EQ(Describe(recentRows[10]), "---");
  EXPECT_EQ(Describe(recentRows[11]), "Menu.MRUClear 5110");

  EXPECT_EQ(Describe(FavoritesMenuModel({})),
            (Lines{"Menu.FavoritesAdd 5500", "Menu.FavoritesManage 5501", "---",
                   "Menu.FavoritesNoGroups [-]"}));
  std::vector<FavoriteGroup> groups(4);
  groups[0].name = QStringLiteral("Empty");
  groups[3].name = QStringLiteral("Big");
  for (int i = 0; i < 101; ++i) {
    FavoriteItem item;
    item.file_name = QStringLiteral("f%1").arg(i);
    item.position = i == 0 ? 0.5 : (i == 1 ? 125.0 : 3725.0);
    groups[3].items.push_back(item);
  }
  const MenuModel favoriteRows = FavoritesMenuModel(groups);
  ASSERT_EQ(favoriteRows.size(), 7u);
  EXPECT_EQ(Describe(favoriteRows[3].submenu), (Lines{"Menu.FavoritesEmpty [-]"}));
  const MenuModel& big = favoriteRows[6].submenu;
  ASSERT_EQ(big.size(), 102u);  // the first 100, a separator, remove all
  EXPECT_EQ(Describe(big[0]), "f0 " + std::to_string(FavoriteItemId(3, 0)));
  EXPECT_EQ(big[1].text.toStdString(), "f1 [02:05]");
  EXPECT_EQ(big[2].text.toStdString(), "f2 [1:02:05]");
  EXPECT_EQ(big[99].id, FavoriteItemId(3, 99));
  EXPECT_EQ(Describe(big[101]),
            "Menu.FavoritesRemoveAll " + std::to_string(FavoriteGroupClearId(3)));
  // Group 3's entries reach neither a group's clearing nor any other command.
  for (const MenuItem& row : big) {
    if (row.id == 0 || row.key == QLatin1String("Menu.FavoritesRemoveAll")) continue;
    EXPECT_EQ(FavoriteEntryFromId(row.id)->group, 3);
    EXPECT_FALSE(FavoriteGroupFromClearId(row.id).has_value());
  }
}

}  // namespace
}  // namespace zelvaro
