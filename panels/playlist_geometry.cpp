#include "panels/playlist_geometry.h"

#include "chrome/design_length.h"

#include <algorithm>
#include <cstdlib>

namespace zelvaro::panels {
namespace {

constexpr int kPad = 8;
constexpr int kButton = 24;
constexpr int kGap = 4;
constexpr int kTitleHeight = 28;
constexpr int kCloseSize = 20;
constexpr int kTabTop = 28;
constexpr int kTabBottom = 54;
constexpr int kTabWidth = 70;
constexpr int kControlTop = 62;
constexpr int kControlHeight = 28;
constexpr int kListTop = 98;
constexpr int kFrameBand = 8;
constexpr int kTouchDistance = 5;
constexpr int kOffscreenKeep = 50;
constexpr int kAboveTopSlack = 10;
constexpr int kBottomKeep = 30;

}  // namespace

PlaylistPanelLayout PlaylistLayout(QSize client, int activeTab, float scale) {
  auto s = [scale](int length) { return chrome::ScaledLength(length, scale); };
  const int w = client.width();
  const int h = client.height();
  PlaylistPanelLayout layout;
  layout.title = QRect(s(kPad), 0, w - s(32) - s(kPad), s(kTitleHeight));
  layout.close =
      QRect(w - s(28), (s(kTitleHeight) - s(kCloseSize)) / 2, s(kCloseSize), s(kCloseSize));
  for (int tab = 0; tab < 2; ++tab) {
    layout.tabs[static_cast<size_t>(tab)] =
        QRect(s(kPad) + tab * s(kTabWidth), s(kTabTop), s(kTabWidth), s(kTabBottom) - s(kTabTop));
  }
  const int buttonTop = h - s(32);
  const QRect list(s(kPad), s(kListTop), w - 2 * s(kPad), buttonTop - s(kPad) - s(kListTop));
  auto button = [&](int x) { return QRect(x, buttonTop, s(kButton), s(kButton)); };
  if (activeTab == 0) {
    layout.search = QRect(s(kPad), s(kControlTop), w - 2 * s(kPad), s(kControlHeight));
    layout.list = list;
    for (int i = 0; i < 4; ++i) {
      layout.buttons[static_cast<size_t>(i)] = button(s(kPad) + i * (s(kButton) + s(kGap)));
    }
    layout.buttons[kAddFiles] = button(w - s(32));
    layout.buttons[kDelete] = button(w - s(60));
    const int left = layout.buttons[kMoveBottom].right() + 1;
    layout.rowCount = QRect(left, buttonTop, layout.buttons[kDelete].left() - left, s(kButton));
  } else {
    layout.groupCombo = QRect(s(kPad), s(kControlTop), w - s(44), s(kControlHeight));
    layout.addGroup = QRect(w - s(32), s(kControlTop) + s(2), s(kButton), s(kButton));
    layout.favoritesList = list;
    layout.favButtons[kFavMoveUp] = button(s(kPad));
    layout.favButtons[kFavMoveDown] = button(s(36));
    layout.favButtons[kFavAdd] = button(w - s(32));
    layout.favButtons[kFavDelete] = button(w - s(60));
    const int left = layout.favButtons[kFavMoveDown].right() + 1;
    layout.favRowCount =
        QRect(left, buttonTop, layout.favButtons[kFavDelete].left() - left, s(kButton));
  }
  return layout;
}

PanelHit HitTestPanel(const PlaylistPanelLayout& layout, QPoint point) {
  if (layout.close.contains(point)) return {PanelHit::kClose, 0};
  for (int i = 0; i < 2; ++i) {
    if (layout.tabs[static_cast<size_t>(i)].contains(point)) return {PanelHit::kTab, i};
  }
  for (int i = 0; i < 6; ++i) {
    if (layout.buttons[static_cast<size_t>(i)].contains(point)) return {PanelHit::kButton, i};
  }
  if (layout.addGroup.contains(point)) return {PanelHit::kAddGroup, 0};
  for (int i = 0; i < 4; ++i) {
    if (layout.favButtons[static_cast<size_t>(i)].contains(point)) return {PanelHit::kFavButton, i};
  }
  return {};
}

PanelFrameHit FrameHitTest(const PlaylistPanelLayout& layout, QSize client, QPoint point,
                           bool overChild, float scale) {
  const int band = chrome::ScaledLength(kFrameBand, scale);
  const int w = client.width();
  const int h = client.height();
  PanelFrameHit hit;
  auto sides = [&] {
    Qt::Edges edges;
    if (point.x() < band) edges |= Qt::LeftEdge;
    if (point.x() >= w - band) edges |= Qt::RightEdge;
    return edges;
  };
  if (point.y() < band) {
    hit.edges = Qt::TopEdge | sides();
    return hit;
  }
  if (Qt::Edges edges = sides()) {
    // No bottom corners: the side bands run to the bottom.
    hit.edges = edges;
    return hit;
  }
  if (HitTestPanel(layout, point).kind != PanelHit::kNone) return hit;
  if (point.y() >= h - band) {
    hit.edges = Qt::BottomEdge;
    return hit;
  }
  hit.move = !overChild;
  return hit;
}

int DropRowAt(int hitRow, int rowTop, int rowHeight, QPoint point, int listWidth, int rowCount) {
  if (hitRow >= 0) return point.y() >= rowTop + rowHeight / 2 ? hitRow + 1 : hitRow;
  if (point.y() > 0 && point.x() >= 0 && point.x() < listWidth) return rowCount;
  return -1;
}

bool DropMovesNothing(const std::vector<int>& sortedRows, int dropRow) {
  if (sortedRows.empty()) return true;
  const int first = sortedRows.front();
  const int last = sortedRows.back();
  const bool run = last - first + 1 == static_cast<int>(sortedRows.size());
  return run && dropRow >= first && dropRow <= last + 1;
}

std::vector<int> ReorderedIndices(int count, const std::vector<int>& moved, int target,
                                  int* firstMoved) {
  std::vector<bool> isMoved(static_cast<size_t>(std::max(count, 0)), false);
  int below = 0;
  for (int index : moved) {
    if (index < 0 || index >= count || isMoved[static_cast<size_t>(index)]) continue;
    isMoved[static_cast<size_t>(index)] = true;
    if (index < target) ++below;
  }
  std::vector<int> rest;
  rest.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    if (!isMoved[static_cast<size_t>(i)]) rest.push_back(i);
  }
  const int insertAt = std::clamp(target - below, 0, static_cast<int>(rest.size()));
  std::vector<int> order(rest.begin(), rest.begin() + insertAt);
  for (int index : moved) {
    if (index >= 0 && index < count) order.push_back(index);
  }
  order.insert(order.end(), rest.begin() + insertAt, rest.end());
  if (firstMoved) *firstMoved = insertAt;
  return order;
}

PanelPlacement SnapDefaultPlacement(const QRect& mainRect, const QRect& work, bool heightSync,
                                    int savedHeight, float scale) {
  const int width = chrome::ScaledLength(kPanelDesignWidth, scale);
  int height = heightSync ? mainRect.height() : savedHeight;
  if (height <= 0) height = chrome::ScaledLength(kPanelDesignHeight, scale);
  PanelPlacement placement;
  int x = mainRect.x() + mainRect.width();
  placement.snapSide = 1;
  if (x + width > work.x() + work.width()) {
    x = mainRect.x() - width;
    placement.snapSide = 2;
    if (x < work.x()) {
      x = work.x();
      placement.snapSide = 0;
    }
  }
  placement.rect = QRect(x, mainRect.y(), width, height);
  placement.snapped = placement.snapSide != 0;
  return placement;
}

QRect RestoredPanelRect(const QRect& saved, const QRect& work, float scale) {
  auto s = [scale](int length) { return chrome::ScaledLength(length, scale); };
  const int workRight = work.x() + work.width();
  const int workBottom = work.y() + work.height();
  int x = std::min(saved.x(), workRight - s(kOffscreenKeep));
  if (x + saved.width() < work.x() + s(kOffscreenKeep)) x = work.x();
  int y = saved.y();
  if (y < work.y() - s(kAboveTopSlack)) y = work.y();
  y = std::min(y, workBottom - s(kBottomKeep));
  return QRect(x, y, saved.width(), saved.height());
}

int SnapSideOf(const QRect& panel, const QRect& mainRect, float scale) {
  const int touch = chrome::ScaledLength(kTouchDistance, scale);
  const int mainRight = mainRect.x() + mainRect.width();
  const int panelRight = panel.x() + panel.width();
  if (std::abs(panel.x() - mainRight) < touch) return 1;
  if (std::abs(panelRight - mainRect.x()) < touch) return 2;
  return 0;
}

}  // namespace zelvaro::panels
