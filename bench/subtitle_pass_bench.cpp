// The subtitle pass of a presented frame at 1080p: a shown 1920x1080
// VideoRenderer is handed 1080p frames one after another (each waits for its
// paint), once without subtitles and then with the engine's subtitles laid
// over it through SubtitleOverlayAdapter: a line that stands still, a \fad
// line that changes on every frame, and a gap between lines. The pass costs
// the difference from the run without subtitles; "pictures changed" is what
// an OpenGL renderer uploads (a still line: nothing after its first frame).
// Also the QPainter path's overlay blend alone, on an offscreen image.
// Needs a display: bash packaging/run-headless.sh build/bin/bench_subtitle_pass
//
// Usage: bench_subtitle_pass [--path opengl|painter] [--frames 250]

#include "bench/playback_support.h"
#include "engine/graph_manager.h"
#include "subtitles/subtitle_manager.h"
#include "video/subtitle_overlay_adapter.h"
#include "video/video_gl_surface.h"
#include "video/video_painter.h"
#include "video/video_renderer.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QPainter>
#include <QTemporaryDir>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <vector>

using namespace zelvaro;
using namespace zelvaro::bench;

namespace {

constexpr QSize kVideoSize{1920, 1080};
constexpr int64_t k100nsPerMs = 10'000;
constexpr int kWarmUpFrames = 5;

double ClockSeconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now.tv_sec + now.tv_nsec / 1e9;
}

QString WriteFile(const PrivateHome& home, const QString& name, const QByteArray& bytes) {
  const QString path = QDir(home.Root()).filePath(name);
  QFile file(path);
  if (file.open(QIODevice::WriteOnly)) file.write(bytes);
  return path;
}

// A mid-grey I420 picture; every frame shares its planes.
std::shared_ptr<std::vector<uint8_t>> GreyPlanes() {
  const size_t luma = size_t(kVideoSize.width()) * kVideoSize.height();
  auto planes = std::make_shared<std::vector<uint8_t>>(luma * 3 / 2, uint8_t(128));
  std::fill(planes->begin(), planes->begin() + std::ptrdiff_t(luma), uint8_t(90));
  return planes;
}

VideoFramePtr FrameAt(const std::shared_ptr<std::vector<uint8_t>>& planes, int64_t time100ns) {
  auto frame = std::make_shared<VideoFrame>();
  frame->width = kVideoSize.width();
  frame->height = kVideoSize.height();
  frame->matrix = VideoColorMatrix::Bt709;
  frame->time100ns = time100ns;
  uint8_t* y = planes->data();
  const int chromaWidth = kVideoSize.width() / 2;
  uint8_t* u = y + size_t(kVideoSize.width()) * kVideoSize.height();
  uint8_t* v = u + size_t(chromaWidth) * (kVideoSize.height() / 2);
  frame->planes = {y, u, v};
  frame->strides = {kVideoSize.width(), chromaWidth, chromaWidth};
  frame->planeCount = 3;
  frame->keepAlive = planes;
  return frame;
}

// Times the adapter's answers, the pass's own share of the paint.
class TimedSource : public SubtitleOverlaySource {
 public:
  explicit TimedSource(SubtitleOverlaySource& inner) : inner_(inner) {}
  QImage PictureFor(int64_t time100ns, const QSize& videoRectSize) override {
    const double start = ClockSeconds(CLOCK_MONOTONIC);
    QImage image = inner_.PictureFor(time100ns, videoRectSize);
    seconds_ += ClockSeconds(CLOCK_MONOTONIC) - start;
    return image;
  }
  double Seconds() const { return seconds_; }
  void Reset() { seconds_ = 0; }

 private:
  SubtitleOverlaySource& inner_;
  double seconds_ = 0;
};

struct RunFigures {
  double wallMs = 0;       // PresentFrame to painted, per frame
  double threadCpuMs = 0;  // the interface thread, per frame
  double processCpuMs = 0;
  double lookupMs = 0;   // inside PictureFor, per frame
  uint64_t changed = 0;  // pictures that differ from the one before
  uint64_t shown = 0;    // frames with a picture
  int frames = 0;
};

// Waits for the paint of the frame, so the next one never replaces it
// unpainted.
bool PresentAndWait(VideoRenderer& renderer, const std::shared_ptr<std::vector<uint8_t>>& planes,
                    int64_t time100ns) {
  const uint64_t before = renderer.Counters().painted;
  renderer.PresentFrame(FrameAt(planes, time100ns));
  QTimer guard;  // wakes the wait should a paint never come
  guard.start(1000);
  const double deadline = ClockSeconds(CLOCK_MONOTONIC) + 5.0;
  while (renderer.Counters().painted == before) {
    if (ClockSeconds(CLOCK_MONOTONIC) > deadline) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return true;
}

// `count` frames 40 ms apart from `start100ns`, after a few unmeasured ones.
RunFigures Run(VideoRenderer& renderer, const std::shared_ptr<std::vector<uint8_t>>& planes,
               int64_t start100ns, int count, SubtitleOverlayAdapter* adapter, TimedSource* timed) {
  RunFigures figures;
  int64_t time = start100ns;
  for (int i = 0; i < kWarmUpFrames; ++i, time += 40 * k100nsPerMs)
    PresentAndWait(renderer, planes, time);
  if (timed) timed->Reset();
  const SubtitleOverlayAdapter::Counters countersBefore =
      adapter ? adapter->GetCounters() : SubtitleOverlayAdapter::Counters{};
  const double wall = ClockSeconds(CLOCK_MONOTONIC);
  const double thread = ClockSeconds(CLOCK_THREAD_CPUTIME_ID);
  const double process = ProcessCpuSeconds();
  for (int i = 0; i < count; ++i, time += 40 * k100nsPerMs) {
    if (!PresentAndWait(renderer, planes, time)) {
      std::printf("warning: a frame was never painted\n");
      break;
    }
    ++figures.frames;
  }
  const double frames = std::max(figures.frames, 1);
  figures.wallMs = (ClockSeconds(CLOCK_MONOTONIC) - wall) * 1e3 / frames;
  figures.threadCpuMs = (ClockSeconds(CLOCK_THREAD_CPUTIME_ID) - thread) * 1e3 / frames;
  figures.processCpuMs = (ProcessCpuSeconds() - process) * 1e3 / frames;
  if (timed) figures.lookupMs = timed->Seconds() * 1e3 / frames;
  if (adapter) {
    figures.changed = adapter->GetCounters().changed - countersBefore.changed;
    figures.shown = adapter->GetCounters().shown - countersBefore.shown;
  }
  return figures;
}

void PrintRun(const char* label, const RunFigures& run, const RunFigures* base) {
  std::printf("  %-22s wall %6.2f ms, interface thread %6.2f ms, process %6.2f ms per frame", label,
              run.wallMs, run.threadCpuMs, run.processCpuMs);
  if (base) {
    std::printf(
        "\n  %-22s subtitle pass %+6.2f ms (interface thread), %+6.2f ms (process); "
        "PictureFor %6.3f ms; pictures changed %llu, shown %llu of %d frames",
        "", run.threadCpuMs - base->threadCpuMs, run.processCpuMs - base->processCpuMs,
        run.lookupMs, static_cast<unsigned long long>(run.changed),
        static_cast<unsigned long long>(run.shown), run.frames);
  }
  std::printf("\n");
}

void SetPathEnvironment(const QString& path) {
  qunsetenv("ZELVARO_NO_OPENGL");
  qunsetenv("ZELVARO_OPENGL");
  qputenv(path == QLatin1String("opengl") ? "ZELVARO_OPENGL" : "ZELVARO_NO_OPENGL",
          path == QLatin1String("opengl") ? "force" : "1");
}

void BenchPath(const QString& path, const PrivateHome& home, int count) {
  SetPathEnvironment(path);
  VideoRenderer renderer;
  renderer.setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
  renderer.setGeometry(QRect(QPoint(0, 0), kVideoSize));
  renderer.show();
  const double deadline = ClockSeconds(CLOCK_MONOTONIC) + 5.0;
  while (!(renderer.windowHandle() && renderer.windowHandle()->isExposed())) {
    if (ClockSeconds(CLOCK_MONOTONIC) > deadline) {
      std::printf("skipped: the window was never exposed\n");
      return;
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
  }
  const auto planes = GreyPlanes();
  std::printf("%s path (asked: %s), %dx%d window, %d frames a run\n",
              renderer.CurrentPath() == VideoRenderer::Path::OpenGl ? "OpenGL" : "QPainter",
              qPrintable(path), kVideoSize.width(), kVideoSize.height(), count);

  const RunFigures none = Run(renderer, planes, 1000 * k100nsPerMs, count, nullptr, nullptr);
  PrintRun("without subtitles", none, nullptr);

  GraphManager graph;
  graph.EnsureSubtitleManager();
  SubtitleManager& subtitles = *graph.Subtitles();
  SubtitleOverlayAdapter adapter(graph);
  TimedSource timed(adapter);
  renderer.SetSubtitleOverlaySource(&timed);

  // The user's style (converted SubRip): one line for the whole run.
  subtitles.LoadSubtitle(
      WriteFile(home, QStringLiteral("still.srt"),
                "1\n00:00:00,000 --> 01:00:00,000\nA line of subtitle text that stands still\n"));
  const RunFigures still = Run(renderer, planes, 1000 * k100nsPerMs, count, &adapter, &timed);
  PrintRun("still line", still, &none);

  // A ten-second fade-in from the first frame: 255 alpha steps in 10 s, so
  // nearly every 40 ms frame is a new picture.
  subtitles.LoadSubtitle(WriteFile(
      home, QStringLiteral("fade.ass"),
      "[Script Info]\nScriptType: v4.00+\nPlayResX: 384\nPlayResY: 288\n\n[Events]\n"
      "Format: Layer, Start, End, Style, Text\n"
      "Dialogue: 0,0:00:01.00,1:00:00.00,Default,{\\fad(10000,0)}A line that fades in slowly\n"));
  const RunFigures fade = Run(renderer, planes, 1000 * k100nsPerMs, count, &adapter, &timed);
  PrintRun("\\fad line", fade, &none);

  subtitles.LoadSubtitle(
      WriteFile(home, QStringLiteral("gap.srt"), "1\n00:59:00,000 --> 01:00:00,000\nLater\n"));
  const RunFigures gap = Run(renderer, planes, 1000 * k100nsPerMs, count, &adapter, &timed);
  PrintRun("gap between lines", gap, &none);

  renderer.SetSubtitleOverlaySource(nullptr);
}

// The QPainter path's share alone: the overlay blended over a painted
// 1080p frame, on an offscreen image the size of the window.
void BenchPainterBlend(const PrivateHome& home) {
  SubtitleManager subtitles;
  subtitles.Initialize(kVideoSize.width(), kVideoSize.height());
  subtitles.LoadSubtitle(WriteFile(home, QStringLiteral("blend.srt"),
                                   "1\n00:00:00,000 --> 01:00:00,000\nA line of subtitle text\n"));
  const auto picture = subtitles.GetSubPic(1000 * k100nsPerMs);
  if (!picture) return;
  VideoScene scene;
  scene.frame = FrameAt(GreyPlanes(), 0);
  scene.pictureRect = QRect(QPoint(0, 0), kVideoSize);
  scene.toRgb = MakeYuvToRgbMatrix(VideoColorMatrix::Bt709, VideoColorRange::Limited, {});
  QImage target(kVideoSize, QImage::Format_RGB32);
  VideoPainter painter;
  auto paintMs = [&](int rounds) {
    QPainter onTarget(&target);
    painter.Paint(onTarget, target.rect(), scene);  // converts once; later paints reuse it
    const double start = ClockSeconds(CLOCK_THREAD_CPUTIME_ID);
    for (int i = 0; i < rounds; ++i) painter.Paint(onTarget, target.rect(), scene);
    return (ClockSeconds(CLOCK_THREAD_CPUTIME_ID) - start) * 1e3 / rounds;
  };
  const double without = paintMs(100);
  scene.overlay = picture->Image();
  const double with = paintMs(100);
  std::printf(
      "QPainter paint of a converted 1080p frame: %6.2f ms, with the overlay %6.2f ms "
      "(blend %+6.2f ms)\n",
      without, with, with - without);
}

}  // namespace

int main(int argc, char** argv) {
  if (!DisplayAvailable(argv[0])) return 0;
  QApplication app(argc, argv);
  PrivateHome home;
  const QStringList args = app.arguments();
  int count = 250;
  QString onlyPath;
  for (qsizetype i = 1; i + 1 < args.size(); ++i) {
    if (args[i] == QLatin1String("--frames")) count = std::max(1, args[i + 1].toInt());
    if (args[i] == QLatin1String("--path")) onlyPath = args[i + 1];
  }
  if (!onlyPath.isEmpty()) {
    BenchPath(onlyPath, home, count);
  } else {
    BenchPath(QStringLiteral("painter"), home, count);
    SetPathEnvironment(QStringLiteral("opengl"));
    if (OpenGlVideoAvailable()) BenchPath(QStringLiteral("opengl"), home, count);
  }
  BenchPainterBlend(home);
  return 0;
}
