#pragma once
// Where and how the picture lands in the renderer's area. The OpenGL and the
// QPainter paths both take their geometry from here, so the two cannot drift
// apart. Pure functions, callable from any thread.

#include <QRect>
#include <QSize>
#include <QSizeF>
#include <QTransform>

namespace zelvaro {

struct VideoFrame;

// The read-back of the shown image never exceeds this many pixels a side.
inline constexpr int kMaxReadBackSide = 8192;

// True for 0, 90, 180 and 270, the only turns the renderer takes.
bool IsRightAngleRotation(int degrees);

// The picture's shape on screen: the coded size widened or narrowed by the
// pixel aspect, with width and height exchanged for a quarter turn.
QSizeF ShownPictureSize(const VideoFrame& frame, int rotationDeg);

// The largest rectangle of the given shape centred in `area`, sizes truncated
// to whole pixels like the engine's letterboxing. When that comes within a
// pixel of the area on both sides the area itself is returned: the engine's
// own letterbox (computed with truncation) is then filled without a hairline
// bar. Empty when the area or the shape is empty.
QRect FitPicture(const QRect& area, const QSizeF& shape);

// Maps the picture's unit square (x to the right, y down, the picture
// upright) onto `target`: turned clockwise by `rotationDeg` about its centre,
// then, with `flip`, mirrored left to right as seen on screen. Mirroring after
// the turn keeps "flip" a mirror of what the viewer sees at any rotation, and
// a half turn plus a mirror stays a vertical mirror, which the engine relies
// on to compose one.
QTransform PictureTransform(const QRectF& target, int rotationDeg, bool flip);

// Pixel size of the read-back of a picture shown at `shownSize` shape:
// rounded, at least 1x1, the longest side at most kMaxReadBackSide.
QSize ReadBackSize(const QSizeF& shownSize);

}  // namespace zelvaro
