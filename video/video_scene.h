#pragma once
// What one paint of the renderer shows, decided once by VideoRenderer and
// drawn by either the OpenGL or the QPainter path. A plain value; the frame
// and the overlay are shared, never written.

#include "engine/video_frame.h"
#include "video/yuv_convert.h"

#include <QImage>
#include <QRect>

namespace zelvaro {

struct VideoScene {
  VideoFramePtr frame;  // null: only the background
  QRect pictureRect;    // where the turned picture goes, logical pixels of the area
  int rotationDeg = 0;  // clockwise, a right angle
  bool flip = false;    // left-right mirror as seen on screen
  YuvToRgbMatrix toRgb;
  // Premultiplied ARGB32 stretched over pictureRect, upright whatever the
  // rotation (subtitles read the right way up); null for none.
  QImage overlay;
  // Premultiplied ARGB32 drawn over everything, unscaled, at foregroundRect
  // (logical pixels of the area): widgets shown over the picture. Null for
  // none; never part of a read-back.
  QImage foreground;
  QRect foregroundRect;
};

}  // namespace zelvaro
