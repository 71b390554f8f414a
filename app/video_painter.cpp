#include "app/video_painter.h"

#include "app/palette.h"
#include "app/video_geometry.h"

#include <QPainter>

namespace zelvaro {

void VideoPainter::Paint(QPainter& painter, const QRect& area, const VideoScene& scene) {
  painter.fillRect(area, kVideoBackground);
  if (!scene.frame) {
    Forget();
    return;
  }
  if (scene.pictureRect.isEmpty()) return;
  const QImage& rgb = RgbFor(scene);
  if (rgb.isNull()) return;

  painter.save();
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.setTransform(
      QTransform::fromScale(1.0 / rgb.width(), 1.0 / rgb.height()) *
          PictureTransform(QRectF(scene.pictureRect), scene.rotationDeg, scene.flip),
      true);
  painter.drawImage(QPointF(0, 0), rgb);
  painter.restore();
  if (!scene.overlay.isNull()) {
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.drawImage(QRectF(scene.pictureRect), scene.overlay);
    painter.restore();
  }
}

void VideoPainter::Forget() {
  convertedFrame_.reset();
  rgb_ = QImage();
}

const QImage& VideoPainter::RgbFor(const VideoScene& scene) {
  if (scene.frame != convertedFrame_ || !(scene.toRgb == convertedMatrix_)) {
    rgb_ = ConvertFrameToRgb(*scene.frame, scene.toRgb);
    convertedFrame_ = scene.frame;
    convertedMatrix_ = scene.toRgb;
  }
  return rgb_;
}

}  // namespace zelvaro
