#pragma once
// The renderer's path without OpenGL: the frame converted to RGB on the CPU
// (the same matrix the shader applies) and painted with QPainter under the
// same geometry. Interface thread only.

#include "app/video_scene.h"

#include <QImage>

class QPainter;

namespace zelvaro {

class VideoPainter {
 public:
  // Fills `area` with the background and paints the scene over it. The
  // conversion is kept and reused while the frame and its matrix stay.
  void Paint(QPainter& painter, const QRect& area, const VideoScene& scene);

  // Lets go of the frame and its conversion.
  void Forget();

 private:
  const QImage& RgbFor(const VideoScene& scene);

  VideoFramePtr convertedFrame_;
  YuvToRgbMatrix convertedMatrix_;
  QImage rgb_;
};

}  // namespace zelvaro
