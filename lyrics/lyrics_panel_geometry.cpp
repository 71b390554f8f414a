#include "lyrics/lyrics_panel_geometry.h"

#include <algorithm>

namespace zelvaro {
namespace {

constexpr int kTitleHeight = 28;
constexpr int kBottomHeight = 24;
constexpr int kCloseSide = 16;
constexpr int kEdgeInset = 8;
constexpr int kButtonHeight = 18;
constexpr int kResetWidth = 40;
constexpr int kStepWidth = 28;
constexpr int kButtonGap = 4;
constexpr int kDefaultLineHeight = 22;
constexpr int kBarRightInset = 3;
constexpr int kBarWidth = 8;
constexpr int kBarInset = 2;
constexpr int kMinThumb = 20;
constexpr int kLineMargin = 12;
constexpr int kLineMarginWithBar = 24;
constexpr int kResizeBorder = 5;

int Scale(int length, float scale) {
  return static_cast<int>(length * scale);
}

}  // namespace

LyricsPanelLayout LyricsPanelGeometry(const LyricsPanelInput& input) {
  LyricsPanelLayout layout;
  const float s = input.scale;
  const int w = input.size.width();
  const int h = input.size.height();
  const int titleHeight = Scale(kTitleHeight, s);
  const int bottomHeight = Scale(kBottomHeight, s);
  layout.title = QRect(0, 0, w, titleHeight);
  const int closeSide = Scale(kCloseSide, s);
  layout.close = QRect(w - Scale(kEdgeInset, s) - closeSide, (titleHeight - closeSide) / 2,
                       closeSide, closeSide);
  layout.titleTextLeft = Scale(kEdgeInset, s);
  layout.bottom = QRect(0, h - bottomHeight, w, bottomHeight);
  layout.list = QRect(0, titleHeight, w, std::max(0, h - titleHeight - bottomHeight));

  const int buttonHeight = Scale(kButtonHeight, s);
  const int buttonTop = layout.bottom.top() + (bottomHeight - buttonHeight) / 2;
  const int resetWidth = Scale(kResetWidth, s);
  const int stepWidth = Scale(kStepWidth, s);
  const int gap = Scale(kButtonGap, s);
  layout.reset = QRect(w - Scale(kEdgeInset, s) - resetWidth, buttonTop, resetWidth, buttonHeight);
  layout.plus = QRect(layout.reset.left() - gap - stepWidth, buttonTop, stepWidth, buttonHeight);
  layout.minus = QRect(layout.plus.left() - gap - stepWidth, buttonTop, stepWidth, buttonHeight);

  layout.lineCount = std::max(0, input.lineCount);
  layout.lineHeight = input.lineHeight > 0 ? input.lineHeight : kDefaultLineHeight;
  layout.contentHeight = layout.lineCount * layout.lineHeight;
  layout.viewHeight = layout.list.height();
  layout.maxScrollY = std::max(0, layout.contentHeight - layout.viewHeight);
  int scrollY = input.scrollY;
  if (input.autoScroll && input.currentLine >= 0) {
    // The current line stays in the middle of the view.
    scrollY = input.currentLine * layout.lineHeight + layout.lineHeight / 2 - layout.viewHeight / 2;
  }
  layout.scrollY = std::clamp(scrollY, 0, layout.maxScrollY);

  layout.hasScrollBar = layout.lineCount > 0 && layout.contentHeight > layout.viewHeight;
  layout.lineLeftMargin = Scale(kLineMargin, s);
  layout.lineRightMargin = Scale(layout.hasScrollBar ? kLineMarginWithBar : kLineMargin, s);
  if (layout.hasScrollBar) {
    const int inset = Scale(kBarInset, s);
    const int barWidth = Scale(kBarWidth, s);
    layout.track =
        QRect(layout.list.right() + 1 - Scale(kBarRightInset, s) - barWidth,
              layout.list.top() + inset, barWidth, std::max(0, layout.list.height() - 2 * inset));
    const int track = layout.track.height();
    const int thumb = std::min(
        track, std::max(layout.viewHeight * track / layout.contentHeight, Scale(kMinThumb, s)));
    const int top =
        layout.maxScrollY > 0 ? (track - thumb) * layout.scrollY / layout.maxScrollY : 0;
    layout.thumb = QRect(layout.track.left(), layout.track.top() + top, barWidth, thumb);
  }
  return layout;
}

QRect LyricsLineRect(const LyricsPanelLayout& layout, int index) {
  const int top = layout.list.top() + index * layout.lineHeight - layout.scrollY;
  return QRect(layout.lineLeftMargin, top,
               std::max(0, layout.list.width() - layout.lineLeftMargin - layout.lineRightMargin),
               layout.lineHeight);
}

int LyricsLineAt(const LyricsPanelLayout& layout, QPoint point) {
  if (layout.lineCount == 0 || layout.lineHeight <= 0) return -1;
  if (point.y() < layout.list.top() || point.y() > layout.list.bottom()) return -1;
  if (layout.hasScrollBar && point.x() >= layout.track.left()) return -1;
  const int index = (layout.scrollY + point.y() - layout.list.top()) / layout.lineHeight;
  return index >= 0 && index < layout.lineCount ? index : -1;
}

LyricsPanelButton LyricsButtonAt(const LyricsPanelLayout& layout, QPoint point) {
  if (layout.minus.contains(point)) return kLyricsMinus;
  if (layout.plus.contains(point)) return kLyricsPlus;
  if (layout.reset.contains(point)) return kLyricsReset;
  return kLyricsNoButton;
}

int LyricsScrollForThumbDrag(const LyricsPanelLayout& layout, int startScrollY, int deltaY) {
  const int travel = layout.track.height() - layout.thumb.height();
  if (travel <= 0) return startScrollY;
  return std::clamp(startScrollY + deltaY * layout.maxScrollY / travel, 0, layout.maxScrollY);
}

Qt::Edges LyricsResizeEdges(QSize size, float scale, QPoint point) {
  const int border = Scale(kResizeBorder, scale);
  Qt::Edges edges;
  if (point.x() < border) edges |= Qt::LeftEdge;
  if (point.x() >= size.width() - border) edges |= Qt::RightEdge;
  if (point.y() < border) edges |= Qt::TopEdge;
  if (point.y() >= size.height() - border) edges |= Qt::BottomEdge;
  return edges;
}

}  // namespace zelvaro
