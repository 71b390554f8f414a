#pragma once
// Where the title bar's parts are: the logo, the text area, the six buttons,
// and the resize bands it leaves to the main window. One function computes
// them for painting and hit-testing alike; pure arithmetic on sizes, callable
// from any thread.

#include <QPoint>
#include <QRect>
#include <QSize>

#include <array>

namespace zelvaro::chrome {

// Buttons by index, right to left on screen except settings, which sits left
// of the pin.
enum TitleBarButton : int {
  kTitleBarPin = 0,
  kTitleBarMinimize = 1,
  kTitleBarMaximize = 2,
  kTitleBarFullscreen = 3,
  kTitleBarClose = 4,
  kTitleBarSettings = 5,
};
inline constexpr int kTitleBarButtonCount = 6;
// The bar's height at 96 DPI.
inline constexpr int kTitleBarDesignHeight = 32;

struct TitleBarLayout {
  QRect logo;  // empty when there is no logo
  QRect text;  // the text area, full height; may be empty on a narrow bar
  std::array<QRect, kTitleBarButtonCount> buttons;  // by TitleBarButton
  std::array<QRect, kTitleBarButtonCount> icons;    // centred in each button
};

// The layout of a bar `size` big at interface scale `scale` (lengths are
// design lengths times scale, truncated).
TitleBarLayout TitleBarGeometry(QSize size, float scale, bool hasLogo);

// The button under `point`, or -1.
int TitleBarButtonAt(const TitleBarLayout& layout, QPoint point);

// The edges of the main window a press at `pointInWindow` should resize
// (within 8 design pixels of them), for a window `windowSize` big in its
// normal state; none otherwise.
Qt::Edges TitleBarResizeEdges(QPoint pointInWindow, QSize windowSize, float scale);

}  // namespace zelvaro::chrome
