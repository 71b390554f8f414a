#include "app/menu_models.h"

#include "app/commands.h"
#include "app/favorite_menu_ids.h"
#include "app/osd_formats.h"
#include "foundation/language_manager.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zelvaro {
namespace {

constexpr double kCheckTolerance = 0.001;
constexpr int kMaxRecent = 10;
constexpr int kMaxRecentNameChars = 250;
constexpr int kCutRecentNameChars = 247;
constexpr int kMaxFavoriteGroups = 50;
constexpr int kMaxFavoriteItems = 100;

struct Preset {
  const char16_t* key;
  double value;
};

constexpr std::array<Preset, 12> kSpeedPresets{{{u"Menu.Speed025", 0.25},
                                                {u"Menu.Speed050", 0.5},
                                                {u"Menu.Speed075", 0.75},
                                                {u"Menu.Speed090", 0.9},
                                                {u"Menu.Speed100", 1.0},
                                                {u"Menu.Speed110", 1.1},
                                                {u"Menu.Speed125", 1.25},
                                                {u"Menu.Speed150", 1.5},
                                                {u"Menu.Speed175", 1.75},
                                                {u"Menu.Speed200", 2.0},
                                                {u"Menu.Speed300", 3.0},
                                                {u"Menu.Speed400", 4.0}}};

constexpr std::array<Preset, 7> kFrameRates{{{u"Menu.FPS23976", 23.976},
                                             {u"Menu.FPS24", 24.0},
                                             {u"Menu.FPS25", 25.0},
                                             {u"Menu.FPS2997", 29.97},
                                             {u"Menu.FPS30", 30.0},
                                             {u"Menu.FPS5994", 59.94},
                                             {u"Menu.FPS60", 60.0}}};

// Image subtitles have no text to render.
constexpr std::array<const char16_t*, 6> kImageSubtitleMarks{u"pgs",  u"PGS",    u"hdmv",
                                                             u"HDMV", u"dvdsub", u"dvd_subtitle"};

MenuItem Item(QStringView key, int id, bool checked = false, bool enabled = true) {
  MenuItem item;
  item.key = key.toString();
  item.text = LanguageManager::GetString(key);
  item.id = id;
  item.checked = checked;
  item.enabled = enabled;
  return item;
}

MenuItem TextItem(const QString& text, int id, bool checked = false, bool enabled = true) {
  MenuItem item;
  item.text = text;
  item.id = id;
  item.checked = checked;
  item.enabled = enabled;
  return item;
}

MenuItem Separator() {
  MenuItem item;
  item.separator = true;
  return item;
}

MenuItem Submenu(QStringView key, MenuModel rows) {
  MenuItem item = Item(key, 0);
  item.isSubmenu = true;
  item.submenu = std::move(rows);
  return item;
}

QString Numbered(QStringView prefixKey, int number) {
  return LanguageManager::GetString(prefixKey) + u' ' + QString::number(number);
}

QString FileNameOf(const QString& path) {
  const qsizetype slash = std::max(path.lastIndexOf(u'\\'), path.lastIndexOf(u'/'));
  return path.mid(slash + 1);
}

}  // namespace

MenuModel SpeedMenuModel(double speed, double frameRate) {
  MenuModel rows{Item(u"Menu.SpeedReset", ID_SPEED_RESET), Separator(),
                 Item(u"Menu.SpeedDown", ID_SPEED_DOWN), Item(u"Menu.SpeedUp", ID_SPEED_UP),
                 Separator()};
  for (size_t i = 0; i < kSpeedPresets.size(); ++i) {
    rows.push_back(Item(kSpeedPresets[i].key, ID_SPEED_PRESET_FIRST + static_cast<int>(i),
                        std::fabs(speed - kSpeedPresets[i].value) < kCheckTolerance));
  }
  if (frameRate > 0) {
    rows.push_back(Separator());
    for (size_t i = 0; i < kFrameRates.size(); ++i) {
      rows.push_back(Item(kFrameRates[i].key, ID_SPEED_FPS_FIRST + static_cast<int>(i),
                          std::fabs(speed - kFrameRates[i].value / frameRate) < kCheckTolerance));
    }
  }
  return rows;
}

MenuModel AudioTrackMenuModel(const std::vector<QString>& trackNames, int currentTrack) {
  if (trackNames.empty()) return {Item(u"Menu.NoItems", 0, false, false)};
  MenuModel rows;
  for (size_t i = 0; i < trackNames.size(); ++i) {
    const int track = static_cast<int>(i);
    const QString text =
        trackNames[i].isEmpty() ? Numbered(u"Menu.AudioTrackPrefix", track + 1) : trackNames[i];
    rows.push_back(TextItem(text, ID_AUDIO_TRACK_FIRST + track, track == currentTrack));
  }
  return rows;
}

MenuModel SubtitleMenuModel(const SubtitleMenuState& state) {
  const int embedded = static_cast<int>(state.embeddedNames.size());
  const int external = static_cast<int>(state.external.size());
  MenuModel rows{Item(u"Menu.SubtitleOpen", ID_SUBTITLE_OPEN)};
  if (embedded == 0 && external == 0) {
    rows.push_back(Item(u"Menu.NoItems", 0, false, false));
    return rows;
  }
  const bool showing = state.enabled && (state.embeddedIndex >= 0 || state.currentExternal >= 0);
  rows.push_back(Separator());
  rows.push_back(Item(u"Menu.SubtitleDisable", ID_SUBTITLE_DISABLE, !showing));
  if (embedded > 0) {
    rows.push_back(Separator());
    for (int i = 0; i < embedded; ++i) {
      const QString& name = state.embeddedNames[static_cast<size_t>(i)];
      const QString text = name.isEmpty() ? Numbered(u"Menu.EmbeddedSubtitlePrefix", i + 1) : name;
      const bool image = std::any_of(kImageSubtitleMarks.begin(), kImageSubtitleMarks.end(),
                                     [&](const char16_t* mark) { return text.contains(mark); });
      rows.push_back(TextItem(text, ID_SUBTITLE_TRACK_FIRST + i,
                              !image && state.enabled && i == state.embeddedIndex, !image));
    }
  }
  // While an embedded track shows, the side files are not offered.
  if (external > 0 && state.embeddedIndex < 0) {
    rows.push_back(Separator());
    for (int i = 0; i < external; ++i) {
      const ExternalSubtitle& track = state.external[static_cast<size_t>(i)];
      QString text =
          track.name.isEmpty() ? Numbered(u"Menu.ExternalSubtitlePrefix", i + 1) : track.name;
      if (!track.language.isEmpty()) text += QStringLiteral(" [%1]").arg(track.language);
      rows.push_back(TextItem(text, ID_SUBTITLE_TRACK_FIRST + embedded + i,
                              state.enabled && i == state.currentExternal));
    }
  }
  return rows;
}

MenuModel RecentMenuModel(const std::vector<QString>& paths) {
  // The empty list reads the same in every language.
  if (paths.empty()) return {TextItem(QStringLiteral("(없음)"), ID_RECENT_FIRST, false, false)};
  MenuModel rows;
  const int count = std::min(static_cast<int>(paths.size()), kMaxRecent);
  for (int i = 0; i < count; ++i) {
    QString name = FileNameOf(paths[static_cast<size_t>(i)]);
    if (name.size() > kMaxRecentNameChars)
      name = name.left(kCutRecentNameChars) + QStringLiteral("...");
    // The number is the row's access key.
    rows.push_back(TextItem(QStringLiteral("&%1. %2").arg(i + 1).arg(name), ID_RECENT_FIRST + i));
  }
  rows.push_back(Separator());
  rows.push_back(Item(u"Menu.MRUClear", ID_RECENT_CLEAR));
  return rows;
}

MenuModel FavoritesMenuModel(const std::vector<FavoriteGroup>& groups) {
  MenuModel rows{Item(u"Menu.FavoritesAdd", ID_FAVORITE_ADD),
                 Item(u"Menu.FavoritesManage", ID_FAVORITE_MANAGE), Separator()};
  if (groups.empty()) {
    rows.push_back(Item(u"Menu.FavoritesNoGroups", 0, false, false));
    return rows;
  }
  const int groupCount = std::min(static_cast<int>(groups.size()), kMaxFavoriteGroups);
  for (int g = 0; g < groupCount; ++g) {
    const FavoriteGroup& group = groups[static_cast<size_t>(g)];
    MenuItem groupRow = TextItem(group.name, 0);
    groupRow.isSubmenu = true;
    if (group.items.empty()) {
      groupRow.submenu.push_back(Item(u"Menu.FavoritesEmpty", 0, false, false));
    } else {
      const int itemCount = std::min(static_cast<int>(group.items.size()), kMaxFavoriteItems);
      for (int i = 0; i < itemCount; ++i) {
        const FavoriteItem& item = group.items[static_cast<size_t>(i)];
        QString text = item.file_name;
        if (item.position > 1.0) {
          const int total = static_cast<int>(item.position);
          text += total < 3600 ? FormatText(QStringLiteral(" [%02d:%02d]"), total / 60, total % 60)
                               : FormatText(QStringLiteral(" [%d:%02d:%02d]"), total / 3600,
                                            total / 60 % 60, total % 60);
        }
        groupRow.submenu.push_back(TextItem(text, FavoriteItemId(g, i)));
      }
      groupRow.submenu.push_back(Separator());
      groupRow.submenu.push_back(Item(u"Menu.FavoritesRemoveAll", FavoriteGroupClearId(g)));
    }
    rows.push_back(std::move(groupRow));
  }
  return rows;
}

MenuModel ContextMenuModel(const ContextMenuState& state,
                           const std::vector<FavoriteGroup>& favorites) {
  MenuModel rows{Item(u"Menu.Open", ID_OPEN_FILE), Item(u"Menu.OpenUrl", ID_OPEN_URL),
                 Submenu(u"Menu.RecentFiles", RecentMenuModel(state.recent)),
                 Submenu(u"Menu.Favorites", FavoritesMenuModel(favorites)), Separator()};
  rows.push_back(Submenu(
      u"Menu.Play", {Item(u"Menu.PlayPause", ID_PLAY_PAUSE), Item(u"Menu.Stop", ID_STOP),
                     Item(u"Menu.Prev", ID_PREV_KEYFRAME), Item(u"Menu.Next", ID_NEXT_KEYFRAME)}));
  MenuItem speed =
      Submenu(u"Menu.SpeedSubmenuFormat", SpeedMenuModel(state.speed, state.frameRate));
  speed.text = FormatText(speed.text, state.speed);
  rows.push_back(std::move(speed));
  rows.push_back(Separator());

  MenuModel sizes;
  constexpr std::array<const char16_t*, 6> kSizeKeys{u"Menu.Size25",  u"Menu.Size50",
                                                     u"Menu.Size75",  u"Menu.Size100",
                                                     u"Menu.Size150", u"Menu.Size200"};
  for (size_t i = 0; i < kSizeKeys.size(); ++i)
    sizes.push_back(Item(kSizeKeys[i], ID_SIZE_FIRST + static_cast<int>(i)));
  sizes.push_back(Separator());
  constexpr std::array<const char16_t*, 4> kMonitorKeys{
      u"Menu.MonitorSize30", u"Menu.MonitorSize45", u"Menu.MonitorSize60", u"Menu.MonitorSize75"};
  for (size_t i = 0; i < kMonitorKeys.size(); ++i)
    sizes.push_back(Item(kMonitorKeys[i], ID_MONITOR_SIZE_FIRST + static_cast<int>(i)));
  rows.push_back(Submenu(u"Menu.VideoSize", std::move(sizes)));
  rows.push_back(Submenu(
      u"Menu.VideoRotate",
      {Item(u"Menu.RotateReset", ID_ROTATE_RESET), Separator(),
       Item(u"Menu.RotateLeft270", ID_ROTATE_270), Item(u"Menu.RotateRight90", ID_ROTATE_90),
       Separator(), Item(u"Menu.RotateLeftContinuous", ID_ROTATE_STEP_LEFT),
       Item(u"Menu.RotateRightContinuous", ID_ROTATE_STEP_RIGHT), Separator(),
       Item(u"Menu.FlipHorizontal", ID_FLIP_H), Item(u"Menu.FlipVertical", ID_FLIP_V)}));
  rows.push_back(Separator());

  const bool hasA = state.markA >= 1;
  const bool hasB = state.markB >= 1;
  MenuItem repeat =
      Submenu(u"Menu.ABRepeat", {Item(u"Menu.ABRepeatPointA", ID_AB_SET_A, hasA),
                                 Item(u"Menu.ABRepeatPointB", ID_AB_SET_B, hasB), Separator(),
                                 Item(u"Menu.ABRepeatClear", ID_AB_CLEAR, false, hasA || hasB)});
  if (hasA && state.markB > state.markA) {
    repeat.text += LanguageManager::GetString(u"Menu.ABRepeatActive");
  } else if (hasA) {
    repeat.text += LanguageManager::GetString(u"Menu.ABRepeatHasA");
  }
  rows.push_back(std::move(repeat));
  rows.push_back(Separator());

  rows.push_back(Submenu(u"Menu.Subtitle", SubtitleMenuModel(state.subtitles)));
  rows.push_back(
      Submenu(u"Menu.AudioTrack", AudioTrackMenuModel(state.audioTracks, state.currentAudioTrack)));
  rows.push_back(Item(u"Menu.LyricsPanel", ID_LYRICS_PANEL));
  rows.push_back(Separator());
  rows.push_back(Item(u"Menu.Screenshot", ID_SCREENSHOT));
  rows.push_back(Item(u"Menu.CutClip", ID_CUT_CLIP));
  rows.push_back(Separator());
  rows.push_back(Item(u"Menu.ControlPanel", ID_CONTROL_PANEL));
  rows.push_back(Item(u"Menu.FileInfo", ID_FILE_INFO));
  rows.push_back(Separator());
  rows.push_back(Item(u"Menu.Settings", ID_SETTINGS));
  rows.push_back(Item(u"Menu.About", ID_ABOUT));
  rows.push_back(Separator());
  rows.push_back(Item(u"Menu.Exit", ID_EXIT));
  return rows;
}

}  // namespace zelvaro
