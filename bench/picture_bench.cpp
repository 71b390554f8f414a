// The picture's costs while playing at 1x:
//   --mode procamp: process CPU playing the 1080p clip into a shown 1920x1080
//     renderer with the colour controls untouched and then active, each path
//     (they are folded into the one conversion matrix, so the two should match);
//   --mode audio: the real main window playing an MP3 with a cover and the
//     spectrum shown, then minimised, beside `mpv --no-video` on the same file
//     (skipped without mpv), and the resident memory while playing.
// Needs a display (run under Xvfb: packaging/run-headless.sh).
// Usage: bench_picture [--mode procamp|audio|all] [--seconds N]

#include "app/application.h"
#include "app/main_window.h"
#include "bench/playback_support.h"
#include "engine/graph_manager.h"
#include "video/video_renderer.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>

#include <sys/resource.h>

#include <cstdio>
#include <memory>

using namespace zelvaro;
using namespace zelvaro::bench;

namespace {

double PlayFor(double seconds) {
  const double cpuStart = ProcessCpuSeconds();
  const double start = MonotonicSeconds();
  RunUntil([&] { return MonotonicSeconds() - start >= seconds; }, int(seconds * 1000) + 1000);
  return ProcessCpuSeconds() - cpuStart;
}

void MeasureProcAmp(const QString& clip, double seconds) {
  std::printf("ProcAmp at 1x, 1080p30 into a 1920x1080 renderer, %.0f s each:\n", seconds);
  for (bool painter : {false, true}) {
    qputenv("ZELVARO_OPENGL", "force");
    if (painter) {
      qputenv("ZELVARO_NO_OPENGL", "1");
    } else {
      qunsetenv("ZELVARO_NO_OPENGL");
    }
    auto renderer = std::make_unique<VideoRenderer>();
    renderer->resize(1920, 1080);
    renderer->show();
    auto graph = std::make_unique<GraphManager>(renderer.get());
    if (!graph->OpenFile(clip) || !graph->Play()) {
      std::printf("  %s: the clip did not play\n", painter ? "painter" : "opengl");
      continue;
    }
    PlayFor(1.0);  // past the start-up
    const double untouched = PlayFor(seconds);
    graph->SetBrightness(30);
    graph->SetContrast(20);
    graph->SetSaturation(-25);
    graph->SetHue(40);
    const double active = PlayFor(seconds);
    std::printf("  %-7s untouched %.2f CPU s, active %.2f CPU s: %+.1f %% (target within %d %%)\n",
                painter ? "painter" : "opengl", untouched, active,
                100.0 * (active - untouched) / untouched, painter ? 15 : 5);
    graph->SetVideoOutput(nullptr);
    graph.reset();
  }
  qunsetenv("ZELVARO_NO_OPENGL");
  qunsetenv("ZELVARO_OPENGL");
}

QString AudioClip() {
  const QString dir = QStringLiteral(ZELVARO_BENCH_MEDIA_DIR);
  const QString path = dir + QStringLiteral("/audio-cover-60s.mp3");
  if (QFile::exists(path)) return path;
  QDir().mkpath(dir);
  const QString cover = dir + QStringLiteral("/audio-cover.png");
  QProcess::execute(QStringLiteral("ffmpeg"),
                    {"-nostdin", "-loglevel", "error", "-y", "-f", "lavfi", "-i",
                     "testsrc2=s=600x600", "-frames:v", "1", cover});
  QProcess::execute(QStringLiteral("ffmpeg"),
                    {"-nostdin",
                     "-loglevel",
                     "error",
                     "-y",
                     "-f",
                     "lavfi",
                     "-i",
                     "anoisesrc=color=pink:amplitude=0.4:sample_rate=44100:duration=60",
                     "-f",
                     "lavfi",
                     "-i",
                     "sine=frequency=330:sample_rate=44100:duration=60",
                     "-i",
                     cover,
                     "-filter_complex",
                     "[0:a][1:a]amix=inputs=2[a]",
                     "-map",
                     "[a]",
                     "-map",
                     "2:v",
                     "-c:a",
                     "libmp3lame",
                     "-b:a",
                     "192k",
                     "-ac",
                     "2",
                     "-c:v",
                     "png",
                     "-disposition:v",
                     "attached_pic",
                     path});
  return QFile::exists(path) ? path : QString();
}

long ResidentKb() {
  QFile status(QStringLiteral("/proc/self/status"));
  if (!status.open(QIODevice::ReadOnly)) return -1;
  for (const QByteArray& line : status.readAll().split('\n'))
    if (line.startsWith("VmRSS:")) return line.mid(6).trimmed().split(' ').first().toLong();
  return -1;
}

double ChildCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
         (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void MeasureAudio(double seconds) {
  const QString clip = AudioClip();
  if (clip.isEmpty()) {
    std::printf("audio: could not make the clip with ffmpeg\n");
    return;
  }
  std::printf("Audio with cover and spectrum at 1x (%s), %.0f s each:\n", qPrintable(clip),
              seconds);
  if (!Application::Instance().Initialize(QString())) return;
  MainWindow* window = Application::Instance().mainWindow();
  window->resize(1280, 720);
  RunUntil([] { return false; }, 500);
  const long idleKb = ResidentKb();
  if (!window->OpenFile(clip)) {
    std::printf("  the clip did not play\n");
    Application::Instance().Shutdown();
    return;
  }
  PlayFor(1.5);
  const double shown = PlayFor(seconds);
  const long rssKb = ResidentKb();
  window->showMinimized();
  PlayFor(0.5);
  const double minimised = PlayFor(seconds);
  Application::Instance().Shutdown();

  std::printf("  shown:     %.1f %% of one core (target at most 10 %%)\n", 100 * shown / seconds);
  std::printf("  minimised: %.1f %% of one core\n", 100 * minimised / seconds);
  std::printf(
      "  RSS while playing: %.1f MB (target at most 80 MB); the idle player before: %.1f MB\n",
      rssKb / 1024.0, idleKb / 1024.0);

  const QString mpv = QStandardPaths::findExecutable(QStringLiteral("mpv"));
  if (mpv.isEmpty()) {
    std::printf("  mpv: not installed, comparison skipped\n");
    return;
  }
  const double before = ChildCpuSeconds();
  QProcess::execute(mpv, {"--no-config", "--no-video", "--ao=null", "--really-quiet",
                          QStringLiteral("--length=%1").arg(seconds), clip});
  const double mpvCpu = ChildCpuSeconds() - before;
  std::printf(
      "  mpv --no-video: %.1f %% of one core; minimised / mpv = %.2f (target at most 1.5)\n",
      100 * mpvCpu / seconds, minimised / std::max(mpvCpu, 1e-3));
}

}  // namespace

int main(int argc, char** argv) {
  if (!DisplayAvailable(argv[0])) return 0;
  QApplication app(argc, argv);
  const QStringList args = app.arguments();
  PrivateHome home;
  const QString mode = OptionValue(args, QStringLiteral("--mode")).value_or(QStringLiteral("all"));
  const double seconds = OptionValue(args, QStringLiteral("--seconds")).value_or("10").toDouble();
  if (mode == QLatin1String("procamp") || mode == QLatin1String("all")) {
    const QString clip = ClipPath(QString());
    if (!clip.isEmpty()) MeasureProcAmp(clip, seconds);
  }
  if (mode == QLatin1String("audio") || mode == QLatin1String("all")) MeasureAudio(seconds);
  return 0;
}
