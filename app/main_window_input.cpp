// MainWindow: the keys outside the key map, the wheel, and the timers by
// which the window follows the engine (it pushes nothing but the end of a
// file): 1001 position and A-B loop, 1005 the bars in fullscreen, 1006 the
// OSD fade, 1007 the arming of the size OSD.

#include "app/dpi.h"
#include "app/main_window.h"
#include "app/osd_formats.h"
#include "app/osd_overlay.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"

#include <QCursor>
#include <QKeyEvent>
#include <QScreen>
#include <QWheelEvent>

#include <algorithm>
#include <cstdlib>

namespace zelvaro {
namespace {

constexpr int kFrameOsdMs = 500;
constexpr double kVolumeWheelStep = 0.05;
// The fullscreen hover bands, at 96 DPI.
constexpr int kTitleHoverBand = 62;
constexpr int kToolbarHoverBand = 110;

}  // namespace

void MainWindow::keyPressEvent(QKeyEvent* event) {
  if (OnKeyDown(event->key(), event->modifiers())) {
    SyncToolbar();
  } else {
    QWidget::keyPressEvent(event);
  }
}

bool MainWindow::OnKeyDown(int key, Qt::KeyboardModifiers modifiers) {
  const bool ctrl = modifiers & Qt::ControlModifier;
  const bool shift = modifiers & Qt::ShiftModifier;
  const bool alt = modifiers & Qt::AltModifier;
  switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      ToggleFullscreen();
      return true;
    case Qt::Key_F10:
      ToggleControlPanel();
      return true;
    case Qt::Key_F11:
      ToggleLyricsPanel();
      return true;
    case Qt::Key_Left:
    case Qt::Key_Right: {
      if (!graph_) return true;
      const double sign = key == Qt::Key_Left ? -1.0 : 1.0;
      // Ctrl first: Ctrl+Shift+Left is a fine step, never snapped.
      if (ctrl) {
        graph_->SeekRelative(sign * 0.1, false);
        ShowOsd(LanguageManager::GetString(sign < 0 ? u"OSD.PrevFrame" : u"OSD.NextFrame"),
                kFrameOsdMs);
        return true;
      }
      // Read at every press: the options may have changed it meanwhile.
      const bool snap = Settings::GetDwordOr(setting::kKeyframeSeek, 1) != 0;
      const double step = shift ? 10.0 : (alt ? 0.5 : 3.0);
      graph_->SeekRelative(sign * step, snap);
      ShowOsd(FormatOsdTime(graph_->GetPosition()), kOsdMs);
      return true;
    }
    case Qt::Key_Up:
    case Qt::Key_Down:
      // With Alt held the window never sees these keys as its own.
      if (alt) return false;
      if (!graph_) return true;
      StepVolume(key == Qt::Key_Up ? kVolumeKeyStep : -kVolumeKeyStep);
      return true;
    default:
      return false;
  }
}

void MainWindow::wheelEvent(QWheelEvent* event) {
  // A sideways scroll is not a volume change; small deltas gather into notches.
  const int steps = wheelSteps_.Add(event->angleDelta().y());
  for (int i = 0; i < std::abs(steps); ++i) OnMouseWheel(steps > 0 ? 1 : -1);
  event->accept();
}

void MainWindow::OnMouseWheel(int delta) {
  if (!graph_) return;
  // One message is one step, whatever its size; a zero delta lowers.
  const double step = delta >= 1 ? kVolumeWheelStep : -kVolumeWheelStep;
  const double volume = std::clamp(static_cast<double>(graph_->Volume()) + step, 0.0, 1.0);
  SetWheelVolume(volume);
  SyncToolbar();
  ShowOsd(VolumeOsdText(graph_->Volume()), kOsdMs);
}

void MainWindow::OnTimer(int id) {
  switch (id) {
    case 1001:
      // The loop closes here, within a tick and 0.05 s.
      SyncToolbar();
      if (graph_) graph_->CheckABRepeat();
      UpdateLyricsLine();
      // Whatever changed by other ways (the toolbar, the wheel, MPRIS)
      // shows in an open panel within a tick.
      RefreshControlPanel();
      break;
    case 1005:
      UpdateFullscreenBars();
      break;
    case 1006:
      if (osdOverlay_ && osdOverlay_->isShowing()) osdOverlay_->OsdTick();
      FeedSpectrum();
      break;
    case 1007:
      sizeOsdTimer_.stop();
      sizeOsdArmed_ = true;
      break;
    default:
      break;
  }
}

void MainWindow::UpdateFullscreenBars() {
  if (!fullscreen_) return;
  // The monitor is the window's own, whatever screen the cursor is on.
  const QScreen* monitor = screen();
  if (monitor == nullptr) return;
  const QRect area = monitor->geometry();
  const int y = QCursor::pos().y();
  const bool showTitleBar = y - area.top() < Scaled(kTitleHoverBand);
  const bool showToolbar = area.bottom() + 1 - y < Scaled(kToolbarHoverBand);
  if (showTitleBar == showTitleBar_ && showToolbar == showToolbar_) return;
  showTitleBar_ = showTitleBar;
  showToolbar_ = showToolbar;
  LayoutChildren();
}

}  // namespace zelvaro
