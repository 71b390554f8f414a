// PlaylistWindow's favourites tab: the group combo, the group's items, the
// four buttons, and starting a favourites run.

#include "app/dpi.h"
#include "app/favorite_run.h"
#include "app/messages.h"
#include "chrome/chrome_paint.h"
#include "chrome/chrome_palette.h"
#include "library/favorites_database.h"
#include "library/playlist_model.h"
#include "panels/favorites_dialog.h"
#include "panels/panel_host.h"
#include "panels/panel_list_view.h"
#include "panels/playlist_rows.h"
#include "panels/playlist_window.h"

#include <QComboBox>

namespace zelvaro::panels {
namespace {

constexpr int kComboFont = 12;
constexpr int kListFont = 13;
constexpr int kPathUnits = 260;

const FavoriteGroup* GroupAt(int group) {
  const std::vector<FavoriteGroup>& groups = FavoritesDatabase::Instance().Groups();
  if (group < 0 || group >= static_cast<int>(groups.size())) return nullptr;
  return &groups[static_cast<size_t>(group)];
}

}  // namespace

void PlaylistWindow::BuildFavoritesTab() {
  if (groupCombo_) return;
  groupCombo_ = new QComboBox(this);
  groupCombo_->setObjectName(QStringLiteral("GroupCombo"));
  groupCombo_->setFont(chrome::DesignFont(Scaled(kComboFont)));
  groupCombo_->setStyleSheet(
      QStringLiteral("QComboBox { background:%1; color:%2; border:1px solid %3; padding-left:4px; }"
                     "QComboBox QAbstractItemView { background:%1; color:%2;"
                     " selection-background-color:%4; selection-color:%5; }")
          .arg(chrome::kPanelSearchBackground.name(), chrome::kPanelText.name(),
               chrome::kPanelHover.name(), chrome::kPanelActiveTab.name(),
               chrome::kPanelTextActive.name()));
  connect(groupCombo_, &QComboBox::activated, this, [this](int index) {
    selectedGroup_ = index;
    RefreshFavorites();
  });

  favoritesModel_ = new PanelListModel(
      [this](int row, int column) -> QString {
        const FavoriteGroup* group = GroupAt(selectedGroup_);
        if (group == nullptr || row < 0 || row >= static_cast<int>(group->items.size())) return {};
        return FavoriteCellText(group->items[static_cast<size_t>(row)], column);
      },
      true, this);
  favoritesList_ = new PanelListView(favoritesModel_, this);
  favoritesList_->setObjectName(QStringLiteral("FavoritesList"));
  favoritesList_->setFont(chrome::DesignFont(Scaled(kListFont)));
  favoritesList_->rowColors = [this](int row) {
    RowColors colours;
    if (run_ && run_->Active() && run_->Group() == selectedGroup_ && run_->Row() == row) {
      colours.text = chrome::kPanelRunningText;
      colours.background = chrome::kPanelRunningBackground;
    }
    return colours;
  };
  favoritesList_->onActivate = [this](int row) { StartFavorite(row); };
  favoritesList_->onDelete = [this] { RemoveSelectedFavorites(); };
  favoritesList_->onEscape = [this] { HideByUser(); };
  connect(favoritesList_, &QWidget::customContextMenuRequested, this, [this](QPoint point) {
    ShowContextMenu(favoritesList_->viewport()->mapToGlobal(point));
  });
  LayoutChildren();
}

void PlaylistWindow::RefreshGroups() {
  BuildFavoritesTab();
  const std::vector<FavoriteGroup>& groups = FavoritesDatabase::Instance().Groups();
  groupCombo_->clear();
  for (const FavoriteGroup& group : groups) groupCombo_->addItem(group.name);
  if (selectedGroup_ >= static_cast<int>(groups.size())) selectedGroup_ = 0;
  if (!groups.empty()) groupCombo_->setCurrentIndex(selectedGroup_);
}

void PlaylistWindow::RefreshFavorites() {
  BuildFavoritesTab();
  const FavoriteGroup* group = GroupAt(selectedGroup_);
  favoritesModel_->SetRowCount(group ? static_cast<int>(group->items.size()) : 0);
  favoritesList_->viewport()->update();
  update();
}

void PlaylistWindow::StartFavorite(int row) {
  const FavoriteGroup* group = GroupAt(selectedGroup_);
  if (group == nullptr || row < 0 || row >= static_cast<int>(group->items.size()) || !model_) {
    return;
  }
  const FavoriteItem item = group->items[static_cast<size_t>(row)];
  if (run_) run_->Start(selectedGroup_, row);
  favoritesList()->viewport()->update();
  int index = model_->FindByPath(item.file_path);
  if (index < 0) {
    model_->AddFile(item.file_path);
    model_->RebuildFilter();
    Redraw(false);
    model_->SaveToDatabase();
    index = model_->FindByPath(item.file_path);
    if (index < 0) return;
  }
  if (host_) {
    host_->PostPlayerMessage(WM_PLAYER_PLAY_INDEX_AT, index,
                             static_cast<qintptr>(item.position * 1000));
  }
}

void PlaylistWindow::OnFavoriteRowChanged(int row) {
  BuildFavoritesTab();
  if (run_ && run_->Group() == selectedGroup_ && row >= 0 && row < favoritesModel_->rowCount()) {
    favoritesList_->SelectSingleRow(row, true);
    favoritesList_->scrollTo(favoritesModel_->index(row, 0));
  }
  favoritesList_->viewport()->update();
}

void PlaylistWindow::MoveFavorite(int delta) {
  std::vector<FavoriteGroup>& groups = FavoritesDatabase::Instance().Groups();
  if (selectedGroup_ < 0 || selectedGroup_ >= static_cast<int>(groups.size())) return;
  std::vector<FavoriteItem>& items = groups[static_cast<size_t>(selectedGroup_)].items;
  const std::vector<int> rows = favoritesList()->SelectedRowList();
  if (rows.empty()) return;
  const int from = rows.front();
  const int to = from + delta;
  if (to < 0 || to >= static_cast<int>(items.size())) return;
  // Only the order in memory changes; the store keeps its sort_order.
  std::swap(items[static_cast<size_t>(from)], items[static_cast<size_t>(to)]);
  items[static_cast<size_t>(from)].sort_order = from;
  items[static_cast<size_t>(to)].sort_order = to;
  RefreshFavorites();
  favoritesList_->SelectSingleRow(to, false);
  favoritesList_->scrollTo(favoritesModel_->index(to, 0));
}

void PlaylistWindow::AddCurrentToFavorites() {
  if (!host_ || GroupAt(selectedGroup_) == nullptr) return;
  char16_t buffer[kPathUnits] = {};
  host_->SendPlayerMessage(WM_PLAYER_GET_CURRENT_PATH, reinterpret_cast<qintptr>(buffer),
                           kPathUnits);
  const QString path = QString::fromUtf16(buffer);
  if (path.isEmpty()) return;
  for (const FavoriteItem& item : GroupAt(selectedGroup_)->items) {
    if (item.file_path.compare(path, Qt::CaseInsensitive) == 0) return;
  }
  const qintptr positionMs = host_->SendPlayerMessage(WM_PLAYER_GET_POSITION_MS);
  FavoritesDatabase::Instance().AddItem(selectedGroup_, path,
                                        static_cast<double>(positionMs) / 1000.0);
  RefreshFavorites();
}

void PlaylistWindow::AddSelectedToFavorites() {
  if (!model_) return;
  const std::vector<int>& filtered = model_->Filtered();
  for (int row : SelectedRows()) {
    if (row < 0 || row >= static_cast<int>(filtered.size())) continue;
    const int index = filtered[static_cast<size_t>(row)];
    // Position 0: a path already there starts from the beginning again.
    FavoritesDatabase::Instance().AddItem(
        selectedGroup_, model_->Items()[static_cast<size_t>(index)].file_path, 0.0);
  }
  RefreshFavorites();
}

void PlaylistWindow::RemoveSelectedFavorites() {
  BuildFavoritesTab();
  if (selectedGroup_ < 0) return;
  std::vector<int> rows = favoritesList_->SelectedRowList();
  for (auto it = rows.rbegin(); it != rows.rend(); ++it) {
    FavoritesDatabase::Instance().RemoveItem(selectedGroup_, *it);
  }
  favoritesList_->clearSelection();
  RefreshFavorites();
}

void PlaylistWindow::RunFavButton(int button) {
  switch (button) {
    case kFavMoveUp:
      MoveFavorite(-1);
      break;
    case kFavMoveDown:
      MoveFavorite(1);
      break;
    case kFavAdd:
      AddCurrentToFavorites();
      break;
    case kFavDelete:
      RemoveSelectedFavorites();
      break;
    default:
      // The add-group button.
      FavoritesDialog::Manage(FavoritesDatabase::Instance(), this);
      RefreshGroups();
      RefreshFavorites();
      break;
  }
}

}  // namespace zelvaro::panels
