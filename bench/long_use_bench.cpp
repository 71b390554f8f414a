// Long use of one player process, in the real main window:
//  - 500 open/close cycles over a video file, an audio file and an address
//    on a loopback server in turn: resident memory after cycle 50 and at the
//    end (target: under 20 MB of growth), descriptors and threads at the
//    start and at the end (target: back to the start).
//  - a playlist of 200 one-second clips left to advance by itself: how many
//    entries played and whether it reached the end (target: all 200).
// Needs a display: bash packaging/run-headless.sh build/bin/bench_long_use
//
// Usage: bench_long_use [--cycles 500] [--clips 200]

#include "app/application.h"
#include "app/main_window.h"
#include "bench/playback_support.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/playlist_model.h"
#include "tests/robustness/long_use_support.h"
#include "tests/support/test_paths.h"

#include <QApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

using namespace zelvaro;
using namespace zelvaro::bench;

namespace {

void RunCycles(MainWindow* window, int cycles) {
  test::HttpTestServer server;
  const QStringList inputs = {
      test::FixturePath(QStringLiteral("pattern_h264_aac.mp4")),
      test::FixturePath(QStringLiteral("cover_silence.mp3")),
      test::ServeClip(server, test::FixturePath(QStringLiteral("pattern_h264_aac.mp4")),
                      "video/mp4")};
  constexpr int kWarmUpCycles = 6;
  constexpr int kSettledCycle = 50;
  test::ProcessCounts start;
  test::ProcessCounts settled;
  int failed = 0;
  for (int cycle = 0; cycle < cycles; ++cycle) {
    if (cycle == kWarmUpCycles) start = test::ReadProcessCounts();
    if (cycle == kSettledCycle) settled = test::ReadProcessCounts();
    if (!test::OpenPlayClose(window, inputs[cycle % inputs.size()])) ++failed;
  }
  const test::ProcessCounts end = test::WaitForSettledCounts(start);
  const double growthMb = (end.rssKb - settled.rssKb) / 1024.0;
  std::printf("open/close cycles: %d (%d did not play)\n", cycles, failed);
  std::printf(
      "  RSS after cycle %d: %.1f MB, at the end: %.1f MB, growth %.1f MB (target < 20 MB) %s\n",
      kSettledCycle, settled.rssKb / 1024.0, end.rssKb / 1024.0, growthMb,
      growthMb < 20 ? "pass" : "FAIL");
  std::printf("  descriptors: %d at cycle %d, %d at the end (target: back to the start) %s\n",
              start.fds, kWarmUpCycles, end.fds, end.fds <= start.fds ? "pass" : "FAIL");
  std::printf("  threads: %d at cycle %d, %d at the end (target: back to the start) %s\n",
              start.threads, kWarmUpCycles, end.threads,
              end.threads <= start.threads ? "pass" : "FAIL");
}

void RunPlaylist(MainWindow* window, int clips) {
  QTemporaryDir dir;
  const QString first = dir.filePath(QStringLiteral("clip 0001.mp4"));
  const int made = QProcess::execute(
      QStringLiteral("ffmpeg"),
      {QStringLiteral("-nostdin"), QStringLiteral("-v"), QStringLiteral("error"),
       QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
       QStringLiteral("testsrc2=size=160x120:rate=10:duration=1"), QStringLiteral("-f"),
       QStringLiteral("lavfi"), QStringLiteral("-i"), QStringLiteral("sine=duration=1"),
       QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-preset"),
       QStringLiteral("ultrafast"), QStringLiteral("-c:a"), QStringLiteral("aac"), first});
  if (made != 0) {
    std::printf("playlist: ffmpeg could not make the clip\n");
    return;
  }
  PlaylistModel* playlist = window->playlist();
  playlist->Clear();
  playlist->AddFile(first);
  for (int i = 2; i <= clips; ++i) {
    const QString path =
        dir.filePath(QStringLiteral("clip %1.mp4").arg(i, 4, 10, QLatin1Char('0')));
    QFile::copy(first, path);
    playlist->AddFile(path);
  }
  playlist->RebuildFilter();
  window->PlayIndex(0);
  int played = 1;
  int index = 0;
  GraphManager* graph = window->graph();
  // Each clip may take its second and five more before it counts as stuck.
  while (QTest::qWaitFor([&] { return playlist->CurrentIndex() != index || graph->State() == 0; },
                         6000)) {
    if (playlist->CurrentIndex() == index) break;
    index = playlist->CurrentIndex();
    ++played;
  }
  const bool whole = index == clips - 1 && graph->State() == 0;
  std::printf("playlist of %d one-second clips: %d played, %s (target: all, to the end) %s\n",
              clips, played, whole ? "stopped after the last" : "stuck",
              whole && played == clips ? "pass" : "FAIL");
}

}  // namespace

int main(int argc, char** argv) {
  if (!DisplayAvailable(argv[0])) return 0;
  QApplication app(argc, argv);
  const QStringList args = app.arguments();
  PrivateHome home;
  const int cycles = OptionValue(args, QStringLiteral("--cycles")).value_or("500").toInt();
  const int clips = OptionValue(args, QStringLiteral("--clips")).value_or("200").toInt();
  // No lyrics service is asked for the audio file: the figures stay local.
  Settings::SetString(setting::kLyricsEndpoint, QString());
  if (!Application::Instance().Initialize(QString())) return 1;
  MainWindow* window = Application::Instance().mainWindow();
  if (!QTest::qWaitForWindowExposed(window)) return 1;
  RunCycles(window, cycles);
  RunPlaylist(window, clips);
  Application::Instance().Shutdown();
  return 0;
}
