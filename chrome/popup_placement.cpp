#include "chrome/popup_placement.h"

#include "chrome/design_length.h"

#include <algorithm>

namespace zelvaro::chrome {
namespace {

// QRect's right() and bottom() are inclusive; the design's edges are not.
int RightEdge(const QRect& r) {
  return r.x() + r.width();
}
int BottomEdge(const QRect& r) {
  return r.y() + r.height();
}

}  // namespace

QPoint TooltipPosition(QPoint cursor, QSize size, const QRect& work, float scale) {
  int x = cursor.x();
  int y = cursor.y() + ScaledLength(18, scale);
  if (x + size.width() > RightEdge(work)) x = cursor.x() - ScaledLength(4, scale) - size.width();
  x = std::max(x, work.left());
  if (y + size.height() > BottomEdge(work)) y = cursor.y() - ScaledLength(4, scale) - size.height();
  y = std::max(y, work.top());
  return {x, y};
}

QPoint PreviewPopupPosition(int x, int seekTopY, QSize size, const QRect& work, float scale) {
  int left = x - size.width() / 2;
  int top = seekTopY - ScaledLength(5, scale) - size.height();
  left = std::max(left, work.left());
  if (left + size.width() > RightEdge(work)) left = RightEdge(work) - size.width();
  top = std::max(top, work.top());
  return {left, top};
}

}  // namespace zelvaro::chrome
