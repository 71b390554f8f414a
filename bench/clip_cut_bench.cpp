// Clip cutting, 60 s out of 10 minutes of 1080p H.264 (the thumbnail
// benchmark's MPEG-TS, made once):
//  1. wall time of the player's cut (ExternalToolTask with progress, started
//     and finished on the event loop) beside `ffmpeg -ss … -t … -c copy` run
//     alone with the same arguments, alternating, median of 5 each;
//  2. the longest gap between two ticks of a 1 ms timer on the thread that
//     started the cut, while it runs: how long the interface would freeze.
// Figures for the record; it never fails.

#include "bench/playback_support.h"
#include "engine/clip_cut.h"
#include "engine/external_tool.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

using namespace zelvaro;

constexpr double kStartSeconds = 120.0;
constexpr double kEndSeconds = 180.0;
constexpr int kRounds = 5;

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// ffmpeg alone, as a user would type it.
double RunAlone(const ExternalToolJob& job) {
  QFile::remove(job.outputPath);
  QElapsedTimer clock;
  clock.start();
  QProcess ffmpeg;
  ffmpeg.start(FindExternalTool(), QStringList{"-nostdin", "-loglevel", "error"} + job.arguments);
  ffmpeg.waitForFinished(-1);
  return clock.nsecsElapsed() / 1e6;
}

struct PlayerRun {
  double wallMs = 0;
  double longestStallMs = 0;
  bool succeeded = false;
};

PlayerRun RunInPlayer(const ExternalToolJob& job) {
  QFile::remove(job.outputPath);
  PlayerRun run;
  ExternalToolTask task(job);
  QEventLoop loop;
  QElapsedTimer clock;
  QElapsedTimer sinceTick;
  QTimer ticker;
  ticker.setInterval(1);
  QObject::connect(&ticker, &QTimer::timeout, [&] {
    run.longestStallMs = std::max(run.longestStallMs, sinceTick.nsecsElapsed() / 1e6);
    sinceTick.restart();
  });
  QObject::connect(&task, &ExternalToolTask::Finished, [&](const ExternalToolResult& result) {
    run.wallMs = clock.nsecsElapsed() / 1e6;
    run.succeeded = result.Succeeded();
    loop.quit();
  });
  clock.start();
  sinceTick.start();
  ticker.start();
  task.Start();
  loop.exec();
  return run;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  if (FindExternalTool().isEmpty()) {
    std::printf("skipped: no ffmpeg\n");
    return 0;
  }
  const QString clip = bench::TenMinuteTsPath();
  if (clip.isEmpty()) {
    std::printf("skipped: the input could not be made\n");
    return 0;
  }
  QTemporaryDir dir;
  const ExternalToolJob job =
      MakeCutJob(clip, kStartSeconds, kEndSeconds, dir.filePath(QStringLiteral("cut.ts")));

  RunAlone(job);  // the file in the page cache for both
  std::vector<double> alone;
  std::vector<double> player;
  double longestStallMs = 0;
  bool allSucceeded = true;
  for (int i = 0; i < kRounds; ++i) {
    alone.push_back(RunAlone(job));
    const PlayerRun run = RunInPlayer(job);
    player.push_back(run.wallMs);
    longestStallMs = std::max(longestStallMs, run.longestStallMs);
    allSucceeded = allSucceeded && run.succeeded;
  }
  const double ratio = Median(player) / Median(alone);
  std::printf("clip cut, 60 s of 10 min 1080p MPEG-TS, median of %d:\n", kRounds);
  std::printf("  ffmpeg alone                  %8.1f ms\n", Median(alone));
  std::printf("  the player's cut              %8.1f ms  (%s)\n", Median(player),
              allSucceeded ? "all succeeded" : "SOME FAILED");
  std::printf("  ratio                         %8.3f     target <= 1.05   %s\n", ratio,
              ratio <= 1.05 ? "met" : "NOT MET");
  std::printf("  longest event-loop stall      %8.1f ms  target <= 16     %s\n", longestStallMs,
              longestStallMs <= 16 ? "met" : "NOT MET");
  return 0;
}
