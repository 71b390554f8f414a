#include "app/audio_cover_view.h"

#include "app/dpi.h"
#include "chrome/chrome_palette.h"
#include "video/video_palette.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace zelvaro {
namespace {

constexpr double kCoverShare = 0.7;

// Scaling down to a few pixels and back up is the blur: no filter pass over
// a large image. Kept at 48x48 and stretched over the window when the cache
// is composed, which looks the same as a copy at the image's own size and
// holds a few kilobytes instead of megabytes.
QImage BlurredCopy(const QImage& image) {
  QImage blurred = image.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                       .scaled(8, 8, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                       .scaled(48, 48, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  QPainter painter(&blurred);
  painter.fillRect(blurred.rect(), chrome::kCoverDim);
  return blurred;
}

QColor BarColour(float level) {
  const float c = std::min(level, 1.0f);
  return QColor(int(180 * c), int(10 * c + 210), 255, int(20 * c + 180));
}

}  // namespace

QRect CoverGeometry::Bar(int band, float level) const {
  if (level < 0.005f) return {};
  const int height = std::max(int(fullHeight * level), 1);
  return QRect(left + band * (bandWidth + gap), baseline - height, bandWidth, height);
}

CoverGeometry ComputeCoverGeometry(const QSize& client, const QSize& imageSize) {
  CoverGeometry g;
  const int w = client.width(), h = client.height();
  if (!imageSize.isEmpty() && w > 0 && h > 0) {
    const double scale =
        std::min(kCoverShare * h / imageSize.height(), kCoverShare * w / imageSize.width());
    const int fw = int(scale * imageSize.width()), fh = int(scale * imageSize.height());
    g.cover = QRect((w - fw) / 2, (h - fh) / 2, fw, fh);
    g.shadowOffset = std::max(fw / 80, 4);
  }
  g.gap = Scaled(2);
  g.bandWidth = std::max((-31 * g.gap - int(-0.6 * w)) / 32, 2);
  g.left = (w - kSpectrumBands * g.bandWidth - (kSpectrumBands - 1) * g.gap) / 2;
  g.baseline = h - Scaled(20);
  g.fullHeight = Scaled(80);
  g.bands = QRect(g.left, g.baseline - g.fullHeight,
                  kSpectrumBands * g.bandWidth + (kSpectrumBands - 1) * g.gap, g.fullHeight);
  return g;
}

AudioCoverView::AudioCoverView(QWidget* renderer) : QWidget(renderer) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  // Input belongs to the window beneath, as over the picture.
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setGeometry(renderer->rect());
  renderer->installEventFilter(this);
  hide();
}

bool AudioCoverView::eventFilter(QObject* watched, QEvent* event) {
  if (watched == parentWidget() && event->type() == QEvent::Resize)
    setGeometry(parentWidget()->rect());
  return QWidget::eventFilter(watched, event);
}

void AudioCoverView::SetAlbumArt(const QImage& image) {
  albumArt_ = image;
  blurred_ = image.isNull() ? QImage() : BlurredCopy(image);
  RebuildCache();
  update();
}

void AudioCoverView::ClearAlbumArt() {
  const bool had = !albumArt_.isNull();
  albumArt_ = QImage();
  blurred_ = QImage();
  frameCache_ = QImage();
  if (had) update();
}

void AudioCoverView::SetBars(const SpectrumAnalyzer::Levels& levels) {
  bandsStale_ = bandsStale_ || levels != bars_;
  bars_ = levels;
  barsActive_ = true;
  if (!bandsStale_) return;
  // Timer 1006 ticks a little faster than 60 a second; a change it brings
  // sooner waits for the next tick.
  constexpr qint64 kMinRepaintNs = 1'000'000'000 / 60;
  if (sinceBandRepaint_.isValid() && sinceBandRepaint_.nsecsElapsed() < kMinRepaintNs) return;
  sinceBandRepaint_.start();
  bandsStale_ = false;
  const QRect band = ComputeCoverGeometry(size(), albumArt_.size()).bands;
  update(band.isEmpty() ? rect() : band);
}

void AudioCoverView::ResetBars() {
  bars_.fill(0.0f);
  barsActive_ = false;
  bandsStale_ = false;
  update();
}

void AudioCoverView::resizeEvent(QResizeEvent*) {
  if (!albumArt_.isNull()) RebuildCache();
}

void AudioCoverView::RebuildCache() {
  frameCache_ = QImage();
  if (albumArt_.isNull() || width() < 1 || height() < 1) return;
  const qreal ratio = devicePixelRatioF();
  frameCache_ = QImage(size() * ratio, QImage::Format_RGB32);
  frameCache_.setDevicePixelRatio(ratio);
  frameCache_.fill(kVideoBackground);
  QPainter painter(&frameCache_);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  const int w = width(), h = height();
  if (!blurred_.isNull()) {
    // Covers the window with the image's own shape.
    const QSize image = albumArt_.size();
    const double scale = std::max(double(h) / image.height(), double(w) / image.width());
    const QSize size(int(image.width() * scale), int(image.height() * scale));
    painter.drawImage(QRect(QPoint((w - size.width()) / 2, (h - size.height()) / 2), size),
                      blurred_);
  }
  const CoverGeometry g = ComputeCoverGeometry(size(), albumArt_.size());
  for (int step = 0; step < 3; ++step) {
    const int offset = (3 - step) * g.shadowOffset;
    painter.fillRect(g.cover.translated(offset, offset), chrome::kCoverShadow[step]);
  }
  painter.drawImage(g.cover, albumArt_);
  painter.setPen(QPen(chrome::kCoverOutline, 2));
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(g.cover);
}

void AudioCoverView::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  const QRect dirty = event->rect();
  if (frameCache_.isNull()) {
    painter.fillRect(dirty, kVideoBackground);
  } else {
    painter.drawImage(dirty, frameCache_,
                      QRectF(dirty.topLeft() * frameCache_.devicePixelRatio(),
                             dirty.size() * frameCache_.devicePixelRatio()));
  }
  if (!barsActive_) return;
  const CoverGeometry g = ComputeCoverGeometry(size(), albumArt_.size());
  for (int band = 0; band < kSpectrumBands; ++band) {
    const QRect bar = g.Bar(band, bars_[band]);
    if (!bar.isEmpty() && bar.intersects(dirty)) painter.fillRect(bar, BarColour(bars_[band]));
  }
}

}  // namespace zelvaro
