// CPU cost of Zelvaro's audio chain on a 4-minute MP3, beside mpv playing the
// same file. Both run untimed (as fast as they can, output discarded), so the
// figure is CPU seconds for the whole file, not a share of real time:
//   Zelvaro: GraphManager on the real pipeline (parse, decode, DRC stage,
//            time-stretch, AudioSwitcher, volume, convert, resample) into a
//            fakesink without clock sync;
//   mpv:     --ao=null --ao-null-untimed --no-video, its own pitch-kept speed.
// Target: Zelvaro within 1.5× of mpv's CPU time at 1x and at 2x.
// Without mpv on the PATH the comparison is skipped with a line saying so.
//
//   bench_audio [file]   a file of your own instead of the generated one

#include "engine/graph_manager.h"
#include "engine/gst_ref.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"

#include <QCoreApplication>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace zelvaro;

namespace {

constexpr int kRuns = 3;

double CpuSeconds(const rusage& usage) {
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double SelfCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return CpuSeconds(usage);
}

struct Cost {
  double cpuSeconds = -1.0;
  double wallSeconds = 0.0;
};

Cost Median(std::vector<Cost> costs) {
  std::sort(costs.begin(), costs.end(),
            [](const Cost& a, const Cost& b) { return a.cpuSeconds < b.cpuSeconds; });
  return costs[costs.size() / 2];
}

// Runs a program to its end; its CPU time from wait4, or −1 when it could
// not run or failed.
Cost RunProgram(const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  // What is buffered would otherwise be printed again by the child.
  std::fflush(stdout);
  auto start = std::chrono::steady_clock::now();
  pid_t child = fork();
  if (child == 0) {
    int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  Cost cost;
  if (child < 0) return cost;
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    return cost;
  }
  cost.cpuSeconds = CpuSeconds(usage);
  cost.wallSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return cost;
}

// One play of the whole file through GraphManager, untimed.
Cost PlayThroughZelvaro(const QString& path, double speed) {
  GraphManager graph;
  long event = 0;
  graph.SetGraphEventSink([&](long eventCode) { event = eventCode; });
  graph.SetAudioRendererFactory([] {
    ElementRef sink = MakeElement("fakesink", "audio_renderer");
    g_object_set(sink.get(), "sync", FALSE, nullptr);
    return sink;
  });
  auto start = std::chrono::steady_clock::now();
  double cpuBefore = SelfCpuSeconds();
  Cost cost;
  if (!graph.OpenFile(path)) return cost;
  if (speed != 1.0 && !graph.SetSpeed(speed)) return cost;
  if (!graph.Play()) return cost;
  // Untimed, four minutes take seconds; a graph that never ends is a failure.
  auto deadline = start + std::chrono::minutes(2);
  while (event == 0 && std::chrono::steady_clock::now() < deadline) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    QThread::msleep(2);
  }
  if (event != kEcComplete) return cost;
  cost.cpuSeconds = SelfCpuSeconds() - cpuBefore;
  cost.wallSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  graph.Close();
  return cost;
}

Cost MeasureZelvaro(const QString& path, double speed) {
  std::vector<Cost> costs;
  for (int i = 0; i < kRuns; ++i) costs.push_back(PlayThroughZelvaro(path, speed));
  return Median(costs);
}

Cost MeasureMpv(const std::string& mpv, const QString& path, double speed) {
  std::vector<Cost> costs;
  for (int i = 0; i < kRuns; ++i) {
    costs.push_back(
        RunProgram({mpv, "--no-config", "--really-quiet", "--no-video", "--vo=null", "--ao=null",
                    "--ao-null-untimed", "--speed=" + std::to_string(speed),
                    QFile::encodeName(path).toStdString()}));
  }
  return Median(costs);
}

void Print(const char* what, const Cost& cost) {
  if (cost.cpuSeconds < 0) {
    std::printf("%-44s failed\n", what);
    return;
  }
  std::printf("%-44s CPU %6.2f s   wall %6.2f s\n", what, cost.cpuSeconds, cost.wallSeconds);
}

void Compare(const char* what, const Cost& ours, const Cost& peer) {
  if (ours.cpuSeconds < 0 || peer.cpuSeconds <= 0) return;
  double ratio = ours.cpuSeconds / peer.cpuSeconds;
  std::printf("%-44s %.2f× mpv's CPU time  target ≤ 1.50×  %s\n", what, ratio,
              ratio <= 1.5 ? "ok" : "OVER");
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  QTemporaryDir home;
  setenv("XDG_DATA_HOME", QFile::encodeName(home.path() + QStringLiteral("/data")).constData(), 1);
  setenv("XDG_CONFIG_HOME", QFile::encodeName(home.path() + QStringLiteral("/config")).constData(),
         1);

  QString path = argc > 1 ? QString::fromLocal8Bit(argv[1]) : home.path() + "/four_minutes.mp3";
  if (argc <= 1) {
    // Stereo, 44.1 kHz, 192 kb/s: a chord that drifts in pitch and level,
    // with a little noise, so the encoder and the stretch stage both work.
    Cost made =
        RunProgram({"ffmpeg", "-nostdin", "-y", "-f", "lavfi", "-i",
                    "aevalsrc=0.25*sin(2*PI*220*t)*(1+0.5*sin(2*PI*0.5*t))"
                    "+0.2*sin(2*PI*330*t+2*sin(2*PI*3*t))+0.05*(random(0)-0.5)"
                    "|0.25*sin(2*PI*277*t)*(1+0.5*cos(2*PI*0.4*t))"
                    "+0.2*sin(2*PI*440*t+2*sin(2*PI*2*t))+0.05*(random(1)-0.5):s=44100:d=240",
                    "-c:a", "libmp3lame", "-b:a", "192k", QFile::encodeName(path).toStdString()});
    if (made.cpuSeconds < 0) {
      std::printf("ffmpeg could not make the test file; nothing measured\n");
      return 0;
    }
  }
  std::printf("Audio chain on %s (%d runs each, median)\n", QFile::encodeName(path).constData(),
              kRuns);

  Cost ours1 = MeasureZelvaro(path, 1.0);
  Cost ours2 = MeasureZelvaro(path, 2.0);
  Print("Zelvaro 1x", ours1);
  Print("Zelvaro 2x (pitch kept)", ours2);
  // The program's own stages at work: normalisation, boost and compression.
  Settings::SetDword(setting::kAudioNormalize, 1);
  Settings::SetDword(setting::kAudioBoost, 50);
  Settings::SetDword(setting::kLavDrcEnabled, 1);
  Print("Zelvaro 1x, normalise + boost + DRC", MeasureZelvaro(path, 1.0));

  QString mpv = QStandardPaths::findExecutable(QStringLiteral("mpv"));
  if (mpv.isEmpty()) {
    std::printf("mpv not found on PATH: comparison skipped (install mpv to compare)\n");
    return 0;
  }
  std::string mpvPath = QFile::encodeName(mpv).toStdString();
  Cost peer1 = MeasureMpv(mpvPath, path, 1.0);
  Cost peer2 = MeasureMpv(mpvPath, path, 2.0);
  Print("mpv 1x (--ao=null, untimed)", peer1);
  Print("mpv 2x (--ao=null, untimed)", peer2);
  Compare("Zelvaro / mpv at 1x", ours1, peer1);
  Compare("Zelvaro / mpv at 2x", ours2, peer2);
  return 0;
}
