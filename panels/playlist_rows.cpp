#include "panels/playlist_rows.h"

#include "foundation/language_manager.h"
#include "library/file_time.h"
#include "library/playlist_format.h"

namespace zelvaro::panels {
namespace {

long long cellsFormatted = 0;

}  // namespace

QString PlaylistCellText(const PlaylistItem& item, int column) {
  ++cellsFormatted;
  switch (column) {
    case 0:
      return item.file_name;
    case 1:
      return FormatSize(item.file_size);
    case 2:
      return FormatDuration(item.duration);
    case 3:
      return FormatDate(item.file_date);
    default:
      return {};
  }
}

QString FavoriteCellText(const FavoriteItem& item, int column) {
  switch (column) {
    case 0:
      return item.file_name;
    case 1:
    case 3: {
      FileAttributes attributes;
      if (!ReadFileAttributes(item.file_path, &attributes)) return QStringLiteral("--");
      return column == 1 ? FormatSize(attributes.size) : FormatDate(attributes.lastWrite);
    }
    case 2:
      return item.position > 0 ? FormatDuration(item.position)
                               : LanguageManager::GetString(u"Playlist.FromBeginning");
    default:
      return {};
  }
}

QString ColumnHeading(int column, bool favorites) {
  switch (column) {
    case 0:
      return LanguageManager::GetString(u"Playlist.ColFilename");
    case 1:
      return LanguageManager::GetString(u"Playlist.ColSize");
    case 2:
      return LanguageManager::GetString(favorites ? u"Playlist.ColLocation" : u"Playlist.ColTime");
    case 3:
      return LanguageManager::GetString(u"Playlist.ColDate");
    default:
      return {};
  }
}

long long PlaylistCellsFormatted() {
  return cellsFormatted;
}

}  // namespace zelvaro::panels
