// MainWindow: the volume the wheel sets, saved once the wheel settles rather
// than at every notch (each settings write syncs the file to disk), and the
// window's normal rectangle followed through moves as well as resizes.

#include "app/main_window.h"
#include "engine/graph_manager.h"

#include <QMoveEvent>

namespace zelvaro {
namespace {

// Long enough to span the gaps of one spin, short enough that a player killed
// right after still has the new volume.
constexpr int kWheelSettleMs = 400;

}  // namespace

void MainWindow::SetWheelVolume(double volume) {
  if (!graph_) return;
  graph_->SetVolumeUnsaved(static_cast<float>(volume));
  volumeSaveTimer_.setSingleShot(true);
  connect(&volumeSaveTimer_, &QTimer::timeout, this, &MainWindow::SaveWheelVolume,
          Qt::UniqueConnection);
  volumeSaveTimer_.start(kWheelSettleMs);
}

void MainWindow::SaveWheelVolume() {
  volumeSaveTimer_.stop();
  if (graph_) graph_->SaveVolume();
}

void MainWindow::moveEvent(QMoveEvent* event) {
  // A window only moved keeps its size; it reopens where it was put.
  if (!fullscreen_ && !(windowState() & (Qt::WindowMaximized | Qt::WindowMinimized))) {
    normalGeometry_ = geometry();
  }
  if (!fullscreen_) FollowDockedPanels();
  QWidget::moveEvent(event);
}

}  // namespace zelvaro
