// The real window: GraphManager plays the clip at 1x into a shown
// VideoRenderer (top-level, at the given size, default 1920x1080 at 0,0),
// and the process's CPU time and the dropped frames are counted. A frame is
// dropped when it never reached the renderer (the sink's QoS skipped it) or
// was replaced in the renderer's mailbox before a paint took it.
// bench/playback_vs_peers.sh sets it beside `mpv --vo=gpu --gpu-sw` (OpenGL
// path, target 0.8x) and `ffmpeg -f null` (QPainter path, target 1.3x).
// Needs a display: bash packaging/run-headless.sh build/bin/bench_playback_window
//
// Usage: bench_playback_window [--path opengl|painter|auto] [--size 1920x1080]
//                              [--decoder-threads N] [clip.mp4]
//        bench_playback_window --which-path   (the path the renderer takes here, unforced)
// Without --path, the OpenGL path (when there is one) and then the QPainter path.

#include "bench/playback_support.h"
#include "engine/graph_events.h"
#include "engine/graph_manager.h"
#include "video/video_gl_surface.h"
#include "video/video_renderer.h"

#include <QApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QWindow>

#include <cmath>
#include <cstdio>

using namespace zelvaro;
using namespace zelvaro::bench;

namespace {

const char* PathName(VideoRenderer::Path path) {
  return path == VideoRenderer::Path::OpenGl ? "opengl" : "painter";
}

void SetPathEnvironment(const QString& path) {
  qunsetenv("ZELVARO_NO_OPENGL");
  qunsetenv("ZELVARO_OPENGL");
  if (path == QLatin1String("painter")) qputenv("ZELVARO_NO_OPENGL", "1");
  if (path == QLatin1String("opengl")) qputenv("ZELVARO_OPENGL", "force");
}

void PlayOnce(const QString& clip, const QString& path, const QSize& windowSize) {
  SetPathEnvironment(path);
  VideoRenderer renderer;
  renderer.setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
  renderer.setGeometry(QRect(QPoint(0, 0), windowSize));
  renderer.show();
  if (!RunUntil([&] { return renderer.windowHandle() && renderer.windowHandle()->isExposed(); },
                5000)) {
    std::printf("skipped: the window was never exposed\n");
    return;
  }
  CountingVideoOutput counting(&renderer);
  GraphManager graph(&counting);
  bool ended = false;
  graph.SetGraphEventSink([&](long eventCode) { ended = ended || eventCode == kEcComplete; });

  const double openCpu = ProcessCpuSeconds();
  if (!graph.OpenFile(clip)) {
    std::printf("skipped: the engine could not open %s\n", qPrintable(clip));
    return;
  }
  // The first picture is on screen before the clock starts, as after a
  // user's open.
  RunUntil([&] { return renderer.Counters().painted > 0; }, 5000);
  const double playCpu = ProcessCpuSeconds();
  const double playWall = MonotonicSeconds();
  graph.Play();
  const double durationS = graph.GetDuration();
  const int expectedFrames = int(std::lround(durationS * graph.FrameRate()));
  const bool finished = RunUntil([&] { return ended; }, int(durationS * 1000) + 20'000);
  // The last frame may still wait for its paint.
  RunUntil([&] { return renderer.Counters().lastPaintedTime100ns == counting.LastTime100ns(); },
           2000);
  const double wallS = MonotonicSeconds() - playWall;
  const double cpuS = ProcessCpuSeconds() - playCpu;
  const double openCpuS = playCpu - openCpu;
  graph.Close();
  graph.SetVideoOutput(nullptr);

  const VideoRenderer::FrameCounters counters = renderer.Counters();
  const auto delivered = int64_t(counting.DistinctFrames());
  const int64_t neverDelivered = std::max<int64_t>(0, expectedFrames - delivered);
  std::printf("window %dx%d, %s path (asked: %s), %s\n", windowSize.width(), windowSize.height(),
              PathName(renderer.CurrentPath()), qPrintable(path), qPrintable(clip));
  if (!finished) std::printf("warning: no end of stream within the time-out\n");
  PrintFigure("frames_expected", expectedFrames);
  PrintFigure("frames_delivered", double(delivered));
  PrintFigure("frames_presented", double(counters.presented));
  PrintFigure("frames_painted", double(counters.painted));
  PrintFigure("frames_replaced_before_paint", double(counters.replacedBeforePaint));
  PrintFigure("frames_dropped", double(neverDelivered + int64_t(counters.replacedBeforePaint)));
  PrintFigure("wall_s", wallS, "s");
  PrintFigure("cpu_open_s", openCpuS, "s");
  PrintFigure("cpu_play_s", cpuS, "s");
}

// What an unforced renderer chooses on this display, and why.
void PrintPathChoice() {
  SetPathEnvironment(QStringLiteral("auto"));
  QString glRenderer = QStringLiteral("none");
  QOpenGLContext context;
  QOffscreenSurface surface;
  surface.create();
  if (context.create() && context.makeCurrent(&surface)) {
    glRenderer = QString::fromLatin1(
        reinterpret_cast<const char*>(context.functions()->glGetString(GL_RENDERER)));
    context.doneCurrent();
  }
  VideoRenderer renderer;
  std::printf("gl_renderer=%s\nauto_path=%s\n", qPrintable(glRenderer),
              PathName(renderer.CurrentPath()));
}

}  // namespace

int main(int argc, char** argv) {
  if (!DisplayAvailable(argv[0])) return 0;
  QApplication app(argc, argv);
  const QStringList args = app.arguments();
  if (args.contains(QStringLiteral("--which-path"))) {
    PrintPathChoice();
    return 0;
  }
  const QStringList valued = {QStringLiteral("--path"), QStringLiteral("--size"),
                              QStringLiteral("--decoder-threads")};
  const QString clip = ClipPath(FirstPositional(args, valued));
  if (clip.isEmpty()) return 0;
  PrivateHome home;
  ApplyDecoderThreads(args);

  QSize windowSize(1920, 1080);
  if (const auto size = OptionValue(args, QStringLiteral("--size"))) {
    const QStringList parts = size->split(QLatin1Char('x'));
    if (parts.size() == 2) windowSize = QSize(parts[0].toInt(), parts[1].toInt());
  }
  if (const auto path = OptionValue(args, QStringLiteral("--path"))) {
    PlayOnce(clip, *path, windowSize);
  } else {
    SetPathEnvironment(QStringLiteral("opengl"));
    if (OpenGlVideoAvailable()) PlayOnce(clip, QStringLiteral("opengl"), windowSize);
    PlayOnce(clip, QStringLiteral("painter"), windowSize);
  }
  PrintFigure("cpu_process_s", ProcessCpuSeconds(), "s");
  return 0;
}
