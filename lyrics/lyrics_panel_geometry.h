#pragma once
// Where the lyrics panel's parts are: title row and close button, the list
// of lines with its scroll bar, the offset row and its three buttons. One
// function computes them for painting and hit-testing alike, and settles the
// scroll position (following the current line, kept in range). Pure
// arithmetic on sizes, callable from any thread.

#include <QPoint>
#include <QRect>
#include <QSize>

namespace zelvaro {

// The offset row's buttons; the numbers are the panel's own.
enum LyricsPanelButton : int {
  kLyricsNoButton = 0,
  kLyricsMinus = 1,
  kLyricsPlus = 2,
  kLyricsReset = 3,
};

struct LyricsPanelInput {
  QSize size;
  float scale = 1.0f;
  int lineHeight = 0;  // the normal font's height plus 8 scaled; 0 means 22
  int lineCount = 0;
  int scrollY = 0;
  bool autoScroll = true;
  int currentLine = -1;
};

struct LyricsPanelLayout {
  QRect title;
  QRect close;
  QRect list;
  QRect bottom;
  QRect minus;
  QRect plus;
  QRect reset;
  int titleTextLeft = 0;
  int lineHeight = 0;
  int contentHeight = 0;
  int viewHeight = 0;
  bool hasScrollBar = false;
  QRect track;
  QRect thumb;
  int scrollY = 0;  // settled: in range, and centred on the current line when following
  int maxScrollY = 0;
  int lineCount = 0;
  int lineLeftMargin = 0;
  int lineRightMargin = 0;
};

LyricsPanelLayout LyricsPanelGeometry(const LyricsPanelInput& input);

// The row of line `index` in panel coordinates (it may lie outside the list).
QRect LyricsLineRect(const LyricsPanelLayout& layout, int index);
// The line under `point`, or -1 (outside the list, in the scroll bar, past
// the last line).
int LyricsLineAt(const LyricsPanelLayout& layout, QPoint point);
LyricsPanelButton LyricsButtonAt(const LyricsPanelLayout& layout, QPoint point);
// The scroll position for a thumb dragged by `deltaY` from `startScrollY`.
int LyricsScrollForThumbDrag(const LyricsPanelLayout& layout, int startScrollY, int deltaY);
// The panel's resize edges at `point` (a band of 5 design pixels).
Qt::Edges LyricsResizeEdges(QSize size, float scale, QPoint point);

}  // namespace zelvaro
