#pragma once
// What the player's popup menus hold, row by row: the context menu, the
// subtitle menu, the audio track menu, the recent files and the favourites.
// Each menu is built afresh at every opening from plain values read off the
// engine and the stores, so the rules (order, ids, checks, greyed rows) live
// here, free of windows; main_window_menus.cpp turns a model into a QMenu.
//
// Pure functions, any thread; texts come from LanguageManager by key.

#include "library/favorites_database.h"

#include <QString>

#include <cstdint>
#include <vector>

namespace zelvaro {

struct MenuItem {
  QString key;   // the language key of the text; empty for texts built from data
  QString text;  // what the row shows; after a tab, the right-aligned hint
  int id = 0;
  bool checked = false;
  bool enabled = true;
  bool separator = false;
  bool isSubmenu = false;
  std::vector<MenuItem> submenu;
};
using MenuModel = std::vector<MenuItem>;

// The speed submenu; `frameRate` 0 leaves out the frame-rate rows.
MenuModel SpeedMenuModel(double speed, double frameRate);

// One row per audio track, the current one checked; a greyed "none" row
// when there are no tracks.
MenuModel AudioTrackMenuModel(const std::vector<QString>& trackNames, int currentTrack);

struct ExternalSubtitle {
  QString name;
  QString language;
};

struct SubtitleMenuState {
  std::vector<QString> embeddedNames;  // the engine's subtitle streams
  std::vector<ExternalSubtitle> external;
  int currentExternal = -1;
  bool enabled = false;  // the subtitle renderer's flag
  int embeddedIndex = -1;
};
MenuModel SubtitleMenuModel(const SubtitleMenuState& state);

// At most ten paths, newest first, as RecentFiles holds them.
MenuModel RecentMenuModel(const std::vector<QString>& paths);
MenuModel FavoritesMenuModel(const std::vector<FavoriteGroup>& groups);

struct ContextMenuState {
  double speed = 1.0;
  double frameRate = 0.0;
  int64_t markA = 0;
  int64_t markB = 0;
  std::vector<QString> recent;
  SubtitleMenuState subtitles;
  std::vector<QString> audioTracks;
  int currentAudioTrack = -1;
};
MenuModel ContextMenuModel(const ContextMenuState& state,
                           const std::vector<FavoriteGroup>& favorites);

}  // namespace zelvaro
