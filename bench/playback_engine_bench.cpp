// The engine alone: GraphManager plays the clip at 1x into a VideoOutput
// that only counts frames, and the process's CPU time is set against the
// clip's length. Set beside `ffmpeg -i clip -f null -` (bare decode) by
// bench/playback_vs_peers.sh; target 1.15x of it. No display needed.
//
// Usage: bench_playback_engine [--decoder-threads N] [clip.mp4]   (default: the generated clip)

#include "bench/playback_support.h"
#include "engine/graph_events.h"
#include "engine/graph_manager.h"

#include <QCoreApplication>

#include <cmath>
#include <cstdio>

using namespace zelvaro;
using namespace zelvaro::bench;

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  const QStringList args = app.arguments();
  const QString clip = ClipPath(FirstPositional(args, {QStringLiteral("--decoder-threads")}));
  if (clip.isEmpty()) return 0;
  PrivateHome home;
  const int decoderThreads = ApplyDecoderThreads(args);

  CountingVideoOutput output;
  GraphManager graph(&output);
  bool ended = false;
  graph.SetGraphEventSink([&](long eventCode) { ended = ended || eventCode == kEcComplete; });

  const double openCpu = ProcessCpuSeconds();
  const double openWall = MonotonicSeconds();
  if (!graph.OpenFile(clip) || !graph.Play()) {
    std::printf("skipped: the engine could not play %s\n", qPrintable(clip));
    return 0;
  }
  const double durationS = graph.GetDuration();
  const int expectedFrames = int(std::lround(durationS * graph.FrameRate()));
  const bool finished = RunUntil([&] { return ended; }, int(durationS * 1000) + 20'000);
  const double wallS = MonotonicSeconds() - openWall;
  const double playCpu = ProcessCpuSeconds() - openCpu;
  graph.Close();

  std::printf("engine alone, frames to a null consumer, decoder threads %s, %s\n",
              decoderThreads < 0 ? "as set" : qPrintable(QString::number(decoderThreads)),
              qPrintable(clip));
  if (!finished) std::printf("warning: no end of stream within the time-out\n");
  PrintFigure("clip_s", durationS, "s");
  PrintFigure("frames_expected", expectedFrames);
  PrintFigure("frames_delivered", double(output.DistinctFrames()));
  PrintFigure("wall_s", wallS, "s");
  PrintFigure("cpu_play_s", playCpu, "s");
  PrintFigure("cpu_process_s", ProcessCpuSeconds(), "s");
  return 0;
}
