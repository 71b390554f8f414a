#pragma once
// PlaylistWindow: the playlist panel. A frameless, hand-painted tool window
// owned by the main window, with two tabs: the playlist (search box, the
// virtual list of the PlaylistModel, six buttons) and the favourites (group
// combo, the group's items, four buttons). It is the model's PlaylistView.
//
// It reaches the main window only through PanelHost: playing a row posts
// WM_PLAYER_PLAY_INDEX, a favourite WM_PLAYER_PLAY_INDEX_AT, hiding
// WM_PLAYER_PLAYLIST_HIDDEN. The main window gives it the model and the
// favourites run it owns (both outlive the window) and moves a snapped panel
// along with itself; the panel places itself when shown and writes its
// placement when hidden or destroyed.
//
// Interface thread only. Code: playlist_window.cpp (creation, painting,
// placement, the PlaylistView side), playlist_window_input.cpp (mouse, keys,
// menus, the playlist's operations), favorites_tab.cpp (the second tab).

#include "library/playlist_view.h"
#include "panels/playlist_geometry.h"

#include <QPointer>
#include <QWidget>

#include <memory>
#include <vector>

class QComboBox;
class QLineEdit;

namespace zelvaro {
class FavoriteRun;
class PlaylistModel;
namespace chrome {
class IconSet;
}
}  // namespace zelvaro

namespace zelvaro::panels {

class PanelHost;
class PanelListModel;
class PanelListView;

class PlaylistWindow : public QWidget, public PlaylistView {
  Q_OBJECT
 public:
  // `owner` is the main window; the model, run and host must outlive the panel.
  PlaylistWindow(PlaylistModel* model, FavoriteRun* run, PanelHost* host, QWidget* owner);
  // Writes the placement when the window was ever shown.
  ~PlaylistWindow() override;

  // Show(true): the saved placement when it still lands on a monitor, else
  // SnapDefault. Show(false) writes the placement first.
  void Show(bool show);
  void SnapDefault();
  void UpdateSnapState();
  void UpdateLanguage();
  void SavePlacement();
  bool Snapped() const { return snapped_; }
  int SnapSide() const { return snapSide_; }

  int ActiveTab() const { return activeTab_; }
  void SetActiveTab(int tab);
  PlaylistPanelLayout Layout() const;

  // The six operations of the bottom row and the menus.
  void AddFilesDialog();
  void AddSelectedToFavorites();

  // Favourites tab.
  void RefreshGroups();
  void RefreshFavorites();
  int SelectedGroup() const { return selectedGroup_; }
  // A double click or Enter on a favourite: starts the run from that row.
  void StartFavorite(int row);
  void MoveFavorite(int delta);
  void AddCurrentToFavorites();
  void RemoveSelectedFavorites();

  PanelListView* playlistList() const { return playlistList_; }
  PanelListView* favoritesList() {
    BuildFavoritesTab();
    return favoritesList_;
  }
  QLineEdit* searchEdit() const { return searchEdit_; }
  QComboBox* groupCombo() {
    BuildFavoritesTab();
    return groupCombo_;
  }

  // PlaylistView.
  void SetRowCount(int rows) override;
  void Redraw(bool erase) override;
  void EnsureRowVisible(int row) override;
  std::vector<int> SelectedRows() const override;
  void ClearSelection() override;
  void SelectRow(int row) override;
  void OnMetadataProgress(int done, int total) override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void BuildPlaylistTab();
  // Made the first time the favourites tab or anything on it is wanted: the
  // hidden tab adds nothing to the panel's creation at start-up.
  void BuildFavoritesTab();
  void LayoutChildren();
  void PaintButtons(QPainter& painter, const PlaylistPanelLayout& layout);
  void RunPanelHit(const PanelHit& hit);
  void RunButton(int button);
  void RunFavButton(int button);
  void HideByUser();
  void ShowContextMenu(QPoint global);
  void PlayRow(int row);
  void ReorderRows(std::vector<int> rows, int dropRow);
  void AddDroppedFiles(const QStringList& paths);
  void OnFavoriteRowChanged(int row);
  QRect OwnerRect() const;

  PlaylistModel* model_;
  FavoriteRun* run_;
  PanelHost* host_;
  std::unique_ptr<chrome::IconSet> icons_;

  PanelListModel* playlistModel_ = nullptr;
  PanelListView* playlistList_ = nullptr;
  QLineEdit* searchEdit_ = nullptr;
  PanelListModel* favoritesModel_ = nullptr;
  PanelListView* favoritesList_ = nullptr;
  QComboBox* groupCombo_ = nullptr;

  int activeTab_ = 0;
  PanelHit hover_;
  PanelHit pressed_;
  int selectedGroup_ = 0;
  bool snapped_ = false;
  int snapSide_ = 0;
  bool everShown_ = false;
};

}  // namespace zelvaro::panels
