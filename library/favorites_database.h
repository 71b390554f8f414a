#pragma once
// FavoritesDatabase: the user's favourites, named groups of files with an
// optional resume position. The process-wide instance mirrors the
// tables `favorite_groups` and `favorite_items` (schema in
// library/playlist_database.h) in memory: readers use Groups(), every change
// goes to memory and table together. It has a connection of its own to the
// same file, opened lazily with foreign keys on (deleting a group cascades to
// its items) and the same busy timeout as PlaylistDatabase.
//
// Groups are addressed by index in Groups(), items by index in the group's
// `items`. Limits: kMaxGroups groups, kMaxItems items per group. Group names
// compare exactly; item paths within a group ignore case.
//
// Interface thread only. When the file cannot be opened or is damaged, the
// connection stays null: Groups() is empty and every change fails.

#include "library/playlist_database.h"
#include "library/sqlite_handle.h"

#include <QString>

#include <cstdint>
#include <vector>

namespace zelvaro {

struct FavoriteItem {
  int32_t id = 0;
  int32_t group_id = 0;
  QString file_path;
  QString file_name;
  double position = 0;  // seconds; 0 = from the beginning
  int32_t sort_order = 0;
};

struct FavoriteGroup {
  int32_t id = 0;
  QString name;
  int32_t sort_order = 0;
  std::vector<FavoriteItem> items;  // in sort_order
};

class FavoritesDatabase {
 public:
  static constexpr int kMaxGroups = 50;
  static constexpr int kMaxItems = 100;

  // The singleton: made on first use by the start sequence below.
  static FavoritesDatabase& Instance();

  // Start: opens the playlist store (so the schema exists), Load, and with no
  // group at all makes the default group named by "Favorites.DefaultGroup"
  // in the language in force.
  explicit FavoritesDatabase(PlaylistDatabase& playlistDatabase = PlaylistDatabase::Instance());
  FavoritesDatabase(const FavoritesDatabase&) = delete;
  FavoritesDatabase& operator=(const FavoritesDatabase&) = delete;

  // The second connection, or null. Opens it on first call when the
  // playlist store opens.
  sqlite3* GetConnection();
  void Load();

  bool AddGroup(const QString& name);
  bool RenameGroup(int groupIndex, const QString& newName);
  bool DeleteGroup(int groupIndex);
  // Re-adding a path already in the group (case ignored) overwrites its
  // position and succeeds, even in a full group.
  bool AddItem(int groupIndex, const QString& path, double positionSeconds);
  bool RemoveItem(int groupIndex, int itemIndex);
  bool UpdateItem(const FavoriteItem& item);
  // MainWindow's "empty a group" (commands 5900-5949): deletes the rows when
  // the id is above 0 and empties the group in memory. Out of range: nothing.
  void ClearGroup(int groupIndex);

  const std::vector<FavoriteGroup>& Groups() const { return groups_; }
  std::vector<FavoriteGroup>& Groups() { return groups_; }

 private:
  PlaylistDatabase& playlistDatabase_;
  SqliteConnection db_;
  std::vector<FavoriteGroup> groups_;
};

}  // namespace zelvaro
