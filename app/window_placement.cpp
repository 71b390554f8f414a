#include "app/window_placement.h"

namespace zelvaro {
namespace {
// How much of the window must stay reachable on its screen.
constexpr int kGrabMargin = 50;

int Area(const QRect& rect) { return rect.isEmpty() ? 0 : rect.width() * rect.height(); }
}  // namespace

QRect CenteredRect(const QSize& size, const ScreenArea& primary) {
  const QRect screen = primary.geometry;
  return QRect(screen.x() + (screen.width() - size.width()) / 2,
               screen.y() + (screen.height() - size.height()) / 2, size.width(), size.height());
}

QRect RestoredWindowRect(const QRect& stored, const std::vector<ScreenArea>& screens) {
  const ScreenArea* best = nullptr;
  int bestArea = 0;
  for (const ScreenArea& screen : screens) {
    const int area = Area(stored.intersected(screen.geometry));
    if (area > bestArea) {
      best = &screen;
      bestArea = area;
    }
  }
  if (best == nullptr) return CenteredRect(stored.size(), screens.front());

  const QRect work = best->workArea;
  int x = stored.x();
  int y = stored.y();
  const int right = x + stored.width();
  const int bottom = y + stored.height();
  // In this order, each test on the values the earlier ones left.
  if (right < work.left() + kGrabMargin) x = work.left();
  if (bottom < work.top() + kGrabMargin) y = work.top();
  if (x > work.left() + work.width() - kGrabMargin) x = work.left() + work.width() - stored.width();
  if (y > work.top() + work.height() - kGrabMargin) y = work.top() + work.height() - stored.height();
  return QRect(x, y, stored.width(), stored.height());
}

}  // namespace zelvaro
