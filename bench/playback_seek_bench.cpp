// Seek latency to the next shown frame: GraphManager::Seek on the paused
// clip in a shown VideoRenderer, timed from the call until a paint has put
// the frame of the target on screen. Keyframe seeks snap to the nearest
// keyframe of the table (target: 30 ms median); exact seeks show the frame
// that covers the target (target: no slower than mpv --hr-seek=yes, measured
// by bench/playback_vs_peers.sh over the same targets).
// Needs a display: bash packaging/run-headless.sh build/bin/bench_playback_seek
//
// Usage: bench_playback_seek [--path opengl|painter|auto] [--targets 1.5,7.2,...]
//                            [--decoder-threads N] [clip.mp4]
//        bench_playback_seek --list-targets   (the default targets, comma-separated)

#include "bench/playback_support.h"
#include "engine/graph_manager.h"
#include "engine/keyframe_table.h"
#include "video/video_renderer.h"

#include <QApplication>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

using namespace zelvaro;
using namespace zelvaro::bench;

namespace {

// Spread over the clip, forwards and backwards, none on a 2 s keyframe.
constexpr double kDefaultTargetsS[] = {7.37,  2.81, 13.15, 5.62, 17.43, 9.96, 1.29,  15.71,
                                       11.08, 3.53, 18.24, 6.67, 12.42, 0.73, 16.58, 8.14};
constexpr int64_t kFrame100ns = 333'333;  // one frame at 30 fps
constexpr int kSeekTimeoutMs = 5000;

double Median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  const size_t middle = values.size() / 2;
  return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

void PrintSeries(const char* name, const std::vector<double>& ms) {
  if (ms.empty()) return;
  const std::string key = name;
  PrintFigure((key + "_median_ms").c_str(), Median(ms), "ms");
  PrintFigure((key + "_max_ms").c_str(), *std::max_element(ms.begin(), ms.end()), "ms");
  PrintFigure((key + "_count").c_str(), double(ms.size()));
}

// Milliseconds from the call to the shown frame whose time `shows` accepts;
// negative on a time-out.
double TimeSeek(VideoRenderer& renderer, const std::function<void()>& seek,
                const std::function<bool(int64_t)>& shows) {
  const uint64_t paintedBefore = renderer.Counters().painted;
  const double started = MonotonicSeconds();
  seek();
  const bool shown = RunUntil(
      [&] {
        const VideoRenderer::FrameCounters counters = renderer.Counters();
        return counters.painted > paintedBefore && shows(counters.lastPaintedTime100ns);
      },
      kSeekTimeoutMs);
  return shown ? (MonotonicSeconds() - started) * 1000.0 : -1.0;
}

// Lets the previous seek's tail (the paint, the pipeline settling) pass.
void Settle() {
  RunUntil([] { return false; }, 100);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<double> targetsS(std::begin(kDefaultTargetsS), std::end(kDefaultTargetsS));
  for (int i = 1; i < argc; ++i) {
    if (std::string_view(argv[i]) == "--list-targets") {
      for (size_t t = 0; t < targetsS.size(); ++t) std::printf("%s%.2f", t ? "," : "", targetsS[t]);
      std::printf("\n");
      return 0;
    }
  }
  if (!DisplayAvailable(argv[0])) return 0;
  QApplication app(argc, argv);
  const QStringList args = app.arguments();
  const QString clip =
      ClipPath(FirstPositional(args, {QStringLiteral("--path"), QStringLiteral("--targets"),
                                      QStringLiteral("--decoder-threads")}));
  if (clip.isEmpty()) return 0;
  PrivateHome home;
  ApplyDecoderThreads(args);
  if (const auto list = OptionValue(args, QStringLiteral("--targets"))) {
    targetsS.clear();
    for (const QString& item : list->split(QLatin1Char(','), Qt::SkipEmptyParts))
      targetsS.push_back(item.toDouble());
  }
  const QString path = OptionValue(args, QStringLiteral("--path")).value_or(QStringLiteral("auto"));
  if (path == QLatin1String("painter")) qputenv("ZELVARO_NO_OPENGL", "1");
  if (path == QLatin1String("opengl")) qputenv("ZELVARO_OPENGL", "force");

  VideoRenderer renderer;
  renderer.setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
  renderer.setGeometry(0, 0, 1920, 1080);
  renderer.show();
  RunUntil([&] { return renderer.windowHandle() && renderer.windowHandle()->isExposed(); }, 5000);
  GraphManager graph(&renderer);
  if (!graph.OpenFile(clip) ||
      !RunUntil([&] { return renderer.Counters().painted > 0; }, kSeekTimeoutMs)) {
    std::printf("skipped: the engine could not open %s\n", qPrintable(clip));
    return 0;
  }
  const std::vector<int64_t>& keyframes = graph.Keyframes();
  std::printf("seek to the next shown frame, paused, %s path, %zu keyframes, %s\n",
              renderer.CurrentPath() == VideoRenderer::Path::OpenGl ? "opengl" : "painter",
              keyframes.size(), qPrintable(clip));

  std::vector<double> keyframeMs, exactMs;
  int failures = 0;
  for (double targetS : targetsS) {
    Settle();
    const int64_t target100ns = int64_t(targetS * 1e7);
    const int64_t landing = SnapToKeyframe(keyframes, target100ns, 0);
    const double ms = TimeSeek(
        renderer, [&] { graph.Seek(targetS, true, 0); },
        [&](int64_t shown) { return std::abs(shown - landing) < kFrame100ns / 2; });
    ms >= 0 ? keyframeMs.push_back(ms) : void(++failures);
  }
  for (double targetS : targetsS) {
    Settle();
    const int64_t target100ns = int64_t(targetS * 1e7);
    // The frame that covers the target: at or before it, within one frame.
    const double ms = TimeSeek(
        renderer, [&] { graph.Seek(targetS, false, 0); },
        [&](int64_t shown) {
          return shown <= target100ns + 1 && target100ns - shown < kFrame100ns;
        });
    ms >= 0 ? exactMs.push_back(ms) : void(++failures);
  }
  graph.Close();
  graph.SetVideoOutput(nullptr);

  PrintSeries("keyframe_seek", keyframeMs);
  PrintSeries("exact_seek", exactMs);
  PrintFigure("seek_failures", failures);
  return 0;
}
