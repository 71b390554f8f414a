#include "chrome/title_bar_geometry.h"

#include "chrome/design_length.h"

#include <algorithm>

namespace zelvaro::chrome {
namespace {

constexpr int kLogoX = 6;
constexpr int kLogoInset = 10;  // the logo's side is the bar's height less this
constexpr int kTextGap = 6;
constexpr int kTextLeftWithoutLogo = 10;
constexpr int kTextEndFromRight = 160;
constexpr int kButtonSide = 28;
constexpr int kIconSide = 16;
constexpr int kCloseRightMargin = 8;
constexpr int kButtonGap = 2;
constexpr int kPinExtraGap = 12;  // sets the pin and settings apart from the window buttons
constexpr int kResizeBand = 8;

}  // namespace

TitleBarLayout TitleBarGeometry(QSize size, float scale, bool hasLogo) {
  const int w = size.width();
  const int h = size.height();
  TitleBarLayout layout;

  int textLeft = ScaledLength(kTextLeftWithoutLogo, scale);
  if (hasLogo) {
    const int side = h - ScaledLength(kLogoInset, scale);
    if (side > 0) {
      layout.logo = QRect(ScaledLength(kLogoX, scale), (h - side) / 2, side, side);
      textLeft = ScaledLength(kLogoX, scale) + side + ScaledLength(kTextGap, scale);
    }
  }
  const int textRight = w - ScaledLength(kTextEndFromRight, scale);  // exclusive
  layout.text = QRect(textLeft, 0, std::max(0, textRight - textLeft), h);

  const int side = ScaledLength(kButtonSide, scale);
  const int top = (h - side) / 2;
  const int gap = ScaledLength(kButtonGap, scale);
  // Right edges are exclusive, as the design measures them.
  auto placeLeftOf = [&](int rightEdge) { return QRect(rightEdge - side, top, side, side); };
  auto& b = layout.buttons;
  b[kTitleBarClose] = placeLeftOf(w - ScaledLength(kCloseRightMargin, scale));
  b[kTitleBarFullscreen] = placeLeftOf(b[kTitleBarClose].left() - gap);
  b[kTitleBarMaximize] = placeLeftOf(b[kTitleBarFullscreen].left() - gap);
  b[kTitleBarMinimize] = placeLeftOf(b[kTitleBarMaximize].left() - gap);
  b[kTitleBarPin] =
      placeLeftOf(b[kTitleBarMinimize].left() - ScaledLength(kPinExtraGap, scale) - gap);
  b[kTitleBarSettings] = placeLeftOf(b[kTitleBarPin].left() - gap);

  const int iconSide = ScaledLength(kIconSide, scale);
  for (int i = 0; i < kTitleBarButtonCount; ++i) {
    const QRect& button = b[i];
    layout.icons[i] = QRect(button.left() + (button.width() - iconSide) / 2,
                            button.top() + (button.height() - iconSide) / 2, iconSide, iconSide);
  }
  return layout;
}

int TitleBarButtonAt(const TitleBarLayout& layout, QPoint point) {
  for (int i = 0; i < kTitleBarButtonCount; ++i) {
    if (layout.buttons[i].contains(point)) return i;
  }
  return -1;
}

Qt::Edges TitleBarResizeEdges(QPoint pointInWindow, QSize windowSize, float scale) {
  const int band = ScaledLength(kResizeBand, scale);
  Qt::Edges edges;
  if (pointInWindow.y() < band) edges |= Qt::TopEdge;
  if (pointInWindow.x() < band) edges |= Qt::LeftEdge;
  if (pointInWindow.x() >= windowSize.width() - band) edges |= Qt::RightEdge;
  return edges;
}

}  // namespace zelvaro::chrome
