// MainWindow: the playlist panel (creation, the toggle, what closing saves)
// and the favourites dialog of the menu.

#include "app/main_window.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/favorites_database.h"
#include "library/playlist_model.h"
#include "panels/favorites_dialog.h"
#include "panels/playlist_window.h"

#include <QMetaObject>

namespace zelvaro {

void MainWindow::CreatePlaylistPanel() {
  playlist_ = std::make_unique<PlaylistModel>();
  playlistWindow_ = new panels::PlaylistWindow(playlist_.get(), &favoriteRun_, this, this);
  PanelSettingNames names;
  names.x = setting::kPlaylistX;
  names.y = setting::kPlaylistY;
  names.w = setting::kPlaylistW;
  names.h = setting::kPlaylistH;
  names.snapped = setting::kPlaylistSnapped;
  names.snapSide = setting::kPlaylistSnapSide;
  playlistDock_ = AddDockedPanel(playlistWindow_, true, names);
  playlist_->RestoreFromDatabase();
  if (Settings::GetDwordOr(setting::kPlaylistVisible, 0) != 0) {
    // Placed beside the main window once that stands where it will be shown.
    QMetaObject::invokeMethod(
        this,
        [this] {
          if (playlistWindow_ && !closing_) playlistWindow_->Show(true);
        },
        Qt::QueuedConnection);
  }
}

void MainWindow::TogglePlaylist() {
  if (!playlistWindow_) return;
  const bool show = !playlistWindow_->isVisible();
  playlistWindow_->Show(show);
  Settings::SetDword(setting::kPlaylistVisible, show ? 1 : 0);
}

void MainWindow::SavePlaylistPanel() {
  if (!playlistWindow_) return;
  const bool visible = playlistWindow_->isVisible();
  // Put away by fullscreen, the panel still counts as shown; its dock wrote
  // the placement when it hid it.
  const bool awayForFullscreen = fullscreen_ && playlistDock_ && playlistDock_->wasVisible();
  Settings::SetDword(setting::kPlaylistVisible, visible || awayForFullscreen ? 1 : 0);
  if (visible) playlistWindow_->SavePlacement();
}

void MainWindow::SyncPlaylistDock() {
  if (!playlistWindow_ || !playlistDock_) return;
  playlistDock_->Snapped = playlistWindow_->Snapped();
  playlistDock_->SnapSide = playlistWindow_->SnapSide();
}

void MainWindow::ManageFavorites() {
  panels::FavoritesDialog::Manage(FavoritesDatabase::Instance(), this);
  if (playlistWindow_) {
    playlistWindow_->RefreshGroups();
    playlistWindow_->RefreshFavorites();
  }
}

}  // namespace zelvaro
