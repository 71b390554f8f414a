#include "app/window_sizing.h"

#include "chrome/design_length.h"
#include "chrome/title_bar_geometry.h"
#include "chrome/toolbar_geometry.h"

#include <algorithm>
#include <cstdlib>

namespace zelvaro {
namespace {

int Right(const QRect& r) {
  return r.x() + r.width();
}

int Bottom(const QRect& r) {
  return r.y() + r.height();
}

}  // namespace

MainWindowLayout ComputeMainWindowLayout(QSize client, bool fullscreen, float scale) {
  MainWindowLayout layout;
  layout.titleBarHeight = chrome::ScaledLength(chrome::kTitleBarDesignHeight, scale);
  layout.toolbarHeight = chrome::ScaledLength(chrome::kToolbarDesignHeight, scale);
  const int w = client.width();
  const int h = client.height();
  const int t = layout.titleBarHeight;
  const int n = layout.toolbarHeight;
  if (fullscreen) {
    layout.titleBar = QRect(0, 0, w, t);
    layout.video = QRect(0, 0, w, h);
    layout.toolbar = QRect(0, h - n, w, n);
    return layout;
  }
  const int b = chrome::ScaledLength(kBorderWidth, scale);
  layout.border = b;
  layout.titleBar = QRect(b, b, w - 2 * b, t);
  layout.video = QRect(b, b + t, w - 2 * b, h - 2 * b - n - t);
  layout.toolbar = QRect(b, h - b - n, w - 2 * b, n);
  return layout;
}

QSize DisplayedVideoSize(QSize native, int rotationDegrees) {
  const int turn = ((rotationDegrees % 360) + 360) % 360;
  return turn == 90 || turn == 270 ? native.transposed() : native;
}

QSize WindowSizeForVideo(QSize video, int percent, const MainWindowLayout& frame) {
  return {video.width() * percent / 100 + frame.ChromeWidth(),
          video.height() * percent / 100 + frame.ChromeHeight()};
}

QSize WindowSizeForMonitor(QSize video, QSize workArea, int percent,
                           const MainWindowLayout& frame) {
  const int availableWidth = workArea.width() * percent / 100 - frame.ChromeWidth();
  const int availableHeight = workArea.height() * percent / 100 - frame.ChromeHeight();
  if (video.width() < 1 || video.height() < 1 || availableWidth < 1 || availableHeight < 1) {
    return {availableWidth + frame.ChromeWidth(), availableHeight + frame.ChromeHeight()};
  }
  const float aspect = static_cast<float>(video.width()) / static_cast<float>(video.height());
  int width = availableWidth;
  int height = availableHeight;
  if (aspect > static_cast<float>(availableWidth) / static_cast<float>(availableHeight)) {
    height = static_cast<int>(static_cast<float>(availableWidth) / aspect);
  } else {
    width = static_cast<int>(static_cast<float>(availableHeight) * aspect);
  }
  return {width + frame.ChromeWidth(), height + frame.ChromeHeight()};
}

QSize WindowSizeWithoutVideo(QSize workArea, int percent) {
  return {std::min(workArea.width(), workArea.width() * percent / 100),
          std::min(workArea.height(), workArea.height() * percent / 100)};
}

QRect CenterAndPlace(const QRect& window, QSize size, const QRect& workArea) {
  const int centreX = window.x() + window.width() / 2;
  const int centreY = window.y() + window.height() / 2;
  // Pulled in from the right and bottom first, so that a window larger than
  // the work area overflows there and its title bar stays within reach.
  const int x =
      std::max(std::min(centreX - size.width() / 2, Right(workArea) - size.width()), workArea.x());
  const int y = std::max(std::min(centreY - size.height() / 2, Bottom(workArea) - size.height()),
                         workArea.y());
  return {QPoint(x, y), size};
}

QRect MagnetRect(const QRect& window, const QRect& workArea, int distance) {
  QRect placed = window;
  if (distance <= 0) return placed;
  if (std::abs(placed.x() - workArea.x()) < distance) placed.moveLeft(workArea.x());
  if (std::abs(Right(placed) - Right(workArea)) < distance) {
    placed.moveLeft(Right(workArea) - placed.width());
  }
  if (std::abs(placed.y() - workArea.y()) < distance) placed.moveTop(workArea.y());
  if (std::abs(Bottom(placed) - Bottom(workArea)) < distance) {
    placed.moveTop(Bottom(workArea) - placed.height());
  }
  return placed;
}

int DockedSide(const QRect& panel, const QRect& main, int distance) {
  if (std::abs(panel.x() - Right(main)) < distance) return 1;
  if (std::abs(Right(panel) - main.x()) < distance) return 2;
  return 0;
}

QRect DockedPanelRect(const QRect& panel, const QRect& main, int snapSide, bool heightSync) {
  if (snapSide != 1 && snapSide != 2) return panel;
  const int x = snapSide == 1 ? Right(main) : main.x() - panel.width();
  if (heightSync) return {x, main.y(), panel.width(), main.height()};
  return {QPoint(x, panel.y()), panel.size()};
}

}  // namespace zelvaro
