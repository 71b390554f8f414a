#include "video/video_geometry.h"

#include "engine/video_frame.h"

#include <algorithm>
#include <cmath>

namespace zelvaro {
namespace {
// Pixel aspects beyond this are damaged caps, not real video; they are
// clamped so a picture can never shrink to a line or grow without bound.
constexpr double kMaxPixelAspect = 16.0;
}  // namespace

bool IsRightAngleRotation(int degrees) {
  return degrees == 0 || degrees == 90 || degrees == 180 || degrees == 270;
}

QSizeF ShownPictureSize(const VideoFrame& frame, int rotationDeg) {
  if (frame.width < 1 || frame.height < 1) return {};
  double aspect = 1.0;
  if (frame.pixelAspectNum > 0 && frame.pixelAspectDen > 0) {
    aspect = std::clamp(double(frame.pixelAspectNum) / frame.pixelAspectDen, 1.0 / kMaxPixelAspect,
                        kMaxPixelAspect);
  }
  const QSizeF upright(frame.width * aspect, frame.height);
  return rotationDeg == 90 || rotationDeg == 270 ? upright.transposed() : upright;
}

QRect FitPicture(const QRect& area, const QSizeF& shape) {
  if (area.isEmpty() || shape.isEmpty()) return {};
  const double sx = area.width() / shape.width();
  const double sy = area.height() / shape.height();
  int width = area.width();
  int height = area.height();
  if (sx > sy) {
    width = int(shape.width() * sy);
  } else {
    height = int(shape.height() * sx);
  }
  if (area.width() - width <= 1 && area.height() - height <= 1) return area;
  width = std::max(width, 1);
  height = std::max(height, 1);
  return QRect(area.x() + (area.width() - width) / 2, area.y() + (area.height() - height) / 2,
               width, height);
}

QTransform PictureTransform(const QRectF& target, int rotationDeg, bool flip) {
  // Linear part acting on coordinates centred in the unit square, y down, so
  // a positive turn is clockwise on screen.
  double a = 1, b = 0, c = 0, d = 1;  // x' = a x + b y, y' = c x + d y
  switch (rotationDeg) {
    case 90:
      a = 0, b = -1, c = 1, d = 0;
      break;
    case 180:
      a = -1, b = 0, c = 0, d = -1;
      break;
    case 270:
      a = 0, b = 1, c = -1, d = 0;
      break;
    default:
      break;
  }
  if (flip) a = -a, b = -b;
  a *= target.width(), b *= target.width();
  c *= target.height(), d *= target.height();
  const QPointF centre = target.center();
  return QTransform(a, c, b, d, centre.x() - 0.5 * (a + b), centre.y() - 0.5 * (c + d));
}

QSize ReadBackSize(const QSizeF& shownSize) {
  if (shownSize.isEmpty()) return {};
  QSizeF size = shownSize;
  const double longest = std::max(size.width(), size.height());
  if (longest > kMaxReadBackSide) size *= kMaxReadBackSide / longest;
  return QSize(std::max(1, int(std::lround(size.width()))),
               std::max(1, int(std::lround(size.height()))));
}

}  // namespace zelvaro
