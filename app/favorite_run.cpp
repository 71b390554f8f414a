#include "app/favorite_run.h"

namespace zelvaro {

void FavoriteRun::Start(int group, int row) {
  active_ = true;
  group_ = group;
  row_ = row;
}

void FavoriteRun::End() {
  active_ = false;
  row_ = -1;
}

const FavoriteGroup* FavoriteRun::CurrentGroup() const {
  if (!active_) return nullptr;
  const std::vector<FavoriteGroup>& groups =
      (database_ != nullptr ? *database_ : FavoritesDatabase::Instance()).Groups();
  if (group_ < 0 || group_ >= static_cast<int>(groups.size())) return nullptr;
  return &groups[static_cast<size_t>(group_)];
}

bool FavoriteRun::HasNextRow() const {
  const FavoriteGroup* group = CurrentGroup();
  return active_ && group != nullptr && row_ >= 0 &&
         row_ + 1 < static_cast<int>(group->items.size());
}

FavoriteStep FavoriteRun::MoveTo(int row) {
  row_ = row;
  const FavoriteGroup* group = CurrentGroup();
  if (group == nullptr || row < 0 || row >= static_cast<int>(group->items.size())) return {};
  if (rowChanged_) rowChanged_(row);
  const FavoriteItem& item = group->items[static_cast<size_t>(row)];
  return {item.file_path, item.position};
}

FavoriteStep FavoriteRun::NextFavorite() {
  if (!active_) return {};
  if (!HasNextRow()) {
    End();
    return {};
  }
  return MoveTo(row_ + 1);
}

FavoriteStep FavoriteRun::PreviousFavorite() {
  if (!active_ || row_ <= 0) return {};
  return MoveTo(row_ - 1);
}

}  // namespace zelvaro
