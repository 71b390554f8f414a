#pragma once
// The texts of the panel's list rows, formatted when a row is painted and
// never stored, so a list of any length costs nothing until it shows.
// Playlist rows come from the item alone; favourite rows ask the file system
// for size and date at each call, so a file that has gone shows "--" at once.
//
// Reentrant; the call counter is for tests that check only shown rows are
// formatted (interface thread).

#include "library/favorites_database.h"
#include "library/playlist_item.h"

#include <QString>

namespace zelvaro::panels {

inline constexpr int kColumnCount = 4;

// Columns: name, size, length, date.
QString PlaylistCellText(const PlaylistItem& item, int column);
// Columns: name, size now, resume position ("Playlist.FromBeginning" at 0),
// date now.
QString FavoriteCellText(const FavoriteItem& item, int column);
// The header texts, by language key, for the list of `favorites` or not.
QString ColumnHeading(int column, bool favorites);

// How many cells PlaylistCellText has formatted since the process started.
long long PlaylistCellsFormatted();

}  // namespace zelvaro::panels
