// PlaylistWindow: the mouse on the painted parts, keys, the context menu,
// files dropped from outside, and the playlist's own operations (play a row,
// the reorder drop, the file dialog).

#include "app/dpi.h"
#include "app/favorite_run.h"
#include "app/messages.h"
#include "foundation/language_manager.h"
#include "foundation/media_types.h"
#include "library/playlist_model.h"
#include "panels/panel_host.h"
#include "panels/panel_list_view.h"
#include "panels/playlist_window.h"

#include <QCloseEvent>
#include <QFileDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <QWindow>

#include <algorithm>

namespace zelvaro::panels {
namespace {

// Context menu ids of the panel.
enum PanelMenuId {
  kMenuAddFiles = 7100,
  kMenuRemoveSelected = 7101,
  kMenuRemoveDuplicates = 7102,
  kMenuAddToFav = 7103,
  kMenuFavAdd = 7110,
  kMenuFavRemove = 7111,
};

void AddMenuRow(QMenu& menu, QStringView key, int id, bool enabled = true) {
  QAction* action = menu.addAction(LanguageManager::GetString(key));
  action->setData(id);
  action->setEnabled(enabled);
}

}  // namespace

void PlaylistWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const QPoint point = event->position().toPoint();
  const PlaylistPanelLayout layout = Layout();
  const PanelHit hit = HitTestPanel(layout, point);
  if (hit.kind == PanelHit::kTab) {
    // Tabs act on press, everything else on release over the same part.
    SetActiveTab(hit.index);
    return;
  }
  if (hit.kind != PanelHit::kNone) {
    pressed_ = hit;
    update();
    return;
  }
  const PanelFrameHit frame = FrameHitTest(layout, size(), point, false, DpiScale);
  if (QWindow* handle = windowHandle()) {
    if (frame.edges) {
      handle->startSystemResize(frame.edges);
    } else if (frame.move) {
      handle->startSystemMove();
    }
  }
}

void PlaylistWindow::mouseMoveEvent(QMouseEvent* event) {
  const QPoint point = event->position().toPoint();
  const PlaylistPanelLayout layout = Layout();
  const PanelHit hit = HitTestPanel(layout, point);
  if (!(hit == hover_)) {
    hover_ = hit;
    update();
  }
  const Qt::Edges edges = FrameHitTest(layout, size(), point, false, DpiScale).edges;
  if (edges == (Qt::TopEdge | Qt::LeftEdge)) {
    setCursor(Qt::SizeFDiagCursor);
  } else if (edges == (Qt::TopEdge | Qt::RightEdge)) {
    setCursor(Qt::SizeBDiagCursor);
  } else if (edges & (Qt::TopEdge | Qt::BottomEdge)) {
    setCursor(Qt::SizeVerCursor);
  } else if (edges) {
    setCursor(Qt::SizeHorCursor);
  } else {
    unsetCursor();
  }
}

void PlaylistWindow::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || pressed_.kind == PanelHit::kNone) return;
  const PanelHit pressed = pressed_;
  pressed_ = {};
  update();
  if (HitTestPanel(Layout(), event->position().toPoint()) == pressed) RunPanelHit(pressed);
}

void PlaylistWindow::leaveEvent(QEvent*) {
  if (hover_.kind == PanelHit::kNone) return;
  hover_ = {};
  update();
}

void PlaylistWindow::RunPanelHit(const PanelHit& hit) {
  switch (hit.kind) {
    case PanelHit::kClose:
      HideByUser();
      break;
    case PanelHit::kButton:
      RunButton(hit.index);
      break;
    case PanelHit::kFavButton:
      RunFavButton(hit.index);
      break;
    case PanelHit::kAddGroup:
      RunFavButton(-1);
      break;
    default:
      break;
  }
}

void PlaylistWindow::RunButton(int button) {
  if (!model_) return;
  switch (button) {
    case kMoveTop:
      model_->MoveSelectedTop();
      break;
    case kMoveUp:
      model_->MoveSelectedUp();
      break;
    case kMoveDown:
      model_->MoveSelectedDown();
      break;
    case kMoveBottom:
      model_->MoveSelectedBottom();
      break;
    case kAddFiles:
      AddFilesDialog();
      break;
    case kDelete:
      model_->RemoveSelected();
      break;
    default:
      break;
  }
}

void PlaylistWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    HideByUser();
  } else if (event->key() == Qt::Key_Delete && activeTab_ == 0 && model_) {
    model_->RemoveSelected();
  } else {
    QWidget::keyPressEvent(event);
  }
}

void PlaylistWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  HideByUser();
}

void PlaylistWindow::HideByUser() {
  Show(false);
  if (host_) host_->PostPlayerMessage(WM_PLAYER_PLAYLIST_HIDDEN);
}

void PlaylistWindow::PlayRow(int row) {
  if (!model_) return;
  const std::vector<int>& filtered = model_->Filtered();
  if (row < 0 || row >= static_cast<int>(filtered.size())) return;
  // Playing from the playlist ends a favourites run.
  if (run_ && run_->Active()) {
    run_->End();
    if (favoritesList_) favoritesList_->viewport()->update();
  }
  if (host_) host_->PostPlayerMessage(WM_PLAYER_PLAY_INDEX, filtered[static_cast<size_t>(row)]);
}

void PlaylistWindow::ReorderRows(std::vector<int> rows, int dropRow) {
  if (!model_ || rows.empty() || dropRow < 0 || model_->Items().size() < 2) return;
  std::sort(rows.begin(), rows.end());
  if (DropMovesNothing(rows, dropRow)) return;
  const std::vector<int>& filtered = model_->Filtered();
  const std::vector<PlaylistItem>& items = model_->Items();
  std::vector<int> moved;
  for (int row : rows) {
    if (row >= 0 && row < static_cast<int>(filtered.size())) {
      moved.push_back(filtered[static_cast<size_t>(row)]);
    }
  }
  if (moved.empty()) return;
  const int current = model_->CurrentIndex();
  const QString currentPath = current >= 0 && current < static_cast<int>(items.size())
                                  ? items[static_cast<size_t>(current)].file_path
                                  : QString();
  const int target = dropRow < static_cast<int>(filtered.size())
                         ? filtered[static_cast<size_t>(dropRow)]
                         : static_cast<int>(items.size());
  int firstMoved = 0;
  const std::vector<int> order =
      ReorderedIndices(static_cast<int>(items.size()), moved, target, &firstMoved);
  std::vector<PlaylistItem> reordered;
  reordered.reserve(order.size());
  for (int index : order) reordered.push_back(items[static_cast<size_t>(index)]);
  model_->SetItems(std::move(reordered));
  if (!currentPath.isEmpty()) model_->SetCurrentIndex(model_->FindByPath(currentPath));
  Redraw(false);
  model_->SaveToDatabase();
  playlistList_->clearSelection();
  for (size_t i = 0; i < moved.size(); ++i) {
    const int row = model_->RowOfIndex(firstMoved + static_cast<int>(i));
    playlistList_->SelectSingleRow(row, false);
  }
  const int firstRow = model_->RowOfIndex(firstMoved);
  if (firstRow >= 0) {
    playlistList_->selectionModel()->setCurrentIndex(playlistModel_->index(firstRow, 0),
                                                     QItemSelectionModel::NoUpdate);
    EnsureRowVisible(firstRow);
  }
}

void PlaylistWindow::AddFilesDialog() {
  if (!model_) return;
  const QStringList paths =
      QFileDialog::getOpenFileNames(this, LanguageManager::GetString(u"FileDialog.OpenMediaTitle"),
                                    QString(), MediaFilter().join(QStringLiteral(";;")));
  if (paths.isEmpty()) return;
  for (const QString& path : paths) model_->AddFile(path);
  model_->RebuildFilter();
  Redraw(false);
  model_->SaveToDatabase();
}

void PlaylistWindow::AddDroppedFiles(const QStringList& paths) {
  if (!model_) return;
  for (const QString& path : paths) model_->AddFile(path);
  model_->RebuildFilter();
  Redraw(false);
}

void PlaylistWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void PlaylistWindow::dropEvent(QDropEvent* event) {
  QStringList paths;
  for (const QUrl& url : event->mimeData()->urls()) {
    if (url.isLocalFile()) paths << url.toLocalFile();
  }
  if (paths.isEmpty()) return;
  event->acceptProposedAction();
  AddDroppedFiles(paths);
}

void PlaylistWindow::ShowContextMenu(QPoint global) {
  QMenu menu(this);
  if (activeTab_ == 0) {
    const bool selected = !SelectedRows().empty();
    AddMenuRow(menu, u"Playlist.MenuAddFiles", kMenuAddFiles);
    menu.addSeparator();
    AddMenuRow(menu, u"Playlist.MenuRemoveSelected", kMenuRemoveSelected, selected);
    AddMenuRow(menu, u"Playlist.MenuRemoveDuplicates", kMenuRemoveDuplicates);
    menu.addSeparator();
    AddMenuRow(menu, u"Playlist.MenuAddToFav", kMenuAddToFav, selected);
  } else {
    AddMenuRow(menu, u"Playlist.MenuFavAdd", kMenuFavAdd, !SelectedRows().empty());
    menu.addSeparator();
    AddMenuRow(menu, u"Playlist.MenuFavRemove", kMenuFavRemove,
               !favoritesList_->SelectedRowList().empty());
  }
  QAction* chosen = menu.exec(global);
  switch (chosen ? chosen->data().toInt() : 0) {
    case kMenuAddFiles:
      AddFilesDialog();
      break;
    case kMenuRemoveSelected:
      if (model_) model_->RemoveSelected();
      break;
    case kMenuRemoveDuplicates:
      if (model_) model_->RemoveDuplicates();
      break;
    case kMenuAddToFav:
    case kMenuFavAdd:
      AddSelectedToFavorites();
      break;
    case kMenuFavRemove:
      RemoveSelectedFavorites();
      break;
    default:
      break;
  }
}

}  // namespace zelvaro::panels
