// Video control from the engine to the screen: GraphManager's rotation,
// flips and colour controls on a real renderer, on both paths, playing the
// generated clips and read back.

#include "engine/graph_manager.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"
#include "video/video_gl_surface.h"
#include "video/video_renderer.h"

#include <QtTest>

#include <array>
#include <memory>

using namespace zelvaro;

namespace {

constexpr int kWaitMs = 20000;
constexpr int kTolerance = 12;  // H.264 at 4:2:0 along the quadrant edges

// The fixtures' quadrants: red, lime, blue, white.
const std::array<QColor, 4> kQuadrants = {QColor(255, 0, 0), QColor(0, 255, 0), QColor(0, 0, 255),
                                          QColor(255, 255, 255)};

bool Near(const QColor& actual, const QColor& expected, int tolerance = kTolerance) {
  return std::abs(actual.red() - expected.red()) <= tolerance &&
         std::abs(actual.green() - expected.green()) <= tolerance &&
         std::abs(actual.blue() - expected.blue()) <= tolerance;
}

// Screen quadrant (TL, TR, BL, BR) to the source quadrant it shows after a
// clockwise turn, a left-right mirror and a top-bottom mirror, in that order.
std::array<QColor, 4> Expected(int rotationDeg, bool flipHorizontal, bool flipVertical) {
  std::array<int, 4> source = {0, 1, 2, 3};
  if (rotationDeg == 90) source = {2, 0, 3, 1};
  if (rotationDeg == 180) source = {3, 2, 1, 0};
  if (rotationDeg == 270) source = {1, 3, 0, 2};
  if (flipHorizontal) source = {source[1], source[0], source[3], source[2]};
  if (flipVertical) source = {source[2], source[3], source[0], source[1]};
  return {kQuadrants[source[0]], kQuadrants[source[1]], kQuadrants[source[2]],
          kQuadrants[source[3]]};
}

bool ShowsQuadrants(const QImage& image, const std::array<QColor, 4>& colours) {
  if (image.isNull()) return false;
  const int w = image.width(), h = image.height();
  const QPoint centres[] = {
      {w / 4, h / 4}, {w * 3 / 4, h / 4}, {w / 4, h * 3 / 4}, {w * 3 / 4, h * 3 / 4}};
  for (int i = 0; i < 4; ++i)
    if (!Near(image.pixelColor(centres[i]), colours[i])) return false;
  return true;
}

}  // namespace

class VideoControlTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { home_ = std::make_unique<test::TempHome>(); }
  void cleanup();
  void turnsAndMirrorsThePicture_data() { AddPathRows(); }
  void turnsAndMirrorsThePicture();
  void brightensAndLeavesUntouchedAtZero_data() { AddPathRows(); }
  void brightensAndLeavesUntouchedAtZero();

 private:
  static void AddPathRows() {
    QTest::addColumn<bool>("painter");
    QTest::newRow("opengl") << false;
    QTest::newRow("painter") << true;
  }
  // A shown renderer on the row's path with a GraphManager that has `clip` open.
  bool Open(const QSize& size, const QString& clip);

  std::unique_ptr<test::TempHome> home_;
  std::unique_ptr<VideoRenderer> renderer_;
  std::unique_ptr<GraphManager> graph_;
};

void VideoControlTest::cleanup() {
  if (graph_) graph_->SetVideoOutput(nullptr);
  graph_.reset();
  renderer_.reset();
}

bool VideoControlTest::Open(const QSize& size, const QString& clip) {
  QFETCH(bool, painter);
  qputenv("ZELVARO_OPENGL", "force");
  qputenv("ZELVARO_NO_OPENGL", painter ? "1" : "0");
  renderer_ = std::make_unique<VideoRenderer>();
  renderer_->resize(size);
  renderer_->show();
  if (!QTest::qWaitForWindowExposed(renderer_.get())) return false;
  if (renderer_->CurrentPath() !=
      (painter ? VideoRenderer::Path::Painter : VideoRenderer::Path::OpenGl))
    return false;
  graph_ = std::make_unique<GraphManager>(renderer_.get());
  return graph_->OpenFile(test::FixturePath(clip));
}

void VideoControlTest::turnsAndMirrorsThePicture() {
  QVERIFY(Open({400, 300}, QStringLiteral("pattern_h264_aac.mkv")));
  // Each turn once, each mirror alone and both together.
  const struct {
    int rotation;
    bool flipHorizontal, flipVertical;
  } cases[] = {{0, false, false}, {90, true, false}, {180, false, true}, {270, true, true}};
  for (const auto& c : cases) {
    graph_->SetRotation(c.rotation);
    graph_->SetFlipHorizontal(c.flipHorizontal);
    graph_->SetFlipVertical(c.flipVertical);
    const auto expected = Expected(c.rotation, c.flipHorizontal, c.flipVertical);
    const QSize shownSize = c.rotation % 180 ? QSize(240, 320) : QSize(320, 240);
    QTRY_VERIFY2_WITH_TIMEOUT(renderer_->DisplayedImage().size() == shownSize &&
                                  ShowsQuadrants(renderer_->DisplayedImage(), expected),
                              qPrintable(QString::asprintf("rotation %d, flips %d %d", c.rotation,
                                                           c.flipHorizontal, c.flipVertical)),
                              kWaitMs);
  }
}

void VideoControlTest::brightensAndLeavesUntouchedAtZero() {
  QVERIFY(Open({320, 240}, QStringLiteral("grey.mp4")));
  QTRY_VERIFY_WITH_TIMEOUT(!renderer_->DisplayedImage().isNull(), kWaitMs);
  const QImage untouched = renderer_->DisplayedImage();
  const QColor grey = untouched.pixelColor(160, 120);
  QVERIFY2(Near(grey, QColor(128, 128, 128), 3), qPrintable(grey.name()));

  // +50 lifts every channel by 50 levels of 255.
  QVERIFY(graph_->SetBrightness(50));
  const QColor lifted(grey.red() + 50, grey.green() + 50, grey.blue() + 50);
  QTRY_VERIFY_WITH_TIMEOUT(Near(renderer_->DisplayedImage().pixelColor(160, 120), lifted, 2),
                           kWaitMs);

  // Back at 0 with every other control at 0 too: the very same pixels.
  QVERIFY(graph_->SetContrast(0));
  QVERIFY(graph_->SetBrightness(0));
  QTRY_COMPARE_WITH_TIMEOUT(renderer_->DisplayedImage(), untouched, kWaitMs);
}

QTEST_MAIN(VideoControlTest)
#include "video_control_test.moc"
