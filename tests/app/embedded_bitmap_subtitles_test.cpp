// Picture subtitles inside the file: a Blu-ray subtitle stream (written by
// hand, muxed with ffmpeg) chosen from the subtitle menu of the real window
// shows its red rectangle on the dark grey picture from 1 s to 3 s, scaled
// from its 1920x1080 canvas, and is gone after; on either route setting.

#include "app/commands.h"
#include "engine/graph_manager.h"
#include "tests/app/shell_test_support.h"
#include "tests/support/pgs_writer.h"
#include "video/video_renderer.h"

#include <QProcess>
#include <QTemporaryDir>

namespace zelvaro {

namespace {

constexpr int kWaitMs = 20'000;

struct Look {
  int64_t time100ns = -1;
  int red = 0;     // pixels of the rectangle's colour
  QPointF centre;  // theirs, as a fraction of the picture
};

Look LookAt(VideoRenderer* renderer) {
  Look look;
  look.time100ns = renderer->Counters().lastPaintedTime100ns;
  const QImage image = renderer->DisplayedImage().convertToFormat(QImage::Format_RGB32);
  double sumX = 0, sumY = 0;
  for (int y = 0; y < image.height(); ++y) {
    const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      if (qRed(row[x]) < 180 || qGreen(row[x]) > 80 || qBlue(row[x]) > 80) continue;
      ++look.red;
      sumX += x;
      sumY += y;
    }
  }
  if (look.red > 0)
    look.centre = {sumX / look.red / image.width(), sumY / look.red / image.height()};
  return look;
}

}  // namespace

class EmbeddedBitmapSubtitlesTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QVERIFY(media_.isValid());
    // The rectangle covers the middle half across, the third quarter down.
    test::PgsRectangle rectangle;
    rectangle.rect = QRect(480, 540, 960, 270);
    rectangle.y = 63, rectangle.cr = 240, rectangle.cb = 102;  // red
    rectangle.showMs = 1000;
    rectangle.hideMs = 3000;
    QFile sup(media_.filePath("red.sup"));
    QVERIFY(sup.open(QIODevice::WriteOnly));
    sup.write(test::MakePgsStream(rectangle));
    sup.close();
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg", {"-nostdin", "-v", "error", "-y", "-i",
                            test::FixturePath("embedded_srt.mkv"), "-i", sup.fileName(), "-map",
                            "0:v", "-map", "1", "-c", "copy", media_.filePath("pgs.mkv")});
    QVERIFY(ffmpeg.waitForFinished(30'000));
    QCOMPARE(ffmpeg.exitCode(), 0);
  }

  void init() {
    home_ = std::make_unique<test::TempHome>();
    window_ = test::StartPlayer();
    QVERIFY(window_);
    graph_ = window_->graph();
  }

  void cleanup() {
    test::StopPlayer();
    home_.reset();
  }

  void theRectangleShowsAtItsCueOnly_data() {
    QTest::addColumn<uint>("method");
    QTest::newRow("graph") << 1u;
    QTest::newRow("external") << 0u;
  }

  void theRectangleShowsAtItsCueOnly() {
    QFETCH(uint, method);
    Settings::SetDword(setting::kEmbeddedSubtitleMethod, method);
    QVERIFY(window_->OpenFile(media_.filePath("pgs.mkv")));
    graph_->Pause();
    QCOMPARE(graph_->GetSubtitleTrackCount(), 1);
    window_->OnCommand(ID_SUBTITLE_TRACK_FIRST);
    QTRY_COMPARE_WITH_TIMEOUT(window_->embeddedSubtitleIndex(), 0, kWaitMs);

    VideoRenderer* video = window_->videoWindow();
    QTRY_VERIFY_WITH_TIMEOUT(LookAt(video).time100ns >= 0, kWaitMs);
    QCOMPARE(LookAt(video).red, 0);
    QVERIFY(graph_->Play());
    Look shown;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
          shown = LookAt(video);
          return shown.time100ns > 12'500'000 && shown.time100ns < 27'500'000 && shown.red > 0;
        }(),
        kWaitMs);
    // A quarter of the picture, where the canvas puts it.
    const QImage image = video->DisplayedImage();
    QVERIFY2(shown.red > image.width() * image.height() / 8 * 0.9,
             qPrintable(QString::number(shown.red)));
    QVERIFY(std::abs(shown.centre.x() - 0.5) < 0.03);
    QVERIFY(std::abs(shown.centre.y() - 0.625) < 0.03);
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
          const Look look = LookAt(video);
          return look.time100ns > 32'000'000 && look.red == 0;
        }(),
        kWaitMs);
  }

 private:
  QTemporaryDir media_;
  std::unique_ptr<test::TempHome> home_;
  MainWindow* window_ = nullptr;
  GraphManager* graph_ = nullptr;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::EmbeddedBitmapSubtitlesTest)
#include "embedded_bitmap_subtitles_test.moc"
