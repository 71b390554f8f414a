// Launch to first frame shown: the real `zelvaro` executable started with the
// clip, timed from just before the spawn until its renderer reports the first
// painted frame (ZELVARO_BENCH_FIRST_FRAME=1 makes it print the
// CLOCK_MONOTONIC time of that paint, once it reached the window system, and
// quit). With --mpv, `mpv --frames=1 --vo=gpu --gpu-sw` is timed the same
// way, up to the moment its "first video frame after restart shown" line
// arrives (mpv flushes each log line). Runs alternate, after one unmeasured
// warm-up of each; medians are printed. Target: Zelvaro no slower than mpv.
// Needs a display: bash packaging/run-headless.sh build/bin/bench_playback_launch
//
// Usage: bench_playback_launch [--runs 5] [--mpv] [--path opengl|painter|auto] [clip.mp4]

#include "bench/playback_support.h"

#include <QCoreApplication>
#include <QFile>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

extern char** environ;

using namespace zelvaro;
using namespace zelvaro::bench;

namespace {

constexpr double kRunTimeoutS = 30.0;

struct LaunchTiming {
  double markerS = -1;  // from the spawn to the marker line (its own stamp when it has one)
  double exitS = -1;    // from the spawn to the process's end
};

// Starts `argv`, reads its standard output and error until the line that
// contains `marker` and until it exits. `stampOf` may read a CLOCK_MONOTONIC
// time in seconds out of the marker line; otherwise the line's arrival counts.
LaunchTiming TimeLaunch(const std::vector<std::string>& argv, const std::string& marker,
                        double (*stampOf)(const std::string& line)) {
  LaunchTiming timing;
  int pipeEnds[2];
  if (pipe2(pipeEnds, O_CLOEXEC) != 0) return timing;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDERR_FILENO);
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);

  pid_t child = -1;
  const double started = MonotonicSeconds();
  const int spawned = posix_spawnp(&child, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(pipeEnds[1]);
  if (spawned != 0) {
    close(pipeEnds[0]);
    return timing;
  }
  std::string pending;
  char buffer[4096];
  bool open = true;
  while (open && MonotonicSeconds() - started < kRunTimeoutS) {
    pollfd waitFor{pipeEnds[0], POLLIN, 0};
    if (poll(&waitFor, 1, 100) <= 0) continue;
    const ssize_t got = read(pipeEnds[0], buffer, sizeof buffer);
    const double arrived = MonotonicSeconds();
    if (got <= 0) {
      open = false;
      break;
    }
    pending.append(buffer, size_t(got));
    for (size_t end; (end = pending.find('\n')) != std::string::npos; pending.erase(0, end + 1)) {
      const std::string line = pending.substr(0, end);
      if (timing.markerS < 0 && line.find(marker) != std::string::npos) {
        const double stamp = stampOf ? stampOf(line) : -1;
        timing.markerS = (stamp > 0 ? stamp : arrived) - started;
      }
    }
  }
  close(pipeEnds[0]);
  if (open) kill(child, SIGKILL);  // only the child this call started
  int status = 0;
  waitpid(child, &status, 0);
  timing.exitS = MonotonicSeconds() - started;
  return timing;
}

double ZelvaroStamp(const std::string& line) {
  const size_t at = line.find("monotonic_ns=");
  return at == std::string::npos ? -1 : std::stoll(line.substr(at + 13)) / 1e9;
}

double Median(std::vector<double> values) {
  std::erase_if(values, [](double value) { return value < 0; });
  if (values.empty()) return -1;
  std::sort(values.begin(), values.end());
  const size_t middle = values.size() / 2;
  return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (!DisplayAvailable(argv[0])) return 0;
  QCoreApplication app(argc, argv);
  const QStringList args = app.arguments();
  const QString clip =
      ClipPath(FirstPositional(args, {QStringLiteral("--runs"), QStringLiteral("--path")}));
  if (clip.isEmpty()) return 0;
  const int runs = std::max(1, OptionValue(args, QStringLiteral("--runs")).value_or("5").toInt());
  const bool withMpv = args.contains(QStringLiteral("--mpv"));
  const QString path = OptionValue(args, QStringLiteral("--path")).value_or(QStringLiteral("auto"));
  const std::string zelvaro = (QCoreApplication::applicationDirPath() + "/zelvaro").toStdString();
  if (!QFile::exists(QString::fromStdString(zelvaro))) {
    std::printf("skipped: %s is not built\n", zelvaro.c_str());
    return 0;
  }
  // The children inherit the private home and the renderer's switches.
  PrivateHome home;
  qputenv("ZELVARO_BENCH_FIRST_FRAME", "1");
  if (path == QLatin1String("painter")) qputenv("ZELVARO_NO_OPENGL", "1");
  if (path == QLatin1String("opengl")) qputenv("ZELVARO_OPENGL", "force");

  const std::string file = QFile::encodeName(clip).toStdString();
  const std::vector<std::string> zelvaroArgs = {zelvaro, file};
  const std::vector<std::string> mpvArgs = {"mpv",        "--no-config", "-v",
                                            "--msg-time", "--frames=1",  "--vo=gpu",
                                            "--gpu-sw",   "--ao=null",   file};
  std::vector<double> zelvaroFirst, zelvaroExit, mpvFirst, mpvExit;
  for (int run = 0; run <= runs; ++run) {
    const LaunchTiming ours = TimeLaunch(zelvaroArgs, "zelvaro-first-frame-shown", &ZelvaroStamp);
    LaunchTiming theirs;
    if (withMpv) theirs = TimeLaunch(mpvArgs, "first video frame after restart shown", nullptr);
    if (run == 0) continue;  // warm-up: page cache, font cache, shader cache
    zelvaroFirst.push_back(ours.markerS);
    zelvaroExit.push_back(ours.exitS);
    if (withMpv) {
      mpvFirst.push_back(theirs.markerS);
      mpvExit.push_back(theirs.exitS);
    }
  }
  std::printf("launch to first frame shown, median of %d runs, renderer path %s, %s\n", runs,
              qPrintable(path), qPrintable(clip));
  PrintFigure("zelvaro_first_frame_s", Median(zelvaroFirst), "s");
  PrintFigure("zelvaro_whole_run_s", Median(zelvaroExit), "s");
  if (withMpv) {
    PrintFigure("mpv_first_frame_s", Median(mpvFirst), "s");
    PrintFigure("mpv_whole_run_s", Median(mpvExit), "s");
  }
  return 0;
}
