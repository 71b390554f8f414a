#pragma once
// Where the chrome's small top-level windows go, as pure functions of the
// pointer, the window's size, the work area of the pointer's screen and the
// scale: the tooltip beside the cursor and the preview popup above the seek
// bar, each kept inside the work area by the designed rules.

#include <QPoint>
#include <QRect>
#include <QSize>

namespace zelvaro::chrome {

// The tooltip's top-left: 18s below the cursor, flipped to the left of it
// (4s gap) when it would pass the right edge and above it when it would
// pass the bottom, then never left of or above the work area.
QPoint TooltipPosition(QPoint cursor, QSize size, const QRect& work, float scale);

// The preview popup's top-left: centred on x, its bottom 5s above
// `seekTopY`, moved inside the work area horizontally and never above it.
QPoint PreviewPopupPosition(int x, int seekTopY, QSize size, const QRect& work, float scale);

}  // namespace zelvaro::chrome
