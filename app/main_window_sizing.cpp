// MainWindow: the sizing commands, the window's own move with the magnet
// that pulls it to the work area's edges, and the tool windows docked
// beside it.

#include "app/dpi.h"
#include "app/main_window.h"
#include "engine/graph_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"

#include <QApplication>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QWindow>

namespace zelvaro {

QRect MainWindow::WorkAreaNear(const QRect& rect) const {
  const QScreen* monitor = QGuiApplication::screenAt(rect.center());
  if (monitor == nullptr) monitor = screen();
  if (monitor == nullptr) monitor = QGuiApplication::primaryScreen();
  return monitor != nullptr ? monitor->availableGeometry() : QRect();
}

void MainWindow::CenterAndPlace(QSize size) {
  // A maximized window is sized from the rectangle it restores to.
  QRect from = geometry();
  if (windowState() & Qt::WindowMaximized) {
    if (normalGeometry_.isValid()) from = normalGeometry_;
    showNormal();
  }
  setGeometry(zelvaro::CenterAndPlace(from, size, WorkAreaNear(from)));
}

void MainWindow::SizeToVideo(int percent) {
  if (!graph_ || fullscreen_) return;
  int width = 0;
  int height = 0;
  if (!graph_->GetVideoSize(&width, &height)) return;
  const QSize video = DisplayedVideoSize(QSize(width, height), graph_->Rotation());
  CenterAndPlace(WindowSizeForVideo(video, percent, Layout()));
}

void MainWindow::SizeToMonitor(int percent) {
  if (!graph_ || fullscreen_) return;
  int width = 0;
  int height = 0;
  if (!graph_->GetVideoSize(&width, &height)) return;
  const QSize video = DisplayedVideoSize(QSize(width, height), graph_->Rotation());
  const QRect work = WorkAreaNear(geometry());
  CenterAndPlace(WindowSizeForMonitor(video, work.size(), percent, Layout()));
}

void MainWindow::FitToPercent(int percent) {
  if (fullscreen_) LeaveFullscreen();
  int width = 0;
  int height = 0;
  if (graph_ && graph_->GetVideoSize(&width, &height)) {
    SizeToVideo(percent);
    return;
  }
  CenterAndPlace(WindowSizeWithoutVideo(WorkAreaNear(geometry()).size(), percent));
}

PanelDock* MainWindow::AddDockedPanel(QWidget* panel, bool follows, PanelSettingNames names) {
  docks_.push_back(std::make_unique<PanelDock>(panel, follows, names));
  return docks_.back().get();
}

void MainWindow::UpdateDockedSnapStates() {
  for (const auto& dock : docks_) dock->UpdateSnapState(geometry(), DpiScale);
}

void MainWindow::FollowDockedPanels() {
  if (fullscreen_ || docks_.empty()) return;
  SyncPlaylistDock();
  // Read at each move: the options may have changed it meanwhile.
  const bool heightSync = Settings::GetDwordOr(setting::kPlaylistHeightSync, 1) != 0;
  for (const auto& dock : docks_) dock->Follow(geometry(), heightSync);
}

void MainWindow::BeginWindowMove(QWidget* bar, QPoint globalCursor) {
  if (fullscreen_) return;
  UpdateDockedSnapStates();
  // Where the window system moves windows itself (Wayland), or a maximized
  // window's manager decides, the move is its own: no magnet there.
  if (!ClientPlacesWindows() || (windowState() & Qt::WindowMaximized)) {
    ChromeHost::BeginWindowMove(bar, globalCursor);
    return;
  }
  // Read at each move: the options may have changed it meanwhile.
  magnetDistance_ = static_cast<int>(Settings::GetDwordOr(setting::kMagnetDistance, 10));
  movingWindow_ = true;
  moveStartCursor_ = globalCursor;
  moveStartRect_ = geometry();
  // The pressed bar holds the pointer; its moves and the release are
  // watched on their way to it.
  qApp->installEventFilter(this);
}

void MainWindow::MoveWithPointer(QPoint globalCursor) {
  // From where the move started, not from the last step: the magnet's pull
  // is never carried into the next step.
  QRect moved = moveStartRect_.translated(globalCursor - moveStartCursor_);
  if (magnetDistance_ > 0) {
    moved = MagnetRect(moved, WorkAreaNear(moved), static_cast<int>(magnetDistance_ * DpiScale));
  }
  if (moved.topLeft() != pos()) move(moved.topLeft());
}

void MainWindow::EndWindowMove() {
  if (!movingWindow_) return;
  movingWindow_ = false;
  qApp->removeEventFilter(this);
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  if (movingWindow_) {
    switch (event->type()) {
      case QEvent::MouseMove:
        if (watched->isWidgetType()) {
          const auto* mouse = static_cast<QMouseEvent*>(event);
          if (mouse->buttons() & Qt::LeftButton) {
            MoveWithPointer(mouse->globalPosition().toPoint());
          } else {
            EndWindowMove();
          }
          return true;
        }
        break;
      case QEvent::MouseButtonRelease:
        if (static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) EndWindowMove();
        break;
      case QEvent::ApplicationDeactivate:
        EndWindowMove();
        break;
      default:
        break;
    }
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace zelvaro
