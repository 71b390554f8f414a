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
  Settings::SetDword(setting::kPlaylistVisible, visible ? 1 : 0);
  if (visible) playlistWindow_->SavePlacement();
}

void MainWindow::ManageFavorites() {
  panels::FavoritesDialog::Manage(FavoritesDatabase::Instance(), this);
  if (playlistWindow_) {
    playlistWindow_->RefreshGroups();
    playlistWindow_->RefreshFavorites();
  }
}

}  // namespace zelvaro
