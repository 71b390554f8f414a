#pragma once
// The main window's geometry: where the title bar, the picture and the
// toolbar sit inside the frame, the window size each sizing command asks
// for, where a resized window lands on its work area, the magnet that pulls
// a moved window to the work area's edges, and where a docked panel stands
// beside the window. Pure arithmetic on rectangles: MainWindow and the tests
// ask the same functions. Any thread.
//
// Rectangles are Qt's (x, y, width, height); an edge called "right" or
// "bottom" here is the first pixel past the rectangle (x + width), as the
// window system counts it.

#include <QRect>
#include <QSize>

namespace zelvaro {

// Design lengths at 96 DPI; the bars' own heights live with the bars.
inline constexpr int kBorderWidth = 3;
inline constexpr int kResizeBand = 6;
// How near a panel's edge must be to the window's to count as docked.
inline constexpr int kDockDistance = 5;

struct MainWindowLayout {
  int border = 0;  // 0 in fullscreen
  int titleBarHeight = 0;
  int toolbarHeight = 0;
  // In the window's coordinates. In fullscreen the picture fills the window
  // and the bars lie over its top and bottom.
  QRect titleBar;
  QRect video;
  QRect toolbar;

  // What the frame adds to the picture in a window.
  int ChromeWidth() const { return 2 * border; }
  int ChromeHeight() const { return titleBarHeight + toolbarHeight + 2 * border; }
};

MainWindowLayout ComputeMainWindowLayout(QSize client, bool fullscreen, float scale);

// The picture as it stands on screen: width and height exchanged at 90 and
// 270 degrees.
QSize DisplayedVideoSize(QSize native, int rotationDegrees);

// SizeToVideo: the picture at `percent` of `video` plus the frame.
QSize WindowSizeForVideo(QSize video, int percent, const MainWindowLayout& frame);
// SizeToMonitor: the largest picture of `video`'s shape whose window fits in
// `percent` of the work area, plus the frame.
QSize WindowSizeForMonitor(QSize video, QSize workArea, int percent, const MainWindowLayout& frame);
// FitToPercent without a picture: `percent` of the work area, never more
// than all of it.
QSize WindowSizeWithoutVideo(QSize workArea, int percent);

// The window resized to `size` about its present centre, pushed inside the
// work area; a window larger than the work area keeps its top-left in it and
// overflows at the right and bottom. Never shrunk.
QRect CenterAndPlace(const QRect& window, QSize size, const QRect& workArea);

// A moved window within `distance` of a work-area edge lands on it; right
// wins over left and bottom over top. Size kept; distance 0 pulls nothing.
QRect MagnetRect(const QRect& window, const QRect& workArea, int distance);

// Which side of `main` the panel is docked to: 1 right of it, 2 left of it,
// 0 neither. Only the horizontal gap counts.
int DockedSide(const QRect& panel, const QRect& main, int distance);
// Where a panel docked on `snapSide` stands beside `main`: against its edge,
// at its top and of its height with `heightSync`, else at its own top and
// height. Side 0 leaves the panel where it is.
QRect DockedPanelRect(const QRect& panel, const QRect& main, int snapSide, bool heightSync);

}  // namespace zelvaro
