#pragma once
// Command identifiers of the favourites menu entries. They live in a range
// of their own, far above every other command, so that no group or item
// number can reach another command: choosing a favourite never empties a
// group or runs a key command, however many groups there are.
//
// An entry is kFavoriteItemIdBase + group x kFavoriteItemIdStride + item;
// "remove all" of a group is kFavoriteGroupClearIdBase + group. Groups and
// items are indices as FavoritesDatabase holds them (at most 50 and 100).

#include <optional>

namespace zelvaro {

inline constexpr int kFavoriteItemIdStride = 100;
inline constexpr int kFavoriteMaxGroups = 50;
inline constexpr int kFavoriteItemIdBase = 100000;
inline constexpr int kFavoriteItemIdLast =
    kFavoriteItemIdBase + kFavoriteMaxGroups * kFavoriteItemIdStride - 1;
inline constexpr int kFavoriteGroupClearIdBase = 110000;
inline constexpr int kFavoriteGroupClearIdLast = kFavoriteGroupClearIdBase + kFavoriteMaxGroups - 1;

struct FavoriteEntry {
  int group = 0;
  int item = 0;
};

constexpr int FavoriteItemId(int group, int item) {
  return kFavoriteItemIdBase + group * kFavoriteItemIdStride + item;
}
constexpr int FavoriteGroupClearId(int group) {
  return kFavoriteGroupClearIdBase + group;
}

constexpr std::optional<FavoriteEntry> FavoriteEntryFromId(int id) {
  if (id < kFavoriteItemIdBase || id > kFavoriteItemIdLast) return std::nullopt;
  return FavoriteEntry{(id - kFavoriteItemIdBase) / kFavoriteItemIdStride,
                       (id - kFavoriteItemIdBase) % kFavoriteItemIdStride};
}
constexpr std::optional<int> FavoriteGroupFromClearId(int id) {
  if (id < kFavoriteGroupClearIdBase || id > kFavoriteGroupClearIdLast) return std::nullopt;
  return id - kFavoriteGroupClearIdBase;
}

}  // namespace zelvaro
