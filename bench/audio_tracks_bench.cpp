// CPU cost of playing at 1x, in real time, a generated Matroska file with one
// video track (640×360 H.264) and four audio tracks (5.1 AAC, 384 kb/s),
// through GraphManager on the real pipeline with frames and sound discarded
// at clock-synchronised sinks. What the audio tracks that do not play cost
// shows as the difference between builds.
//
//   bench_audio_tracks [file]   a file of your own instead of the generated one

#include "engine/graph_manager.h"
#include "engine/gst_ref.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

using namespace zelvaro;

namespace {

constexpr int kSeconds = 12;
constexpr int kRuns = 2;

double SelfCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

QString MakeClip(const QString& directory) {
  QString path = directory + "/four_audio_tracks.mkv";
  QString seconds = QString::number(kSeconds);
  QStringList arguments = {
      "-nostdin", "-loglevel", "error", "-y",
      "-f",       "lavfi",     "-i",    "testsrc2=s=640x360:r=25:d=" + seconds};
  for (int hz : {440, 550, 660, 880}) {
    arguments +=
        {"-f", "lavfi", "-i",
         QStringLiteral("sine=frequency=%1:sample_rate=48000:duration=%2").arg(hz).arg(seconds)};
  }
  arguments += {"-map", "0:v"};
  for (int i = 1; i <= 4; ++i) arguments += {"-map", QString::number(i) + ":a"};
  arguments += {"-c:v", "libx264", "-preset", "veryfast", "-g",   "50", "-c:a",
                "aac",  "-ac",     "6",       "-b:a",     "384k", path};
  return QProcess::execute("ffmpeg", arguments) == 0 ? path : QString();
}

// CPU seconds of one play to the end at 1x; −1 on failure.
double PlayOnce(const QString& path) {
  GraphManager graph;
  long event = 0;
  graph.SetGraphEventSink([&](long eventCode) { event = eventCode; });
  graph.SetAudioRendererFactory([] {
    ElementRef sink = MakeElement("fakesink", "audio_renderer");
    g_object_set(sink.get(), "sync", TRUE, nullptr);
    return sink;
  });
  double before = SelfCpuSeconds();
  if (!graph.OpenFile(path) || !graph.Play()) return -1.0;
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(kSeconds * 3);
  while (event == 0 && std::chrono::steady_clock::now() < deadline) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    QThread::msleep(5);
  }
  if (event != kEcComplete) return -1.0;
  double cpu = SelfCpuSeconds() - before;
  graph.Close();
  return cpu;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  QTemporaryDir directory;
  QString path = argc > 1 ? QString::fromLocal8Bit(argv[1]) : MakeClip(directory.path());
  if (path.isEmpty()) {
    std::printf("bench_audio_tracks: could not generate the clip (ffmpeg)\n");
    return 0;
  }
  double best = -1.0;
  for (int i = 0; i < kRuns; ++i) {
    double cpu = PlayOnce(path);
    if (cpu >= 0 && (best < 0 || cpu < best)) best = cpu;
  }
  if (best < 0) {
    std::printf("bench_audio_tracks: playback failed\n");
    return 0;
  }
  std::printf("1 video + 4 audio tracks (5.1 AAC), %d s at 1x: CPU %.2f s (%.1f%% of one core)\n",
              kSeconds, best, 100.0 * best / kSeconds);
  return 0;
}
