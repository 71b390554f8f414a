// Side-file subtitles from the open to the window: a real GraphManager plays
// a generated clip into a real VideoRenderer with the engine's subtitles laid
// over it, and the picture is read back as it was shown. The painter path
// only: how the OpenGL path lays an overlay is the renderer's own test's.
//
// The clip carries its own clock: its grey is darker outside the cues
// ([1 s, 3 s) and [4 s, 5 s)) and lighter inside them, so "the subtitle shows
// on exactly the frames of its cue" is a property of each picture, whatever
// time stamps the engine believes.

#include "engine/graph_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "subtitles/subtitle_manager.h"
#include "tests/support/temp_home.h"
#include "video/subtitle_overlay_adapter.h"
#include "video/video_renderer.h"

#include <QFile>
#include <QProcess>
#include <QScreen>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace zelvaro {

namespace {

constexpr int kWaitMs = 10'000;
constexpr QSize kClipSize{640, 360};
constexpr int kLightBackgroundMin = 64;  // the greys are 48 outside the cues, 80 inside
constexpr int kTextLevelMin = 180;       // no grey of the clip comes near
constexpr int kEnoughTextPixels = 40;

// Dark 0-1 s, light 1-3 s, dark 3-4 s, light 4-5 s, dark 5-6 s; 25 fps,
// H.264 with B-frames in MP4, so presentation and decoding order differ.
const char kClipGraph[] =
    "color=c=0x303030:s=640x360:r=25:d=1[a];color=c=0x505050:s=640x360:r=25:d=2[b];"
    "color=c=0x303030:s=640x360:r=25:d=1[c];color=c=0x505050:s=640x360:r=25:d=1[d];"
    "color=c=0x303030:s=640x360:r=25:d=1[e];[a][b][c][d][e]concat=n=5:v=1:a=0,format=yuv420p";

const char kSrt[] =
    "1\r\n00:00:01,000 --> 00:00:03,000\r\nFirst line of the clip\r\n\r\n"
    "2\r\n00:00:04,000 --> 00:00:05,000\r\nSecond line\r\n";

const char kSami[] =
    "<SAMI><HEAD><STYLE TYPE=\"text/css\"><!-- .KRCC { Name: Korean; lang: ko-KR; } --></STYLE>"
    "</HEAD><BODY>\r\n"
    "<SYNC Start=1000><P Class=KRCC>A SAMI line\r\n"
    "<SYNC Start=3000><P Class=KRCC>&nbsp;\r\n"
    "<SYNC Start=4000><P Class=KRCC>Another SAMI line\r\n"
    "<SYNC Start=5000><P Class=KRCC>&nbsp;\r\n"
    "</BODY></SAMI>\r\n";

// Its own white style; fades in and out over half a second each.
const char kAss[] =
    "[Script Info]\nScriptType: v4.00+\nPlayResX: 384\nPlayResY: 288\n\n[V4+ Styles]\n"
    "Format: Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, OutlineColour, BackColour, "
    "Bold, Italic, Underline, StrikeOut, ScaleX, ScaleY, Spacing, Angle, BorderStyle, Outline, "
    "Shadow, Alignment, MarginL, MarginR, MarginV, Encoding\n"
    "Style: Default,sans-serif,28,&H00FFFFFF,&H000000FF,&H00000000,&H80000000,1,0,0,0,100,100,0,0,"
    "1,2,0,2,10,10,12,1\n\n[Events]\n"
    "Format: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n"
    "Dialogue: 0,0:00:01.00,0:00:03.00,Default,,0,0,0,,{\\fad(500,500)}A fading line\n"
    "Dialogue: 0,0:00:04.00,0:00:05.00,Default,,0,0,0,,A still line\n";

// What one picture shows.
struct Look {
  bool lightBackground = false;
  int whiteBelow = 0;   // text pixels in the lower half
  int yellowBelow = 0;  // the same in a yellow style
  int textAbove = 0;    // anything bright in the upper half
  int brightest = 0;    // the highest grey level in the lower half
};

Look LookAt(const QImage& shown) {
  Look look;
  if (shown.isNull()) return look;
  const QImage image = shown.convertToFormat(QImage::Format_RGB32);
  look.lightBackground = qGray(image.pixel(8, 8)) >= kLightBackgroundMin;
  for (int y = 0; y < image.height(); ++y) {
    const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    const bool below = y >= image.height() / 2;
    for (int x = 0; x < image.width(); ++x) {
      const int r = qRed(row[x]), g = qGreen(row[x]), b = qBlue(row[x]);
      const bool white = r >= kTextLevelMin && g >= kTextLevelMin && b >= kTextLevelMin;
      const bool yellow = r >= kTextLevelMin && g >= kTextLevelMin && b < 100;
      if (!below) {
        if (white || yellow) ++look.textAbove;
        continue;
      }
      look.whiteBelow += white ? 1 : 0;
      look.yellowBelow += yellow ? 1 : 0;
      look.brightest = std::max(look.brightest, qGray(row[x]));
    }
  }
  return look;
}

bool ShowsText(const Look& look) {
  return look.whiteBelow + look.yellowBelow >= kEnoughTextPixels && look.textAbove == 0;
}
bool ShowsNothing(const Look& look) {
  return look.whiteBelow + look.yellowBelow + look.textAbove == 0;
}

int64_t To100ns(double seconds) {
  return std::llround(seconds * 1e7);
}

// A shown renderer at the clip's size, the engine playing into it and the
// subtitles laid over it.
class Player {
 public:
  Player() {
    qputenv("ZELVARO_NO_OPENGL", "1");
    renderer_ = std::make_unique<VideoRenderer>();
    renderer_->setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    renderer_->setGeometry(QRect(QPoint(0, 0), kClipSize));
    renderer_->show();
    graph_ = std::make_unique<GraphManager>(renderer_.get());
    adapter_ = ConnectSubtitleOverlay(*graph_, *renderer_);
  }

  ~Player() {
    DisconnectSubtitleOverlay(*renderer_);
    graph_->Close();
    graph_->SetVideoOutput(nullptr);
    graph_.reset();
    renderer_.reset();
  }

  GraphManager& graph() { return *graph_; }
  VideoRenderer& renderer() { return *renderer_; }
  SubtitleOverlayAdapter& adapter() { return *adapter_; }

  bool Exposed() { return QTest::qWaitForWindowExposed(renderer_.get()); }

  // Opens paused; the first frame is on screen and the side subtitle (read
  // in the background) in place when it returns true.
  bool Open(const QString& path) {
    const uint64_t paintedBefore = renderer_->Counters().painted;
    if (!graph_->OpenFile(path)) return false;
    graph_->Pause();
    return QTest::qWaitFor(
        [&] {
          return renderer_->Counters().painted > paintedBefore &&
                 (!graph_->Subtitles() || !graph_->Subtitles()->IsLoading());
        },
        kWaitMs);
  }

  // Seeks exactly and waits for the paint of that frame (its overlay was
  // asked for in the same paint).
  bool ShowFrameAt(double seconds) {
    if (!graph_->Seek(seconds, false, 0)) return false;
    const int64_t target = To100ns(seconds);
    return QTest::qWaitFor(
        [&] { return std::llabs(renderer_->Counters().lastPaintedTime100ns - target) < 200'000; },
        kWaitMs);
  }

  Look Shown() { return LookAt(renderer_->DisplayedImage()); }

 private:
  std::unique_ptr<VideoRenderer> renderer_;
  std::unique_ptr<GraphManager> graph_;
  SubtitleOverlayAdapter* adapter_ = nullptr;
};

}  // namespace

class SubtitlesE2eTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase();
  void init() { home_ = std::make_unique<test::TempHome>(); }
  void cleanup() { home_.reset(); }

  void srtCuesShowOnExactlyTheirFrames();
  void delayStepsMoveTheCuesBothWays();
  void userStyleAndEnabledFlagReachThePicture();
  void samiAndFadingAssLinesReachThePicture();
  void playingKeepsEachLineOnItsFrames();

 private:
  QString MediaPath(const QString& name) const { return media_.filePath(name); }
  void WriteSide(const QString& name, const QByteArray& bytes) {
    QFile file(MediaPath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
  }

  QTemporaryDir media_;
  std::unique_ptr<test::TempHome> home_;
};

void SubtitlesE2eTest::initTestCase() {
  QVERIFY(media_.isValid());
  QProcess ffmpeg;
  ffmpeg.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  ffmpeg.start(QStringLiteral("ffmpeg"),
               {"-nostdin", "-hide_banner", "-loglevel", "error", "-y", "-f", "lavfi", "-i",
                kClipGraph, "-c:v", "libx264", "-preset", "veryfast", "-g", "25", "-bf", "2",
                MediaPath(QStringLiteral("cues.mp4"))});
  QVERIFY2(ffmpeg.waitForFinished(60'000) && ffmpeg.exitCode() == 0,
           "ffmpeg could not make the clip");
  // The same pictures in Matroska, for the SAMI file.
  ffmpeg.start(QStringLiteral("ffmpeg"), {"-nostdin", "-hide_banner", "-loglevel", "error", "-y",
                                          "-i", MediaPath(QStringLiteral("cues.mp4")), "-c", "copy",
                                          MediaPath(QStringLiteral("sami.mkv"))});
  QVERIFY(ffmpeg.waitForFinished(60'000) && ffmpeg.exitCode() == 0);
  for (const char* copy : {"fade.mp4", "bare.mp4"})
    QVERIFY(QFile::copy(MediaPath(QStringLiteral("cues.mp4")), MediaPath(QLatin1String(copy))));
  WriteSide(QStringLiteral("cues.srt"), kSrt);
  WriteSide(QStringLiteral("sami.smi"), kSami);
  WriteSide(QStringLiteral("fade.ass"), kAss);
}

void SubtitlesE2eTest::srtCuesShowOnExactlyTheirFrames() {
  Player player;
  QVERIFY(player.Exposed());
  QVERIFY(player.Open(MediaPath(QStringLiteral("cues.mp4"))));
  SubtitleManager* subtitles = player.graph().Subtitles();
  QVERIFY(subtitles);
  QCOMPARE(subtitles->GetTracks().size(), size_t(1));
  QCOMPARE(subtitles->GetTracks()[0].Name, QStringLiteral("cues.srt"));

  // Each boundary from both sides: the last frame outside a cue and the
  // first inside, the last inside and the first after.
  for (double seconds : {0.96, 1.0, 2.0, 2.96, 3.0, 3.5, 3.96, 4.0, 4.96, 5.0}) {
    QVERIFY2(player.ShowFrameAt(seconds), qPrintable(QString::number(seconds)));
    const Look look = player.Shown();
    QVERIFY2(look.lightBackground ? ShowsText(look) : ShowsNothing(look),
             qPrintable(QStringLiteral("at %1 s: light %2, text below %3, above %4")
                            .arg(seconds)
                            .arg(look.lightBackground)
                            .arg(look.whiteBelow)
                            .arg(look.textAbove)));
  }

  // A line that stands still is one picture over all its frames, so the
  // renderer uploads it once.
  QVERIFY(player.ShowFrameAt(1.2));
  const uint64_t changedBefore = player.adapter().GetCounters().changed;
  const uint64_t askedBefore = player.adapter().GetCounters().asked;
  for (double seconds : {1.4, 1.8, 2.4, 2.8}) QVERIFY(player.ShowFrameAt(seconds));
  QVERIFY(player.adapter().GetCounters().asked >= askedBefore + 4);
  QCOMPARE(player.adapter().GetCounters().changed, changedBefore);

  // And it reached the window itself, not only the renderer's scene.
  QTRY_VERIFY_WITH_TIMEOUT(
      ShowsText(LookAt(
          QGuiApplication::primaryScreen()->grabWindow(player.renderer().winId()).toImage())),
      kWaitMs);

  // Drawn at the size the video is shown at, so the text stays sharp; a
  // larger window draws it again at the new size.
  const double pixelRatio = player.renderer().devicePixelRatioF();
  QCOMPARE(subtitles->GetSubPic(To100ns(2.8))->GetSize(),
           (QSizeF(kClipSize) * pixelRatio).toSize());
  const QSize larger = kClipSize * 3 / 2;
  player.renderer().resize(larger);
  player.graph().RefreshVideoPosition();
  QTRY_COMPARE_WITH_TIMEOUT(subtitles->GetSubPic(To100ns(2.8))->GetSize(),
                            (QSizeF(larger) * pixelRatio).toSize(), kWaitMs);
  QVERIFY(ShowsText(player.Shown()));
}

void SubtitlesE2eTest::delayStepsMoveTheCuesBothWays() {
  Player player;
  QVERIFY(player.Exposed());
  QVERIFY(player.Open(MediaPath(QStringLiteral("cues.mp4"))));
  GraphManager& graph = player.graph();
  auto textAt = [&](double seconds) {
    if (!player.ShowFrameAt(seconds)) return -1;
    const Look look = player.Shown();
    return ShowsText(look) ? 1 : (ShowsNothing(look) ? 0 : -1);
  };
  QCOMPARE(graph.GetSubtitleDelay(), int64_t(0));
  QCOMPARE(textAt(0.6), 0);

  // The delay-up key: the subtitles come half a second earlier, so the
  // first line starts on the frame at 0.5 s and ends before 2.5 s.
  graph.AdjustSubtitleDelay(500);
  QCOMPARE(graph.GetSubtitleDelay(), int64_t(500));
  QTRY_VERIFY_WITH_TIMEOUT(ShowsText(player.Shown()), kWaitMs);  // still paused at 0.6 s
  QCOMPARE(textAt(0.48), 0);
  QCOMPARE(textAt(0.52), 1);
  QCOMPARE(textAt(2.48), 1);
  QCOMPARE(textAt(2.52), 0);

  // Reset, then two steps of the delay-down key: one second later.
  graph.ResetSubtitleDelay();
  QTRY_VERIFY_WITH_TIMEOUT(ShowsText(player.Shown()), kWaitMs);  // 2.52 s is inside the cue
  graph.AdjustSubtitleDelay(-500);
  graph.AdjustSubtitleDelay(-500);
  QCOMPARE(graph.GetSubtitleDelay(), int64_t(-1000));
  QCOMPARE(textAt(1.96), 0);
  QCOMPARE(textAt(2.0), 1);
  QCOMPARE(textAt(3.96), 1);
  QCOMPARE(textAt(4.0), 0);

  // The delay belongs to the player, not to the file.
  QVERIFY(player.Open(MediaPath(QStringLiteral("cues.mp4"))));
  QCOMPARE(graph.GetSubtitleDelay(), int64_t(-1000));
  QCOMPARE(textAt(1.2), 0);
  QCOMPARE(textAt(2.2), 1);
}

void SubtitlesE2eTest::userStyleAndEnabledFlagReachThePicture() {
  // Yellow text (0xAARRGGBB), and subtitles switched off by the user.
  QVERIFY(Settings::SetDword(setting::kSubPrimaryColor, 0x00FFFF00));
  QVERIFY(Settings::SetDword(setting::kSubtitleEnabled, 0));
  Player player;
  QVERIFY(player.Exposed());
  QVERIFY(player.Open(MediaPath(QStringLiteral("cues.mp4"))));
  SubtitleManager* subtitles = player.graph().Subtitles();
  QVERIFY(subtitles);
  QVERIFY(subtitles->HasSubtitle());
  QVERIFY(player.ShowFrameAt(1.6));
  QVERIFY(ShowsNothing(player.Shown()));

  // What the subtitle commands do: switch on, and the paused picture shows it.
  subtitles->SetEnabled(true);
  player.graph().RedrawVideo();
  QTRY_VERIFY_WITH_TIMEOUT(ShowsText(player.Shown()), kWaitMs);
  const Look styled = player.Shown();
  QVERIFY(styled.yellowBelow >= kEnoughTextPixels);
  QCOMPARE(styled.whiteBelow, 0);

  subtitles->SetEnabled(false);
  player.graph().RedrawVideo();
  QTRY_VERIFY_WITH_TIMEOUT(ShowsNothing(player.Shown()), kWaitMs);
  subtitles->SetEnabled(true);

  // A file without a side file shows none, not the last file's.
  QVERIFY(player.Open(MediaPath(QStringLiteral("bare.mp4"))));
  QVERIFY(player.graph().Subtitles()->GetTracks().empty());
  QVERIFY(player.ShowFrameAt(1.6));
  QVERIFY(player.Shown().lightBackground);
  QVERIFY(ShowsNothing(player.Shown()));

  // An ASS file keeps its own style: white whatever the user chose.
  QVERIFY(player.Open(MediaPath(QStringLiteral("fade.mp4"))));
  QVERIFY(player.ShowFrameAt(4.4));
  const Look own = player.Shown();
  QVERIFY(ShowsText(own));
  QVERIFY(own.whiteBelow >= kEnoughTextPixels);
  QCOMPARE(own.yellowBelow, 0);
}

void SubtitlesE2eTest::samiAndFadingAssLinesReachThePicture() {
  Player player;
  QVERIFY(player.Exposed());

  QVERIFY(player.Open(MediaPath(QStringLiteral("sami.mkv"))));
  QCOMPARE(player.graph().Subtitles()->GetTracks()[0].Name, QStringLiteral("sami.smi"));
  for (double seconds : {0.96, 1.0, 2.96, 3.0, 4.0, 5.0}) {
    QVERIFY(player.ShowFrameAt(seconds));
    const Look look = player.Shown();
    QVERIFY2(look.lightBackground ? ShowsText(look) : ShowsNothing(look),
             qPrintable(QStringLiteral("SAMI at %1 s").arg(seconds)));
  }

  // A fade is drawn anew on each of its frames: brighter as it comes in,
  // full in the middle, dimmer as it goes.
  QVERIFY(player.Open(MediaPath(QStringLiteral("fade.mp4"))));
  auto brightestAt = [&](double seconds) {
    return player.ShowFrameAt(seconds) ? player.Shown().brightest : -1;
  };
  const int early = brightestAt(1.2);
  const int later = brightestAt(1.32);
  const int full = brightestAt(2.0);
  const int fading = brightestAt(2.8);
  QVERIFY2(
      early > 100 && early + 15 < later && later + 15 < full && full >= 240 && fading + 15 < full &&
          fading > 100,
      qPrintable(
          QStringLiteral("brightest: %1, %2, %3, %4").arg(early).arg(later).arg(full).arg(fading)));
  QVERIFY(player.ShowFrameAt(3.0));
  QVERIFY(ShowsNothing(player.Shown()));
}

void SubtitlesE2eTest::playingKeepsEachLineOnItsFrames() {
  Player player;
  QVERIFY(player.Exposed());
  QVERIFY(player.Open(MediaPath(QStringLiteral("cues.mp4"))));
  QVERIFY(player.ShowFrameAt(0.6));
  QVERIFY(player.graph().Play());

  // Every picture seen while the clip runs through the end of the first
  // line and the whole second: text exactly on the light frames.
  int withText = 0, withoutText = 0;
  double wrongAtSeconds = -1.0;
  QVERIFY(QTest::qWaitFor(
      [&] {
        const Look look = player.Shown();
        if (look.lightBackground ? !ShowsText(look) : !ShowsNothing(look)) {
          wrongAtSeconds = player.renderer().Counters().lastPaintedTime100ns / 1e7;
          return true;
        }
        (look.lightBackground ? withText : withoutText) += 1;
        return player.renderer().Counters().lastPaintedTime100ns >= To100ns(5.4);
      },
      kWaitMs));
  player.graph().Pause();
  QVERIFY2(wrongAtSeconds < 0,
           qPrintable(QStringLiteral("wrong subtitles near %1 s").arg(wrongAtSeconds)));
  QVERIFY(withText >= 10);
  QVERIFY(withoutText >= 10);
}

}  // namespace zelvaro

QTEST_MAIN(zelvaro::SubtitlesE2eTest)
#include "subtitles_e2e_test.moc"
