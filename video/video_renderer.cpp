#include "video/video_renderer.h"

#include "foundation/trace.h"
#include "video/subtitle_overlay_source.h"
#include "video/video_geometry.h"
#include "video/video_gl_surface.h"

#include <QBackingStore>
#include <QChildEvent>
#include <QCoreApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QScreen>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>

namespace zelvaro {

VideoRenderer::VideoRenderer(QWidget* parent) : QWidget(parent) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  announceFirstFrame_ = qEnvironmentVariable("ZELVARO_BENCH_FIRST_FRAME") == QLatin1String("1");
  if (ChooseOpenGlVideo()) {
    // The picture's window is then a child of this widget's own, so that
    // nothing (a winId() asked later, for one) can come between the two.
    setAttribute(Qt::WA_DontCreateNativeAncestors);
    setAttribute(Qt::WA_NativeWindow);
    glSurface_ =
        new VideoGlSurface([this](const QSize& areaSize) { return SceneForPaint(areaSize); });
    // The container owns the window from here on.
    glContainer_ = QWidget::createWindowContainer(glSurface_, this);
    glContainer_->setAttribute(Qt::WA_TransparentForMouseEvents);
    glContainer_->setFocusPolicy(Qt::NoFocus);
    glContainer_->setGeometry(rect());
    connect(glSurface_, &VideoGlSurface::Unusable, this, &VideoRenderer::SwitchToPainter,
            Qt::QueuedConnection);
    path_ = Path::OpenGl;
  }
  Trace("Video renderer: %s path", path_ == Path::OpenGl ? "OpenGL" : "QPainter");
}

VideoRenderer::~VideoRenderer() {
  // The surface asks this object for its scene; it must go while this is
  // whole, and unknown to it, since its going is news to childEvent.
  glSurface_ = nullptr;
  delete std::exchange(glContainer_, nullptr);
}

void VideoRenderer::PresentFrame(VideoFramePtr frame) {
  if (!frame || !IsFrameUsable(*frame)) {
    ZELVARO_TRACE_FIRST(5, "Video renderer: dropped an unusable frame (%dx%d, %d planes)",
                        frame ? frame->width : 0, frame ? frame->height : 0,
                        frame ? frame->planeCount : 0);
    return;
  }
  {
    std::lock_guard lock(mailboxMutex_);
    ++counters_.presented;
    if (pendingReplacesShown_ && pendingFrame_) ++counters_.replacedBeforePaint;
    pendingFrame_ = std::move(frame);
    pendingReplacesShown_ = true;
  }
  // One queued repaint at a time: a slow interface thread sees the newest
  // frame, not a backlog of calls.
  if (!repaintQueued_.exchange(true)) {
    QMetaObject::invokeMethod(
        this,
        [this] {
          repaintQueued_ = false;
          RequestRepaint();
        },
        Qt::QueuedConnection);
  }
}

void VideoRenderer::ClearFrame() {
  {
    std::lock_guard lock(mailboxMutex_);
    pendingFrame_.reset();
    pendingReplacesShown_ = true;
  }
  shownFrame_.reset();
  shownScene_ = {};
  painter_.Forget();
  RequestRepaint();
}

QSize VideoRenderer::ClientSize() const {
  return isVisible() && height() >= 1 ? size() : QSize();
}

void VideoRenderer::SetDestinationRect(const QRect& rect) {
  destination_ = rect;
  destinationSet_ = true;
  RequestRepaint();
}

bool VideoRenderer::SetInt(std::string_view name, int value) {
  if (name == "rotation") {
    if (!IsRightAngleRotation(value)) return false;
    rotationDeg_ = value;
  } else {
    return false;
  }
  RequestRepaint();
  return true;
}

bool VideoRenderer::GetProcAmpRange(unsigned flag, ProcAmpRange* range) {
  const ColorControlRange* own = nullptr;
  switch (flag) {
    case kProcAmpBrightness:
      own = &kBrightnessRange;
      break;
    case kProcAmpContrast:
      own = &kContrastRange;
      break;
    case kProcAmpHue:
      own = &kHueRangeDeg;
      break;
    case kProcAmpSaturation:
      own = &kSaturationRange;
      break;
    default:
      return false;
  }
  if (range == nullptr) return false;
  *range = {ProcAmpFromDouble(own->minValue), ProcAmpFromDouble(own->maxValue),
            ProcAmpFromDouble(own->defaultValue), ProcAmpFromDouble(own->step)};
  return true;
}

bool VideoRenderer::SetProcAmpValues(unsigned flags, const ProcAmpValues& values) {
  if ((flags & ~unsigned(kProcAmpAll)) != 0) return false;
  ColorControls controls = colorControls_;
  auto take = [](ProcAmpFixed fixed, const ColorControlRange& range) {
    return std::clamp(ProcAmpToDouble(fixed), range.minValue, range.maxValue);
  };
  if (flags & kProcAmpBrightness) controls.brightness = take(values.brightness, kBrightnessRange);
  if (flags & kProcAmpContrast) controls.contrast = take(values.contrast, kContrastRange);
  if (flags & kProcAmpHue) controls.hue = take(values.hue, kHueRangeDeg);
  if (flags & kProcAmpSaturation) controls.saturation = take(values.saturation, kSaturationRange);
  if (controls != colorControls_) {
    colorControls_ = controls;
    RequestRepaint();
  }
  return true;
}

bool VideoRenderer::SetBool(std::string_view name, bool value) {
  if (name == "flip") {
    flip_ = value;
  } else if (name == "cmd_redraw") {
    if (!value) return true;
  } else {
    return false;
  }
  RequestRepaint();
  return true;
}

QImage VideoRenderer::DisplayedImage() {
  if (!shownScene_.frame) return {};
  const QSize size = ReadBackSize(ShownPictureSize(*shownScene_.frame, shownScene_.rotationDeg));
  if (size.isEmpty()) return {};
  VideoScene scene = shownScene_;
  scene.pictureRect = QRect(QPoint(0, 0), size);
  scene.foreground = QImage();
  if (glSurface_) {
    QImage image = glSurface_->RenderToImage(scene, size);
    if (!image.isNull()) return image;
  }
  QImage image(size, QImage::Format_RGB32);
  if (image.isNull()) return image;
  QPainter painter(&image);
  painter_.Paint(painter, image.rect(), scene);
  return image;
}

void VideoRenderer::SetSubtitleOverlaySource(SubtitleOverlaySource* source) {
  overlaySource_ = source;
  RequestRepaint();
}

QImage VideoRenderer::CurrentImage() {
  // The newest frame, shown or about to be.
  VideoFramePtr newest = shownFrame_;
  {
    std::lock_guard<std::mutex> guard(mailboxMutex_);
    if (pendingReplacesShown_) newest = pendingFrame_;
  }
  if (!newest) return {};
  const VideoFrame& frame = *newest;
  QImage image = ConvertFrameToRgb(frame, MakeYuvToRgbMatrix(frame.matrix, frame.range));
  const QSize size = ReadBackSize(ShownPictureSize(frame, 0));
  if (image.isNull() || image.size() == size) return image;
  return image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QImage VideoRenderer::GrabWindow() {
  QScreen* shownOn = screen();
  if (shownOn == nullptr || !isVisible()) return {};
  // The top-level window's own: asking this widget for a native id would
  // make it a native window and change how it paints.
  const QPoint at = mapTo(window(), QPoint(0, 0));
  return shownOn->grabWindow(window()->winId(), at.x(), at.y(), width(), height())
      .toImage()
      .convertToFormat(QImage::Format_RGB32);
}

void VideoRenderer::paintEvent(QPaintEvent* event) {
  if (glSurface_) {
    // The surface covers the whole widget; a repaint asked of the widget is
    // one of the picture.
    glSurface_->update();
    return;
  }
  QPainter painter(this);
  DirectPaintTarget direct;
  // Widgets paint into their window's backing store; where that is an image
  // in memory (xcb, Wayland, offscreen), a picture shown pixel for pixel is
  // converted straight into it.
  if (QBackingStore* store = backingStore()) {
    direct.image = dynamic_cast<QImage*>(store->paintDevice());
    direct.widgetOffset = mapTo(window(), QPoint(0, 0));
    direct.region = event->region();
  }
  painter_.Paint(painter, rect(), SceneForPaint(size()), direct);
}

void VideoRenderer::resizeEvent(QResizeEvent* event) {
  if (glContainer_) glContainer_->setGeometry(QRect(QPoint(0, 0), event->size()));
}

void VideoRenderer::childEvent(QChildEvent* event) {
  QWidget::childEvent(event);
  if (event->added() && event->child()->isWidgetType()) {
    event->child()->installEventFilter(this);
  } else if (event->removed()) {
    ChildLayerChanged();
  }
}

bool VideoRenderer::eventFilter(QObject* watched, QEvent* event) {
  if (glSurface_ && watched != glContainer_ && !composingChildren_) {
    switch (event->type()) {
      case QEvent::Paint:
      case QEvent::Show:
      case QEvent::Hide:
      case QEvent::Move:
      case QEvent::Resize:
        ChildLayerChanged();
        break;
      default:
        break;
    }
  }
  return QWidget::eventFilter(watched, event);
}

void VideoRenderer::ChildLayerChanged() {
  if (!glSurface_) return;
  childLayerStale_ = true;
  RequestRepaint();
}

void VideoRenderer::ComposeChildLayer() {
  childLayerStale_ = false;
  childLayer_ = QImage();
  childLayerRect_ = QRect();
  const QList<QWidget*> children = findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
  QRect bounds;
  for (QWidget* child : children) {
    if (child == glContainer_ || child->isHidden()) continue;
    // A mask says where a child can paint at all, often a small part of it.
    const QRect painted = child->mask().isEmpty() ? child->rect() : child->mask().boundingRect();
    bounds |= painted.translated(child->pos()) & rect();
  }
  if (bounds.isEmpty()) return;
  const double scale = devicePixelRatioF();
  QImage layer((QSizeF(bounds.size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
  if (layer.isNull()) return;
  layer.setDevicePixelRatio(scale);
  layer.fill(Qt::transparent);
  {
    QPainter painter(&layer);
    composingChildren_ = true;
    for (QWidget* child : children) {
      if (child == glContainer_ || child->isHidden()) continue;
      child->render(&painter, child->pos() - bounds.topLeft(), QRegion(), QWidget::DrawChildren);
    }
    composingChildren_ = false;
  }
  childLayer_ = std::move(layer);
  childLayerRect_ = bounds;
}

VideoScene VideoRenderer::SceneForPaint(const QSize& areaSize) {
  {
    std::lock_guard lock(mailboxMutex_);
    if (pendingReplacesShown_) {
      shownFrame_ = std::move(pendingFrame_);
      pendingFrame_.reset();
      pendingReplacesShown_ = false;
      if (shownFrame_) {
        ++counters_.painted;
        counters_.lastPaintedTime100ns = shownFrame_->time100ns;
      }
    }
  }
  ++paintCount_;
  if (announceFirstFrame_ && shownFrame_) AnnounceFirstFrameForBenchmark();
  VideoScene scene;
  scene.frame = shownFrame_;
  if (glSurface_) {
    if (childLayerStale_) ComposeChildLayer();
    scene.foreground = childLayer_;
    scene.foregroundRect = childLayerRect_;
  }
  if (!shownFrame_) {
    shownScene_ = {};
    return scene;
  }
  const VideoFrame& frame = *shownFrame_;
  scene.rotationDeg = rotationDeg_;
  scene.flip = flip_;
  const QRect area = destinationSet_ ? destination_ : QRect(QPoint(0, 0), areaSize);
  scene.pictureRect = FitPicture(area, ShownPictureSize(frame, rotationDeg_));
  scene.toRgb = MakeYuvToRgbMatrix(frame.matrix, frame.range, colorControls_);
  if (overlaySource_ && !scene.pictureRect.isEmpty()) {
    const QSize videoRectSize = (QSizeF(scene.pictureRect.size()) * devicePixelRatioF()).toSize();
    QImage overlay = overlaySource_->PictureFor(frame.time100ns, videoRectSize);
    if (!overlay.isNull() && overlay.format() != QImage::Format_ARGB32_Premultiplied) {
      overlay = overlay.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    }
    scene.overlay = std::move(overlay);
  }
  shownScene_ = scene;
  return scene;
}

VideoRenderer::FrameCounters VideoRenderer::Counters() const {
  std::lock_guard lock(mailboxMutex_);
  return counters_;
}

void VideoRenderer::AnnounceFirstFrameForBenchmark() {
  announceFirstFrame_ = false;
  // Queued, so the time is taken once this paint has reached the window
  // system (the backing store flush, or the OpenGL buffer swap).
  QTimer::singleShot(0, this, [] {
    // CLOCK_MONOTONIC is shared by every process, so the launcher subtracts
    // its own start time from this one.
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    std::printf("zelvaro-first-frame-shown monotonic_ns=%lld\n",
                static_cast<long long>(now.tv_sec) * 1'000'000'000LL + now.tv_nsec);
    std::fflush(stdout);
    QCoreApplication::exit(0);
  });
}

void VideoRenderer::RequestRepaint() {
  if (glSurface_) {
    glSurface_->update();
  } else {
    update();
  }
}

void VideoRenderer::SwitchToPainter() {
  if (!glContainer_) return;
  glContainer_->hide();
  glContainer_->deleteLater();
  glContainer_ = nullptr;
  glSurface_ = nullptr;
  childLayer_ = QImage();
  path_ = Path::Painter;
  update();
}

}  // namespace zelvaro
