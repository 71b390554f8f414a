#include "video/video_painter.h"

#include "video/video_geometry.h"
#include "video/video_palette.h"

#include <QPainter>
#include <QRegion>

namespace zelvaro {

void VideoPainter::Paint(QPainter& painter, const QRect& area, const VideoScene& scene,
                         const DirectPaintTarget& direct) {
  if (!scene.frame) Forget();
  if (!scene.frame || scene.pictureRect.isEmpty() || !IsFrameUsable(*scene.frame)) {
    painter.fillRect(area, kVideoBackground);
    return;
  }
  // The picture is opaque: only the bars beside it are filled, not a whole
  // frame of pixels that the picture then covers again.
  for (const QRect& bar : QRegion(area).subtracted(QRegion(scene.pictureRect)))
    painter.fillRect(bar, kVideoBackground);

  const qreal pixelRatio = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
  const QSize frameSize(scene.frame->width, scene.frame->height);
  const bool oneToOne = scene.rotationDeg == 0 && !scene.flip &&
                        QSizeF(scene.pictureRect.size()) * pixelRatio == QSizeF(frameSize) &&
                        painter.transform().isIdentity();
  if (oneToOne && pixelRatio == 1.0 && PaintDirect(scene, direct)) {
    // Written straight into the window's image.
  } else if (oneToOne && !RgbFor(scene).isNull()) {
    // The common case of a window the size of the video: a plain copy of
    // rows, where a transform would resample every pixel.
    rgb_.setDevicePixelRatio(pixelRatio);
    painter.drawImage(scene.pictureRect.topLeft(), rgb_);
  } else if (!RgbFor(scene).isNull()) {
    rgb_.setDevicePixelRatio(1.0);
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setTransform(
        QTransform::fromScale(1.0 / rgb_.width(), 1.0 / rgb_.height()) *
            PictureTransform(QRectF(scene.pictureRect), scene.rotationDeg, scene.flip),
        true);
    painter.drawImage(QPointF(0, 0), rgb_);
    painter.restore();
  }
  if (!scene.overlay.isNull()) {
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.drawImage(QRectF(scene.pictureRect), scene.overlay);
    painter.restore();
  }
}

bool VideoPainter::PaintDirect(const VideoScene& scene, const DirectPaintTarget& direct) {
  if (direct.image == nullptr || direct.image->devicePixelRatio() != 1.0) return false;
  const QRegion picturePart = direct.region.intersected(scene.pictureRect);
  const QRect imageRect = direct.image->rect().translated(-direct.widgetOffset);
  // All or nothing, so a refusal leaves the copying path a clean slate.
  if (!imageRect.contains(picturePart.boundingRect())) return false;
  for (const QRect& part : picturePart) {
    if (!ConvertFrameRectToRgb(*scene.frame, scene.toRgb,
                               part.translated(-scene.pictureRect.topLeft()), direct.image,
                               part.topLeft() + direct.widgetOffset)) {
      return false;
    }
  }
  return true;
}

void VideoPainter::Forget() {
  convertedFrame_.reset();
  rgb_ = QImage();
}

const QImage& VideoPainter::RgbFor(const VideoScene& scene) {
  if (scene.frame != convertedFrame_ || !(scene.toRgb == convertedMatrix_)) {
    ConvertFrameToRgb(*scene.frame, scene.toRgb, &rgb_);
    convertedFrame_ = scene.frame;
    convertedMatrix_ = scene.toRgb;
  }
  return rgb_;
}

}  // namespace zelvaro
