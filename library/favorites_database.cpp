#include "library/favorites_database.h"

#include "foundation/language_manager.h"
#include "library/file_time.h"

#include <QFile>

namespace zelvaro {
namespace {

constexpr char kSelectGroupsSql[] =
    "SELECT id, name, sort_order FROM favorite_groups ORDER BY sort_order;";
constexpr char kSelectItemsSql[] =
    "SELECT id, file_path, file_name, position, sort_order FROM favorite_items "
    "WHERE group_id = ? ORDER BY sort_order;";
constexpr char kMaxGroupOrderSql[] = "SELECT MAX(sort_order) FROM favorite_groups;";
constexpr char kInsertGroupSql[] = "INSERT INTO favorite_groups (name, sort_order) VALUES (?, ?);";
constexpr char kRenameGroupSql[] =
    "UPDATE favorite_groups SET name = ?, sort_order = ? WHERE id = ?;";
constexpr char kDeleteGroupSql[] = "DELETE FROM favorite_groups WHERE id = ?;";
constexpr char kMaxItemOrderSql[] =
    "SELECT MAX(sort_order) FROM favorite_items WHERE group_id = ?;";
constexpr char kInsertItemSql[] =
    "INSERT INTO favorite_items (group_id, file_path, file_name, position, sort_order) "
    "VALUES (?, ?, ?, ?, ?);";
constexpr char kDeleteItemSql[] = "DELETE FROM favorite_items WHERE id = ?;";
constexpr char kUpdateItemSql[] =
    "UPDATE favorite_items SET position = ?, sort_order = ? WHERE id = ?;";
constexpr char kClearGroupSql[] = "DELETE FROM favorite_items WHERE group_id = ?;";

// MAX(sort_order) + 1; NULL (an empty table) reads as 0, so the first gets 1.
// 0 when there is no connection or preparing fails.
int32_t NextSortOrder(sqlite3* db, const char* sql, int32_t groupId = 0, bool bindGroup = false) {
  SqliteStatement statement = PrepareStatement(db, sql);
  if (!statement) return 0;
  if (bindGroup) sqlite3_bind_int(statement.get(), 1, groupId);
  int32_t maximum = 0;
  if (sqlite3_step(statement.get()) == SQLITE_ROW) maximum = sqlite3_column_int(statement.get(), 0);
  return maximum + 1;
}

}  // namespace

FavoritesDatabase& FavoritesDatabase::Instance() {
  static FavoritesDatabase instance;
  return instance;
}

FavoritesDatabase::FavoritesDatabase(PlaylistDatabase& playlistDatabase)
    : playlistDatabase_(playlistDatabase) {
  playlistDatabase_.Open();
  Load();
  if (groups_.empty()) AddGroup(LanguageManager::GetString(u"Favorites.DefaultGroup"));
}

sqlite3* FavoritesDatabase::GetConnection() {
  if (db_) return db_.get();
  // The playlist store creates the schema and vets the file; a file it
  // refuses (damaged, unopenable) gets no second connection either.
  if (!playlistDatabase_.Open()) return nullptr;
  const QByteArray path = QFile::encodeName(playlistDatabase_.Path());
  sqlite3* raw = nullptr;
  const int rc =
      sqlite3_open_v2(path.constData(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  SqliteConnection db(raw);
  if (rc != SQLITE_OK) return nullptr;
  sqlite3_busy_timeout(db.get(), PlaylistDatabase::kBusyTimeoutMs);
  ExecSql(db.get(), "PRAGMA foreign_keys = ON;");
  db_ = std::move(db);
  return db_.get();
}

void FavoritesDatabase::Load() {
  groups_.clear();
  sqlite3* db = GetConnection();
  SqliteStatement groupSelect = PrepareStatement(db, kSelectGroupsSql);
  if (!groupSelect) return;
  while (sqlite3_step(groupSelect.get()) == SQLITE_ROW) {
    FavoriteGroup group;
    group.id = sqlite3_column_int(groupSelect.get(), 0);
    group.name = ColumnText(groupSelect.get(), 1);
    group.sort_order = sqlite3_column_int(groupSelect.get(), 2);
    if (SqliteStatement itemSelect = PrepareStatement(db, kSelectItemsSql)) {
      sqlite3_stmt* s = itemSelect.get();
      sqlite3_bind_int(s, 1, group.id);
      while (sqlite3_step(s) == SQLITE_ROW) {
        FavoriteItem& item = group.items.emplace_back();
        item.id = sqlite3_column_int(s, 0);
        item.group_id = group.id;
        item.file_path = ColumnText(s, 1);
        item.file_name = ColumnText(s, 2);
        item.position = sqlite3_column_double(s, 3);
        item.sort_order = sqlite3_column_int(s, 4);
      }
    }
    groups_.push_back(std::move(group));
  }
}

bool FavoritesDatabase::AddGroup(const QString& name) {
  if (name.isEmpty()) return false;
  if (groups_.size() >= static_cast<size_t>(kMaxGroups)) return false;
  for (const FavoriteGroup& group : groups_) {
    if (group.name == name) return false;
  }
  sqlite3* db = GetConnection();
  const int32_t sortOrder = NextSortOrder(db, kMaxGroupOrderSql);
  SqliteStatement insert = PrepareStatement(db, kInsertGroupSql);
  if (!insert) return false;
  BindText(insert.get(), 1, name);
  sqlite3_bind_int(insert.get(), 2, sortOrder);
  const int32_t id = sqlite3_step(insert.get()) == SQLITE_DONE
                         ? static_cast<int32_t>(sqlite3_last_insert_rowid(db))
                         : -1;
  if (id <= 0) return false;
  groups_.push_back(FavoriteGroup{id, name, sortOrder, {}});
  return true;
}

bool FavoritesDatabase::RenameGroup(int groupIndex, const QString& newName) {
  if (groupIndex < 0 || groupIndex >= static_cast<int>(groups_.size())) return false;
  if (newName.isEmpty()) return false;
  for (int i = 0; i < static_cast<int>(groups_.size()); ++i) {
    if (i != groupIndex && groups_[static_cast<size_t>(i)].name == newName) return false;
  }
  FavoriteGroup& group = groups_[static_cast<size_t>(groupIndex)];
  group.name = newName;
  sqlite3* db = GetConnection();
  if (db != nullptr && group.id >= 1) {
    if (SqliteStatement update = PrepareStatement(db, kRenameGroupSql)) {
      BindText(update.get(), 1, group.name);
      sqlite3_bind_int(update.get(), 2, group.sort_order);
      sqlite3_bind_int(update.get(), 3, group.id);
      sqlite3_step(update.get());  // result not looked at, on purpose
    }
  }
  return true;
}

bool FavoritesDatabase::DeleteGroup(int groupIndex) {
  if (groupIndex < 0 || groupIndex >= static_cast<int>(groups_.size())) return false;
  sqlite3* db = GetConnection();
  const int32_t id = groups_[static_cast<size_t>(groupIndex)].id;
  if (db == nullptr || id < 1) return false;
  SqliteStatement remove = PrepareStatement(db, kDeleteGroupSql);
  if (!remove) return false;
  sqlite3_bind_int(remove.get(), 1, id);
  if (sqlite3_step(remove.get()) != SQLITE_DONE) return false;
  groups_.erase(groups_.begin() + groupIndex);
  return true;
}

bool FavoritesDatabase::AddItem(int groupIndex, const QString& path, double positionSeconds) {
  if (groupIndex < 0 || groupIndex >= static_cast<int>(groups_.size())) return false;
  FavoriteGroup& group = groups_[static_cast<size_t>(groupIndex)];
  for (FavoriteItem& item : group.items) {
    if (item.file_path.compare(path, Qt::CaseInsensitive) == 0) {
      item.position = positionSeconds;
      UpdateItem(item);  // a re-add succeeds whatever the update gave
      return true;
    }
  }
  if (group.items.size() >= static_cast<size_t>(kMaxItems)) return false;
  sqlite3* db = GetConnection();
  FavoriteItem item;
  item.group_id = group.id;
  item.file_path = path;
  item.file_name = FileNameOfPath(path);
  item.position = positionSeconds;
  item.sort_order = NextSortOrder(db, kMaxItemOrderSql, group.id, true);
  SqliteStatement insert = PrepareStatement(db, kInsertItemSql);
  if (!insert) return false;
  sqlite3_bind_int(insert.get(), 1, item.group_id);
  BindText(insert.get(), 2, item.file_path);
  BindText(insert.get(), 3, item.file_name);
  sqlite3_bind_double(insert.get(), 4, item.position);
  sqlite3_bind_int(insert.get(), 5, item.sort_order);
  item.id = sqlite3_step(insert.get()) == SQLITE_DONE
                ? static_cast<int32_t>(sqlite3_last_insert_rowid(db))
                : -1;
  if (item.id <= 0) return false;
  group.items.push_back(std::move(item));
  return true;
}

bool FavoritesDatabase::RemoveItem(int groupIndex, int itemIndex) {
  if (groupIndex < 0 || groupIndex >= static_cast<int>(groups_.size())) return false;
  std::vector<FavoriteItem>& items = groups_[static_cast<size_t>(groupIndex)].items;
  if (itemIndex < 0 || itemIndex >= static_cast<int>(items.size())) return false;
  sqlite3* db = GetConnection();
  const int32_t id = items[static_cast<size_t>(itemIndex)].id;
  if (db == nullptr || id < 1) return false;
  SqliteStatement remove = PrepareStatement(db, kDeleteItemSql);
  if (!remove) return false;
  sqlite3_bind_int(remove.get(), 1, id);
  if (sqlite3_step(remove.get()) != SQLITE_DONE) return false;
  items.erase(items.begin() + itemIndex);
  return true;
}

bool FavoritesDatabase::UpdateItem(const FavoriteItem& item) {
  SqliteStatement update = PrepareStatement(GetConnection(), kUpdateItemSql);
  if (!update) return false;
  sqlite3_bind_double(update.get(), 1, item.position);
  sqlite3_bind_int(update.get(), 2, item.sort_order);
  sqlite3_bind_int(update.get(), 3, item.id);
  return sqlite3_step(update.get()) == SQLITE_DONE;
}

void FavoritesDatabase::ClearGroup(int groupIndex) {
  if (groupIndex < 0 || groupIndex >= static_cast<int>(groups_.size())) return;
  FavoriteGroup& group = groups_[static_cast<size_t>(groupIndex)];
  if (group.id > 0) {
    if (SqliteStatement clear = PrepareStatement(GetConnection(), kClearGroupSql)) {
      sqlite3_bind_int(clear.get(), 1, group.id);
      sqlite3_step(clear.get());
    }
  }
  group.items.clear();
}

}  // namespace zelvaro
