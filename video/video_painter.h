#pragma once
// The renderer's path without OpenGL: the frame converted to RGB on the CPU
// (the same matrix the shader applies) and painted with QPainter under the
// same geometry. Interface thread only.

#include "video/video_scene.h"

#include <QImage>
#include <QPoint>
#include <QRegion>

class QPainter;

namespace zelvaro {

// The image a widget's paint lands in (its window's backing store) and where
// the widget sits in it, for a picture shown pixel for pixel: converted
// straight into it, the frame is written once instead of converted and then
// copied. Only the parts of `region` (widget pixels, the paint event's) are
// written, so what children painted elsewhere stays.
struct DirectPaintTarget {
  QImage* image = nullptr;
  QPoint widgetOffset;
  QRegion region;
};

class VideoPainter {
 public:
  // Fills `area` with the background and paints the scene over it. The
  // conversion is kept and reused while the frame and its matrix stay,
  // except when it goes straight into `direct`.
  void Paint(QPainter& painter, const QRect& area, const VideoScene& scene,
             const DirectPaintTarget& direct = {});

  // Lets go of the frame and its conversion.
  void Forget();

 private:
  const QImage& RgbFor(const VideoScene& scene);
  bool PaintDirect(const VideoScene& scene, const DirectPaintTarget& direct);

  VideoFramePtr convertedFrame_;
  YuvToRgbMatrix convertedMatrix_;
  QImage rgb_;
};

}  // namespace zelvaro
