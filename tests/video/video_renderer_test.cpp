// The video renderer on a real display: real OpenGL (Mesa under Xvfb, taken
// with ZELVARO_OPENGL=force, since the renderer would choose QPainter on a
// software rasteriser) and the QPainter path (ZELVARO_NO_OPENGL=1), fed
// hand-made I420 and NV12 frames and read back from the screen, so a picture
// counts only once it reached the window.

#include "video/video_renderer.h"
#include "app/osd_overlay.h"
#include "video/subtitle_overlay_source.h"
#include "video/video_gl_surface.h"
#include "video/video_palette.h"

#include <QBackingStore>
#include <QLineEdit>
#include <QScreen>
#include <QVBoxLayout>
#include <QtTest>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <array>
#include <atomic>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <thread>
#include <vector>

using namespace zelvaro;

namespace {

// Generous: each try grabs the screen, which llvmpipe on a loaded machine
// makes slow; a passing run never waits for it.
constexpr int kWaitMs = 20000;
constexpr int kColourTolerance = 6;  // 8-bit YUV round trip plus filtering

// Saturated but unclipped, so a wrong matrix or range moves some channel by
// more than ten levels.
using Colours = std::array<QColor, 4>;
const Colours kQuadrants = {QColor(230, 20, 20), QColor(20, 230, 20), QColor(20, 20, 230),
                            QColor(235, 235, 235)};
// The quadrant colours in reverse, to tell one frame from the one before.
const Colours kReversed = {kQuadrants[3], kQuadrants[2], kQuadrants[1], kQuadrants[0]};
enum Quadrant { kTopLeft, kTopRight, kBottomLeft, kBottomRight };

Colours All(const QColor& colour) {
  return {colour, colour, colour, colour};
}

struct Encoding {
  VideoColorMatrix matrix = VideoColorMatrix::Bt601;
  VideoColorRange range = VideoColorRange::Limited;
};

// The test's own encoder, written from the standard formulas, not from the
// renderer's matrix code.
std::array<uint8_t, 3> EncodeYuv(const QColor& colour, Encoding encoding) {
  double kr = 0.299, kb = 0.114;
  if (encoding.matrix == VideoColorMatrix::Bt709) kr = 0.2126, kb = 0.0722;
  if (encoding.matrix == VideoColorMatrix::Bt2020) kr = 0.2627, kb = 0.0593;
  const double r = colour.redF(), g = colour.greenF(), b = colour.blueF();
  const double y = kr * r + (1 - kr - kb) * g + kb * b;
  const double cb = (b - y) / (2 * (1 - kb)), cr = (r - y) / (2 * (1 - kr));
  const bool full = encoding.range == VideoColorRange::Full;
  auto byte = [](double v) { return uint8_t(std::clamp(std::lround(v), 0L, 255L)); };
  return {byte(full ? 255 * y : 16 + 219 * y), byte(128 + (full ? 255 : 224) * cb),
          byte(128 + (full ? 255 : 224) * cr)};
}

struct FrameShape {
  VideoPixelFormat format = VideoPixelFormat::I420;
  QSize size{320, 240};
  Encoding encoding;
  int pixelAspectNum = 1, pixelAspectDen = 1;
  int64_t time100ns = 0;
  bool oddChromaStride = false;  // NV12 only: a stride GL cannot take as a row length
};

// A frame of `shape` whose planes have padded strides filled with `fill`, so
// a renderer that ignores the stride shows it.
std::shared_ptr<VideoFrame> AllocateFrame(const FrameShape& shape, int padding,
                                          const std::function<uint8_t()>& fill) {
  const int width = shape.size.width(), height = shape.size.height();
  const int chromaWidth = (width + 1) / 2, chromaHeight = (height + 1) / 2;
  const bool nv12 = shape.format == VideoPixelFormat::NV12;
  const int strideY = width + padding;
  const int strideC = (nv12 ? 2 * chromaWidth : chromaWidth) + padding / 2 +
                      (nv12 && shape.oddChromaStride ? 1 : 0);
  auto buffer = std::make_shared<std::vector<uint8_t>>(size_t(strideY) * height +
                                                       size_t(strideC) * chromaHeight * 2);
  for (uint8_t& sample : *buffer) sample = fill();
  auto frame = std::make_shared<VideoFrame>();
  frame->format = shape.format;
  frame->width = width;
  frame->height = height;
  frame->pixelAspectNum = shape.pixelAspectNum;
  frame->pixelAspectDen = shape.pixelAspectDen;
  frame->matrix = shape.encoding.matrix;
  frame->range = shape.encoding.range;
  frame->time100ns = shape.time100ns;
  uint8_t* y = buffer->data();
  uint8_t* u = y + size_t(strideY) * height;
  frame->planes = {y, u, nv12 ? nullptr : u + size_t(strideC) * chromaHeight};
  frame->strides = {strideY, strideC, nv12 ? 0 : strideC};
  frame->planeCount = nv12 ? 2 : 3;
  frame->keepAlive = buffer;
  return frame;
}

VideoFramePtr MakeFrame(const FrameShape& shape, const std::function<QColor(int, int)>& colourAt) {
  auto frame = AllocateFrame(shape, 16, [] { return uint8_t(0xEE); });
  // The planes are this frame's own buffer.
  auto plane = [&](int i, int row) {
    return const_cast<uint8_t*>(frame->planes[i]) + row * frame->strides[i];
  };
  const bool nv12 = shape.format == VideoPixelFormat::NV12;
  for (int row = 0; row < frame->height; ++row)
    for (int x = 0; x < frame->width; ++x)
      plane(0, row)[x] = EncodeYuv(colourAt(x, row), shape.encoding)[0];
  for (int row = 0; row < (frame->height + 1) / 2; ++row) {
    for (int x = 0; x < (frame->width + 1) / 2; ++x) {
      const auto yuv = EncodeYuv(colourAt(2 * x, 2 * row), shape.encoding);
      if (nv12) {
        plane(1, row)[2 * x] = yuv[1];
        plane(1, row)[2 * x + 1] = yuv[2];
      } else {
        plane(1, row)[x] = yuv[1];
        plane(2, row)[x] = yuv[2];
      }
    }
  }
  return frame;
}

// Quadrants TL, TR, BL, BR in the given colours.
VideoFramePtr QuadrantFrame(const FrameShape& shape, const Colours& colours = kQuadrants) {
  const int halfWidth = shape.size.width() / 2, halfHeight = shape.size.height() / 2;
  return MakeFrame(shape, [=](int x, int y) {
    return colours[(y < halfHeight ? 0 : 2) + (x < halfWidth ? 0 : 1)];
  });
}

VideoFramePtr UniformFrame(const QColor& colour, FrameShape shape = {}) {
  return MakeFrame(shape, [=](int, int) { return colour; });
}

struct Probe {
  QPoint at;
  QColor expected;
};
using Probes = std::vector<Probe>;

// Centres of the four quadrants of `picture`, holding the given colours.
Probes QuadrantProbes(const QRect& picture, const Colours& colours) {
  const int left = picture.x() + picture.width() / 4, right = picture.x() + picture.width() * 3 / 4;
  const int top = picture.y() + picture.height() / 4,
            bottom = picture.y() + picture.height() * 3 / 4;
  return {{{left, top}, colours[0]},
          {{right, top}, colours[1]},
          {{left, bottom}, colours[2]},
          {{right, bottom}, colours[3]}};
}

// The source quadrant seen in each screen quadrant (TL, TR, BL, BR) after a
// clockwise turn, then a left-right mirror of the result.
Colours TurnedQuadrants(int rotationDeg, bool flip) {
  std::array<int, 4> source = {kTopLeft, kTopRight, kBottomLeft, kBottomRight};
  if (rotationDeg == 90) source = {kBottomLeft, kTopLeft, kBottomRight, kTopRight};
  if (rotationDeg == 180) source = {kBottomRight, kBottomLeft, kTopRight, kTopLeft};
  if (rotationDeg == 270) source = {kTopRight, kBottomRight, kTopLeft, kBottomLeft};
  if (flip) source = {source[1], source[0], source[3], source[2]};
  return {kQuadrants[source[0]], kQuadrants[source[1]], kQuadrants[source[2]],
          kQuadrants[source[3]]};
}

QImage GrabScreen(QWidget& widget) {
  return widget.screen()
      ->grabWindow(widget.winId())
      .toImage()
      .convertToFormat(QImage::Format_RGB32);
}

bool Near(const QColor& actual, const QColor& expected, int tolerance = kColourTolerance) {
  return std::abs(actual.red() - expected.red()) <= tolerance &&
         std::abs(actual.green() - expected.green()) <= tolerance &&
         std::abs(actual.blue() - expected.blue()) <= tolerance;
}

// Empty when every probe matches; otherwise what differed, for the failure message.
QString Mismatches(const QImage& image, const Probes& probes) {
  QString report;
  for (const Probe& probe : probes) {
    const bool inside = image.rect().contains(probe.at);
    const QColor actual = inside ? image.pixelColor(probe.at) : QColor();
    if (!inside || !Near(actual, probe.expected)) {
      report += QString::asprintf("(%d,%d) is %s not %s; ", probe.at.x(), probe.at.y(),
                                  qPrintable(inside ? actual.name() : QStringLiteral("outside")),
                                  qPrintable(probe.expected.name()));
    }
  }
  return report;
}

Probes Background(std::initializer_list<QPoint> points) {
  Probes probes;
  for (const QPoint& point : points) probes.push_back({point, kVideoBackground});
  return probes;
}

Probes operator+(Probes left, const Probes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// Waits until the window on screen matches every probe; `context` names the
// case in the failure message.
#define VERIFY_SHOWN_IN(widget, context, ...)                                             \
  do {                                                                                    \
    const Probes probes_ = __VA_ARGS__;                                                   \
    QString why_;                                                                         \
    QTRY_VERIFY2_WITH_TIMEOUT((why_ = Mismatches(GrabScreen(widget), probes_)).isEmpty(), \
                              qPrintable(QString(context) + why_), kWaitMs);              \
  } while (0)
#define VERIFY_SHOWN(widget, ...) VERIFY_SHOWN_IN(widget, QString(), __VA_ARGS__)

// Repaints and waits for the paint, so that what is checked next is what a
// fresh paint shows.
#define REDRAW(renderer)                                                  \
  do {                                                                    \
    const uint64_t paints_ = (renderer).PaintCount();                     \
    QVERIFY((renderer).SetBool("cmd_redraw", true));                      \
    QTRY_VERIFY_WITH_TIMEOUT((renderer).PaintCount() > paints_, kWaitMs); \
  } while (0)

// An overlay that answers with whatever picture it holds and records the
// questions.
class FakeOverlaySource : public SubtitleOverlaySource {
 public:
  QImage PictureFor(int64_t time100ns, const QSize& videoRectSize) override {
    lastTime100ns = time100ns;
    lastVideoRectSize = videoRectSize;
    return picture;
  }
  QImage picture;
  int64_t lastTime100ns = -1;
  QSize lastVideoRectSize;
};

// Premultiplied white at half cover from row `top` down, nothing above.
QImage HalfCover(const QSize& size, int top) {
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  for (int y = top; y < size.height(); ++y) {
    auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
    std::fill(row, row + size.width(), qRgba(128, 128, 128, 128));
  }
  return image;
}

QColor OverHalfWhite(const QColor& below) {
  auto over = [](int channel) { return 128 + channel * 127 / 255; };
  return QColor(over(below.red()), over(below.green()), over(below.blue()));
}

bool HasWhiteIn(const QImage& image, const QRect& area) {
  for (int y = area.top(); y <= area.bottom(); ++y) {
    for (int x = area.left(); x <= area.right(); ++x) {
      if (Near(image.pixelColor(x, y), Qt::white, 25)) return true;
    }
  }
  return false;
}

// Counts the mouse presses and wheel turns that reach a widget. A press soon
// after one at the same place (the row before) arrives as a double-click.
class InputCounter : public QObject {
 public:
  int presses = 0;
  int wheels = 0;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick)
      ++presses;
    if (event->type() == QEvent::Wheel) ++wheels;
    return QObject::eventFilter(watched, event);
  }
};

}  // namespace

Q_DECLARE_METATYPE(VideoPixelFormat)
Q_DECLARE_METATYPE(VideoColorMatrix)
Q_DECLARE_METATYPE(VideoColorRange)

class VideoRendererTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    // The OpenGL rows must really run on OpenGL, also on the software
    // rasteriser of a machine without a GPU; a display without OpenGL is a
    // broken test machine, not a pass.
    cleanup();
    QVERIFY2(OpenGlVideoAvailable(), "no OpenGL 3 context on this display");
  }

  void cleanup() {
    qunsetenv("ZELVARO_NO_OPENGL");
    qputenv("ZELVARO_OPENGL", "force");
  }

  void convertsWithTheStreamMatrix_data() {
    QTest::addColumn<bool>("painter");
    QTest::addColumn<VideoPixelFormat>("format");
    QTest::addColumn<VideoColorMatrix>("matrix");
    QTest::addColumn<VideoColorRange>("range");
    const struct {
      const char* name;
      VideoColorMatrix matrix;
      VideoColorRange range;
    } encodings[] = {{"bt601-limited", VideoColorMatrix::Bt601, VideoColorRange::Limited},
                     {"bt709-limited", VideoColorMatrix::Bt709, VideoColorRange::Limited},
                     {"bt709-full", VideoColorMatrix::Bt709, VideoColorRange::Full},
                     {"bt2020-full", VideoColorMatrix::Bt2020, VideoColorRange::Full}};
    for (bool painter : {false, true}) {
      for (auto format : {VideoPixelFormat::I420, VideoPixelFormat::NV12}) {
        for (const auto& encoding : encodings) {
          QTest::addRow("%s/%s/%s", painter ? "painter" : "opengl",
                        format == VideoPixelFormat::I420 ? "i420" : "nv12", encoding.name)
              << painter << format << encoding.matrix << encoding.range;
        }
      }
    }
  }

  void convertsWithTheStreamMatrix() {
    QFETCH(VideoPixelFormat, format);
    QFETCH(VideoColorMatrix, matrix);
    QFETCH(VideoColorRange, range);
    auto renderer = ShowRenderer({400, 300});
    QVERIFY(renderer);
    renderer->PresentFrame(QuadrantFrame({.format = format, .encoding = {matrix, range}}));
    VERIFY_SHOWN(*renderer, QuadrantProbes({0, 0, 400, 300}, kQuadrants));
  }

  void placesThePictureInItsRectangle_data() { AddPathRows(); }
  void placesThePictureInItsRectangle() {
    // A wide picture in a tall area: bars above and below, none beside.
    auto renderer = ShowRenderer({200, 400});
    QVERIFY(renderer);
    renderer->PresentFrame(QuadrantFrame({.size = {320, 180}}));
    const QRect letterboxed(0, 144, 200, 112);  // 180 * 200 / 320 = 112.5, truncated
    VERIFY_SHOWN(*renderer, QuadrantProbes(letterboxed, kQuadrants) +
                                Background({{100, 10}, {100, 140}, {100, 260}, {100, 390}}) +
                                Probes{{{1, 230}, kQuadrants[kBottomLeft]},
                                       {{198, 160}, kQuadrants[kTopRight]}});

    // The engine's rectangle is where the picture goes, and nowhere else.
    renderer->resize(400, 300);
    renderer->SetDestinationRect({40, 30, 160, 90});
    VERIFY_SHOWN(*renderer,
                 QuadrantProbes({40, 30, 160, 90}, kQuadrants) +
                     Background({{30, 75}, {210, 75}, {120, 20}, {120, 130}, {300, 200}}));

    // An empty rectangle hides the picture.
    renderer->SetDestinationRect({});
    VERIFY_SHOWN(*renderer, Background({{100, 75}, {300, 75}, {100, 225}, {300, 225}}));

    // Pixel aspect 2:1 makes 160x180 coded pixels a 320x180 picture.
    renderer->SetDestinationRect({0, 0, 400, 300});
    renderer->PresentFrame(
        QuadrantFrame({.size = {160, 180}, .pixelAspectNum = 2, .pixelAspectDen = 1}));
    VERIFY_SHOWN(*renderer, QuadrantProbes({0, 37, 400, 225}, kQuadrants) +
                                Background({{200, 20}, {200, 280}}));
  }

  void rotatesAndMirrors_data() { AddPathRows(); }
  void rotatesAndMirrors() {
    auto renderer = ShowRenderer({400, 300});
    QVERIFY(renderer);
    renderer->PresentFrame(QuadrantFrame({}));
    // No new frame after the first: each setting repaints the picture it has.
    for (int rotation : {0, 90, 180, 270}) {
      for (bool flip : {false, true}) {
        QVERIFY(renderer->SetInt("rotation", rotation));
        QVERIFY(renderer->SetBool("flip", flip));
        // A quarter turn shows the 4:3 picture as 3:4: 225x300, bars beside it.
        const bool quarter = rotation % 180 != 0;
        const QRect picture = quarter ? QRect(87, 0, 225, 300) : QRect(0, 0, 400, 300);
        const Probes bars = quarter ? Background({{40, 150}, {360, 150}}) : Probes{};
        VERIFY_SHOWN_IN(*renderer, QStringLiteral("rotation %1, flip %2: ").arg(rotation).arg(flip),
                        QuadrantProbes(picture, TurnedQuadrants(rotation, flip)) + bars);
      }
    }
    // Anything but a quarter turn is refused.
    QVERIFY(!renderer->SetInt("rotation", 45));
    QVERIFY(!renderer->SetInt("rotation", 360));

    // A wide picture turned upright fills a tall area that would letterbox it
    // unturned; the engine's rectangle made from the turned size is filled too.
    renderer->resize(180, 320);
    renderer->SetBool("flip", false);
    renderer->SetInt("rotation", 90);
    renderer->PresentFrame(QuadrantFrame({.size = {320, 180}}));
    VERIFY_SHOWN(*renderer, QuadrantProbes({0, 0, 180, 320}, TurnedQuadrants(90, false)) +
                                Probes{{{2, 2}, kQuadrants[kBottomLeft]},
                                       {{177, 317}, kQuadrants[kTopRight]}});
    renderer->SetDestinationRect({0, 0, 180, 320});
    renderer->SetBool("cmd_redraw", true);
    VERIFY_SHOWN(*renderer, QuadrantProbes({0, 0, 180, 320}, TurnedQuadrants(90, false)));
  }

  void laysTheOverlayOverThePictureAndReadsBack_data() { AddPathRows(); }
  void laysTheOverlayOverThePictureAndReadsBack() {
    auto renderer = ShowRenderer({400, 300});
    QVERIFY(renderer);
    QVERIFY(renderer->DisplayedImage().isNull());
    FakeOverlaySource overlay;
    renderer->SetSubtitleOverlaySource(&overlay);
    renderer->SetInt("rotation", 90);
    renderer->SetBool("flip", true);
    overlay.picture = HalfCover({225, 300}, 150);
    renderer->PresentFrame(QuadrantFrame({.time100ns = 12'345'678}));
    // The overlay stays upright over the bottom half of the picture, whatever
    // the turn, and never over the bars.
    const QRect picture(87, 0, 225, 300);
    const Colours turned = TurnedQuadrants(90, true);
    const Colours covered = {turned[0], turned[1], OverHalfWhite(turned[2]),
                             OverHalfWhite(turned[3])};
    VERIFY_SHOWN(*renderer, QuadrantProbes(picture, covered) + Background({{40, 250}, {360, 250}}));
    QCOMPARE(overlay.lastTime100ns, int64_t{12'345'678});
    QCOMPARE(overlay.lastVideoRectSize, picture.size());
    // The read-back is at the picture's own size, without the bars.
    QImage image = renderer->DisplayedImage();
    QCOMPARE(image.size(), QSize(240, 320));
    QString why = Mismatches(image, QuadrantProbes(image.rect(), covered));
    QVERIFY2(why.isEmpty(), qPrintable(why));

    // A null picture removes it; a new one replaces it.
    overlay.picture = QImage();
    renderer->SetBool("cmd_redraw", true);
    VERIFY_SHOWN(*renderer, QuadrantProbes(picture, turned));
    overlay.picture = HalfCover({225, 300}, 0);
    renderer->SetBool("cmd_redraw", true);
    VERIFY_SHOWN(*renderer,
                 QuadrantProbes(picture, {OverHalfWhite(turned[0]), OverHalfWhite(turned[1]),
                                          covered[2], covered[3]}));

    // The read-back follows the pixel aspect.
    renderer->SetSubtitleOverlaySource(nullptr);
    renderer->SetInt("rotation", 0);
    renderer->PresentFrame(
        QuadrantFrame({.size = {160, 300}, .pixelAspectNum = 2, .pixelAspectDen = 1}, kReversed));
    const Colours reversedMirrored = {kReversed[1], kReversed[0], kReversed[3], kReversed[2]};
    VERIFY_SHOWN(*renderer, QuadrantProbes({40, 0, 320, 300}, reversedMirrored));
    QCOMPARE(renderer->DisplayedImage().size(), QSize(320, 300));
  }

  void countsRedrawsClearsAndDropsMalformedFrames_data() { AddPathRows(); }
  void countsRedrawsClearsAndDropsMalformedFrames() {
    auto renderer = ShowRenderer({400, 300});
    QVERIFY(renderer);
    QCOMPARE(renderer->Counters().lastPaintedTime100ns, int64_t{-1});
    // Three frames before the interface thread gets to paint: the first two
    // are replaced unseen, the third is painted.
    for (int i = 1; i <= 3; ++i)
      renderer->PresentFrame(UniformFrame(kQuadrants[i], {.time100ns = i * 333'333LL}));
    VideoRenderer::FrameCounters counters = renderer->Counters();
    QCOMPARE(counters.presented, uint64_t{3});
    QCOMPARE(counters.replacedBeforePaint, uint64_t{2});
    QCOMPARE(counters.painted, uint64_t{0});
    VERIFY_SHOWN(*renderer, QuadrantProbes({0, 0, 400, 300}, All(kQuadrants[3])));
    QCOMPARE(renderer->Counters().painted, uint64_t{1});
    QCOMPARE(renderer->Counters().lastPaintedTime100ns, int64_t{999'999});

    // Frames made and presented on another thread while this one paints; the
    // last one, in its own colour, is what stays on screen, and every frame
    // is counted once, painted or replaced.
    constexpr int kFrames = 60;
    const QColor last(200, 120, 30);
    std::atomic<bool> done{false};
    std::thread streaming([&] {
      for (int i = 0; i < kFrames; ++i) {
        const QColor colour = i == kFrames - 1 ? last : kQuadrants[i % 4];
        renderer->PresentFrame(QuadrantFrame({.time100ns = i * 400'000LL}, All(colour)));
      }
      done = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(done.load(), kWaitMs);
    streaming.join();
    VERIFY_SHOWN(*renderer, QuadrantProbes({0, 0, 400, 300}, All(last)));
    counters = renderer->Counters();
    QCOMPARE(counters.presented, uint64_t{3 + kFrames});
    QCOMPARE(counters.painted + counters.replacedBeforePaint, counters.presented);
    QCOMPARE(counters.lastPaintedTime100ns, int64_t{(kFrames - 1) * 400'000LL});

    // Malformed frames are dropped uncounted, and the good frame stays.
    renderer->PresentFrame(QuadrantFrame({}));
    VERIFY_SHOWN(*renderer, QuadrantProbes({0, 0, 400, 300}, kQuadrants));
    auto broken = [](std::function<void(VideoFrame&)> damage) {
      auto frame = std::make_shared<VideoFrame>(*QuadrantFrame({}));
      damage(*frame);
      return VideoFramePtr(frame);
    };
    const VideoFramePtr malformed[] = {
        nullptr,
        broken([](VideoFrame& f) { f.width = f.height = 0; }),
        broken([](VideoFrame& f) { f.width = -320; }),
        broken([](VideoFrame& f) { f.height = 100000; }),
        broken([](VideoFrame& f) { f.planes[2] = nullptr; }),
        broken([](VideoFrame& f) { f.planeCount = 1; }),
        broken([](VideoFrame& f) { f.strides[0] = 100; }),
        broken([](VideoFrame& f) { f.strides[1] = -1; }),
        broken([](VideoFrame& f) { f.format = VideoPixelFormat(7); }),
    };
    const uint64_t presented = renderer->Counters().presented;
    for (const VideoFramePtr& frame : malformed) renderer->PresentFrame(frame);
    QCOMPARE(renderer->Counters().presented, presented);
    // A paused picture after the area changed: the engine's new rectangle and a
    // redraw show the same frame again, counting no new one.
    const uint64_t painted = renderer->Counters().painted;
    renderer->resize(300, 300);
    renderer->SetDestinationRect({0, 37, 300, 225});
    REDRAW(*renderer);
    VERIFY_SHOWN(*renderer, QuadrantProbes({0, 37, 300, 225}, kQuadrants) +
                                Background({{150, 15}, {150, 285}}));
    QCOMPARE(renderer->Counters().painted, painted);

    // Cleared means cleared: a later redraw does not bring the old frame back.
    renderer->ClearFrame();
    const Probes cleared = Background({{75, 93}, {225, 93}, {75, 205}, {225, 205}});
    VERIFY_SHOWN(*renderer, cleared);
    REDRAW(*renderer);
    QVERIFY(Mismatches(GrabScreen(*renderer), cleared).isEmpty());
    QVERIFY(renderer->DisplayedImage().isNull());

    // Odd sizes have chroma planes rounded up; a damaged pixel aspect counts
    // as square; an interleaved chroma stride need not be a whole number of
    // pixels; a picture may be one pixel.
    renderer->SetDestinationRect({0, 0, 300, 300});
    renderer->PresentFrame(
        QuadrantFrame({.size = {321, 241}, .pixelAspectNum = 0, .pixelAspectDen = 0}, kReversed));
    VERIFY_SHOWN(*renderer, QuadrantProbes({0, 37, 300, 225}, kReversed));
    QCOMPARE(renderer->DisplayedImage().size(), QSize(321, 241));
    renderer->PresentFrame(QuadrantFrame(
        {.format = VideoPixelFormat::NV12, .size = {201, 151}, .oddChromaStride = true}));
    VERIFY_SHOWN(*renderer, QuadrantProbes({0, 37, 300, 225}, kQuadrants));
    renderer->PresentFrame(UniformFrame(kQuadrants[kBottomLeft], {.size = {1, 1}}));
    VERIFY_SHOWN(*renderer, Probes{{{150, 150}, kQuadrants[kBottomLeft]}});
  }

  void appliesColourControls_data() { AddPathRows(); }
  void appliesColourControls() {
    auto renderer = ShowRenderer({320, 240});
    QVERIFY(renderer);
    const QColor grey(128, 128, 128);
    renderer->PresentFrame(UniformFrame(grey));
    const QRect all(0, 0, 320, 240);
    VERIFY_SHOWN(*renderer, QuadrantProbes(all, All(grey)));
    const QImage untouched = renderer->DisplayedImage();
    auto set = [&](unsigned flags, double brightness, double contrast, double hue,
                   double saturation) {
      return renderer->SetProcAmpValues(flags,
                                        {ProcAmpFromDouble(brightness), ProcAmpFromDouble(contrast),
                                         ProcAmpFromDouble(hue), ProcAmpFromDouble(saturation)});
    };
    // Unknown controls and settings are refused.
    ProcAmpRange range;
    QVERIFY(!renderer->GetProcAmpRange(kProcAmpBrightness | kProcAmpHue, &range));
    QVERIFY(!renderer->SetProcAmpValues(16, {}));
    QVERIFY(!renderer->SetInt("brightness", 10));
    QVERIFY(!renderer->SetBool("mirror", true));

    // Brightness lifts every channel by its value in levels.
    QVERIFY(set(kProcAmpBrightness, 50, 0, 0, 0));
    VERIFY_SHOWN(*renderer, QuadrantProbes(all, All(QColor(178, 178, 178))));

    // The defaults leave every pixel as it was before any control was set.
    QVERIFY(set(kProcAmpAll, 0, 1, 0, 1));
    VERIFY_SHOWN(*renderer, QuadrantProbes(all, All(grey)));
    QCOMPARE(renderer->DisplayedImage(), untouched);

    // No saturation leaves the luma of the colour: 0.299 R + 0.587 G + 0.114 B.
    renderer->PresentFrame(UniformFrame(kQuadrants[kTopLeft]));
    QVERIFY(set(kProcAmpSaturation, 0, 0, 0, 0));
    VERIFY_SHOWN(*renderer, QuadrantProbes(all, All(QColor(83, 83, 83))));
    // Back to neutral gives the stream's colours again.
    QVERIFY(set(kProcAmpSaturation, 0, 0, 0, 1));
    VERIFY_SHOWN(*renderer, QuadrantProbes(all, All(kQuadrants[kTopLeft])));
  }

  void drawsItsChildWidgetsOverThePicture_data() { AddPathRows(); }
  void drawsItsChildWidgetsOverThePicture() {
    // The OSD line is a child widget; on the OpenGL path no widget paints over
    // the picture's window, so the renderer has to draw it into the scene and
    // follow its every change.
    auto renderer = ShowRenderer({480, 270});
    QVERIFY(renderer);
    OsdOverlay osd(renderer.get());
    qint64 nowMs = 1000;
    osd.SetClockForTesting([&] { return nowMs; });
    renderer->PresentFrame(QuadrantFrame({.size = {320, 180}}));
    const Probes elsewhere = {{{360, 200}, kQuadrants[kBottomRight]}};
    VERIFY_SHOWN(*renderer, elsewhere);

    const QRect lineArea(15, 10, 200, 36);
    ShowOsd(QStringLiteral("HHHHHHHH"), 60'000);
    QTRY_VERIFY_WITH_TIMEOUT(HasWhiteIn(GrabScreen(*renderer), lineArea), kWaitMs);
    VERIFY_SHOWN(*renderer, elsewhere);
    // A shorter line repaints the widget without showing or moving it.
    ShowOsd(QStringLiteral("H"), 60'000);
    VERIFY_SHOWN(*renderer, Probes{{{160, 28}, kQuadrants[kTopLeft]}} + elsewhere);
    QVERIFY(HasWhiteIn(GrabScreen(*renderer), lineArea));
    // Past the hold and the fade the line is gone, and so is its last picture.
    nowMs += 61'000;
    osd.OsdTick();
    QVERIFY(osd.isHidden());
    QTRY_VERIFY_WITH_TIMEOUT(!HasWhiteIn(GrabScreen(*renderer), lineArea), kWaitMs);
    VERIFY_SHOWN(*renderer, elsewhere);
    // A read-back is the picture alone, never what lies over it.
    ShowOsd(QStringLiteral("HHHHHHHH"), 60'000);
    QTRY_VERIFY_WITH_TIMEOUT(HasWhiteIn(GrabScreen(*renderer), lineArea), kWaitMs);
    const QImage shown = renderer->DisplayedImage();
    QVERIFY(!HasWhiteIn(shown, QRect(0, 0, shown.width() / 2, shown.height() / 4)));
  }

  void letsInputThroughToTheWidgetsBeneath_data() { AddPathRows(); }
  void letsInputThroughToTheWidgetsBeneath() {
    // Real pointer events from the X server: the picture's own window, on the
    // OpenGL path, must neither swallow clicks and wheel turns meant for the
    // widgets (dragging, double-click, the context menu) nor take the keyboard.
    auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr) QSKIP("needs an X11 display");
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    if (!XTestQueryExtension(x11->display(), &eventBase, &errorBase, &major, &minor))
      QSKIP("the X server has no XTEST extension");
    QFETCH(bool, painter);
    qputenv("ZELVARO_NO_OPENGL", painter ? "1" : "0");
    QWidget host;
    auto* layout = new QVBoxLayout(&host);
    auto* edit = new QLineEdit(&host);
    auto* renderer = new VideoRenderer(&host);
    renderer->setMinimumSize(320, 180);
    layout->addWidget(edit);
    layout->addWidget(renderer);
    InputCounter counter;
    renderer->installEventFilter(&counter);
    host.show();
    QVERIFY(QTest::qWaitForWindowExposed(&host));
    QApplication::setActiveWindow(&host);
    edit->setFocus();
    QTRY_VERIFY(edit->hasFocus());
    renderer->PresentFrame(QuadrantFrame({}));
    VERIFY_SHOWN(*renderer, QuadrantProbes(QRect(QPoint(0, 0), renderer->size()), kQuadrants));

    const QPoint centre = renderer->mapToGlobal(renderer->rect().center());
    Display* display = x11->display();
    XTestFakeMotionEvent(display, -1, centre.x(), centre.y(), CurrentTime);
    for (unsigned button : {1u, 4u}) {  // a click, then a turn of the wheel
      XTestFakeButtonEvent(display, button, True, CurrentTime);
      XTestFakeButtonEvent(display, button, False, CurrentTime);
    }
    XFlush(display);
    QTRY_VERIFY_WITH_TIMEOUT(counter.presses >= 1 && counter.wheels >= 1, kWaitMs);
    QVERIFY(edit->hasFocus());
    QCOMPARE(QGuiApplication::focusWindow(), host.windowHandle());
    QCOMPARE(renderer->CurrentPath(),
             painter ? VideoRenderer::Path::Painter : VideoRenderer::Path::OpenGl);
  }

  void choosesOpenGlOnlyInHardwareUnlessOverridden() {
    for (const char* software :
         {"llvmpipe (LLVM 15.0.6, 256 bits)", "softpipe", "Mesa X11 swrast"}) {
      QVERIFY2(IsSoftwareRasterizer(QString::fromLatin1(software)), software);
    }
    for (const char* hardware : {"AMD Radeon RX 6600 (navi23, LLVM 15.0.6, DRM 3.49)", ""}) {
      QVERIFY2(!IsSoftwareRasterizer(QString::fromLatin1(hardware)), hardware);
    }
    using enum OpenGlOverride;
    // usable, software, override -> OpenGL
    QVERIFY(PreferOpenGl(true, false, Auto));
    QVERIFY(!PreferOpenGl(true, true, Auto));
    QVERIFY(!PreferOpenGl(false, false, Auto));
    QVERIFY(PreferOpenGl(true, true, Force));
    QVERIFY(!PreferOpenGl(false, true, Force));
    QVERIFY(!PreferOpenGl(true, false, Never));

    qunsetenv("ZELVARO_OPENGL");
    QCOMPARE(OpenGlOverrideFromEnvironment(), Auto);
    qputenv("ZELVARO_OPENGL", "yes");
    QCOMPARE(OpenGlOverrideFromEnvironment(), Auto);
    qputenv("ZELVARO_OPENGL", "force");
    QCOMPARE(OpenGlOverrideFromEnvironment(), Force);
    // Never wins over force.
    qputenv("ZELVARO_NO_OPENGL", "1");
    QCOMPARE(OpenGlOverrideFromEnvironment(), Never);
    QVERIFY(!OpenGlVideoAvailable());
    QVERIFY(!ChooseOpenGlVideo());
  }

  void convertsEveryWidthLikeTheFormula_data() {
    QTest::addColumn<VideoPixelFormat>("format");
    QTest::newRow("i420") << VideoPixelFormat::I420;
    QTest::newRow("nv12") << VideoPixelFormat::NV12;
  }

  void convertsEveryWidthLikeTheFormula() {
    // Random samples at widths around the 16- and 32-pixel steps of the
    // vector loops, so their bodies, their rests and the plain loop are each
    // held to the matrix itself (within a level for the fixed point).
    QFETCH(VideoPixelFormat, format);
    const bool nv12 = format == VideoPixelFormat::NV12;
    std::mt19937 random(20240611);
    const YuvToRgbMatrix matrices[] = {
        MakeYuvToRgbMatrix(VideoColorMatrix::Bt601, VideoColorRange::Limited),
        MakeYuvToRgbMatrix(VideoColorMatrix::Bt709, VideoColorRange::Full),
        MakeYuvToRgbMatrix(VideoColorMatrix::Bt2020, VideoColorRange::Limited,
                           {.brightness = -30, .contrast = 60, .hue = 45, .saturation = 80}),
        MakeYuvToRgbMatrix(VideoColorMatrix::Bt709, VideoColorRange::Limited,
                           {.brightness = 100, .contrast = 100, .hue = -180, .saturation = 100}),
    };
    for (int width : {1, 2, 3, 15, 16, 17, 31, 32, 33, 47, 48, 63, 64, 65, 97, 130}) {
      const auto frame = AllocateFrame({.format = format, .size = {width, 3}}, 5,
                                       [&] { return uint8_t(random()); });
      for (const YuvToRgbMatrix& toRgb : matrices) {
        const QImage image = ConvertFrameToRgb(*frame, toRgb);
        QCOMPARE(image.size(), QSize(width, 3));
        for (int row = 0; row < 3; ++row) {
          for (int x = 0; x < width; ++x) {
            const uint8_t* chroma = frame->planes[1] + (row / 2) * frame->strides[1];
            const uint8_t* v = frame->planes[2] + (row / 2) * frame->strides[2];
            const double samples[3] = {frame->planes[0][row * frame->strides[0] + x] / 255.0,
                                       (nv12 ? chroma[(x / 2) * 2] : chroma[x / 2]) / 255.0,
                                       (nv12 ? chroma[(x / 2) * 2 + 1] : v[x / 2]) / 255.0};
            const QRgb pixel = image.pixel(x, row);
            const int actual[3] = {qRed(pixel), qGreen(pixel), qBlue(pixel)};
            for (int c = 0; c < 3; ++c) {
              const auto& m = toRgb.m[c];
              const double value = m[0] * samples[0] + m[1] * samples[1] + m[2] * samples[2] + m[3];
              const long expected = std::clamp(std::lround(value * 255.0), 0L, 255L);
              QVERIFY2(std::abs(actual[c] - expected) <= 1 && qAlpha(pixel) == 255,
                       qPrintable(QString::asprintf("width %d, (%d,%d), channel %d: %d not %ld",
                                                    width, x, row, c, actual[c], expected)));
            }
          }
        }
      }
    }
  }

  void convertsRectanglesLikeTheWholeFrame() {
    const VideoFramePtr frame = QuadrantFrame({.size = {101, 67}}, kReversed);
    const YuvToRgbMatrix toRgb =
        MakeYuvToRgbMatrix(VideoColorMatrix::Bt601, VideoColorRange::Limited);
    const QImage whole = ConvertFrameToRgb(*frame, toRgb);
    // Odd and even edges, one pixel wide, and the whole frame.
    for (const QRect source : {QRect(0, 0, 101, 67), QRect(1, 3, 50, 20), QRect(33, 0, 1, 67),
                               QRect(64, 40, 37, 27), QRect(17, 17, 35, 1)}) {
      QImage target(140, 90, QImage::Format_ARGB32_Premultiplied);
      target.fill(qRgba(1, 2, 3, 4));
      const QPoint at(7, 5);
      QVERIFY(ConvertFrameRectToRgb(*frame, toRgb, source, &target, at));
      for (int y = 0; y < target.height(); ++y) {
        for (int x = 0; x < target.width(); ++x) {
          const QPoint inSource = QPoint(x, y) - at + source.topLeft();
          const QRgb expected =
              source.contains(inSource) ? whole.pixel(inSource) : qRgba(1, 2, 3, 4);
          QVERIFY2(target.pixel(x, y) == expected,
                   qPrintable(QString::asprintf("source at %d,%d: target (%d,%d) differs",
                                                source.x(), source.y(), x, y)));
        }
      }
    }
    // Refused, and nothing written: outside the frame, outside the target, a
    // target of another format.
    QImage target(140, 90, QImage::Format_RGB32);
    target.fill(Qt::black);
    const QImage untouched = target;
    QVERIFY(!ConvertFrameRectToRgb(*frame, toRgb, QRect(90, 0, 20, 10), &target, {0, 0}));
    QVERIFY(!ConvertFrameRectToRgb(*frame, toRgb, QRect(0, 0, 50, 50), &target, {100, 0}));
    QVERIFY(target == untouched);
    QImage grey(140, 90, QImage::Format_Grayscale8);
    QVERIFY(!ConvertFrameRectToRgb(*frame, toRgb, QRect(0, 0, 10, 10), &grey, {0, 0}));
  }

  void repaintsOnlyTheRegionAskedFor() {
    // The QPainter path converts a picture shown pixel for pixel straight into
    // the window's image; a partial repaint must leave a child's pixels there
    // alone, since Qt does not repaint a child outside the region.
    qputenv("ZELVARO_NO_OPENGL", "1");
    VideoRenderer renderer;
    renderer.resize(320, 240);
    QWidget child(&renderer);
    child.setGeometry(0, 0, 100, 80);
    child.setAutoFillBackground(true);
    QPalette palette = child.palette();
    palette.setColor(QPalette::Window, QColor(0, 0, 255));
    child.setPalette(palette);
    renderer.show();
    QVERIFY(QTest::qWaitForWindowExposed(&renderer));
    renderer.PresentFrame(QuadrantFrame({}));
    VERIFY_SHOWN(renderer,
                 Probes{{{200, 180}, kQuadrants[kBottomRight]}, {{50, 40}, QColor(0, 0, 255)}});
    renderer.repaint(QRect(150, 100, 100, 100));
    auto* store = dynamic_cast<QImage*>(renderer.backingStore()->paintDevice());
    QVERIFY(store != nullptr);
    const QPoint offset = renderer.mapTo(renderer.window(), QPoint(0, 0));
    QCOMPARE(QColor(store->pixel(offset + QPoint(50, 40))), QColor(0, 0, 255));
    QVERIFY(Near(store->pixelColor(offset + QPoint(200, 150)), kQuadrants[kBottomRight]));
    QCOMPARE(renderer.CurrentPath(), VideoRenderer::Path::Painter);
  }

 private:
  static void AddPathRows() {
    QTest::addColumn<bool>("painter");
    QTest::newRow("opengl") << false;
    QTest::newRow("painter") << true;
  }
  // A shown, exposed top-level renderer on the path of the current data row.
  std::unique_ptr<VideoRenderer> ShowRenderer(const QSize& size) {
    QFETCH(bool, painter);
    qputenv("ZELVARO_NO_OPENGL", painter ? "1" : "0");
    auto renderer = std::make_unique<VideoRenderer>();
    if (renderer->CurrentPath() !=
        (painter ? VideoRenderer::Path::Painter : VideoRenderer::Path::OpenGl))
      return nullptr;
    renderer->resize(size);
    renderer->show();
    if (!QTest::qWaitForWindowExposed(renderer.get())) return nullptr;
    return renderer;
  }
};

QTEST_MAIN(VideoRendererTest)
#include "video_renderer_test.moc"
