// The player's frame while it plays, in the real main window (1920x1080):
//  - bars: process CPU seconds of playing the clip at 1x with the title bar
//    and the toolbar shown, beside the same with both hidden (the picture's
//    area unchanged), alternating, in one run. Target: within 3 %.
//  - sweep: the pointer sweeps the seek bar at 60 moves a second for 5 s
//    with previews on (keyframe mode); the longest time the interface thread
//    spent on one event, paused (target: ≤ 8 ms), then playing with the
//    pointer resting and sweeping, where the video's own paints add theirs.
// Needs a display: bash packaging/run-headless.sh build/bin/bench_chrome_playback
//
// Usage: bench_chrome_playback [--mode bars|sweep|all] [--seconds 15] [--rounds 2] [clip.mp4]

#include "app/application.h"
#include "app/dpi.h"
#include "app/main_window.h"
#include "app/window_globals.h"
#include "bench/playback_support.h"
#include "chrome/title_bar_window.h"
#include "chrome/toolbar_geometry.h"
#include "chrome/toolbar_window.h"
#include "engine/graph_manager.h"
#include "engine/thumbnail_generator.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace zelvaro;
using namespace zelvaro::bench;

namespace {

// The longest single event delivery on the interface thread.
class StallMeter : public QApplication {
 public:
  using QApplication::QApplication;
  bool notify(QObject* receiver, QEvent* event) override {
    if (!measuring_) return QApplication::notify(receiver, event);
    const int type = event->type();
    const char* receiverClass = receiver->metaObject()->className();
    QElapsedTimer timer;
    timer.start();
    const bool result = QApplication::notify(receiver, event);
    const qint64 elapsedNs = timer.nsecsElapsed();
    if (elapsedNs > 8'000'000) ++over8ms_;
    if (elapsedNs > longestNs_) {
      longestNs_ = elapsedNs;
      longestWhat_ = QStringLiteral("event %1 to %2").arg(type).arg(QLatin1String(receiverClass));
    }
    return result;
  }
  void Start() {
    over8ms_ = 0;
    longestNs_ = 0;
    longestWhat_.clear();
    measuring_ = true;
  }
  double StopMs() {
    measuring_ = false;
    return longestNs_ / 1e6;
  }
  // What took the longest: the event's type and its receiver's class.
  const QString& LongestWhat() const { return longestWhat_; }
  int EventsOver8Ms() const { return over8ms_; }

 private:
  bool measuring_ = false;
  qint64 longestNs_ = 0;
  QString longestWhat_;
  int over8ms_ = 0;
};

MainWindow* StartWithClip(const QString& clip) {
  if (!Application::Instance().Initialize(QString())) return nullptr;
  MainWindow* window = Application::Instance().mainWindow();
  window->setGeometry(0, 0, 1920, 1080);
  if (!RunUntil([&] { return window->windowHandle() && window->windowHandle()->isExposed(); },
                5000) ||
      !window->OpenFile(clip)) {
    return nullptr;
  }
  return window;
}

double PlayCpuSeconds(MainWindow* window, bool barsShown, double seconds) {
  window->titleBar()->setVisible(barsShown);
  window->toolbar()->setVisible(barsShown);
  window->graph()->Seek(0.0, false, 0);
  window->graph()->Play();
  RunUntil([] { return false; }, 300);  // settle after the seek
  const double start = ProcessCpuSeconds();
  RunUntil([] { return false; }, static_cast<int>(seconds * 1000));
  const double cpu = ProcessCpuSeconds() - start;
  window->graph()->Pause();
  return cpu;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0.0 : values[values.size() / 2];
}

void MeasureBars(const QString& clip, double seconds, int rounds) {
  MainWindow* window = StartWithClip(clip);
  if (window == nullptr) {
    std::printf("skipped: the player could not open %s\n", qPrintable(clip));
    return;
  }
  std::vector<double> shown, hidden;
  for (int round = 0; round < rounds; ++round) {
    shown.push_back(PlayCpuSeconds(window, true, seconds));
    hidden.push_back(PlayCpuSeconds(window, false, seconds));
  }
  std::vector<double> ratios;
  for (size_t i = 0; i < shown.size(); ++i) ratios.push_back(shown[i] / std::max(hidden[i], 1e-9));
  const double ratio = Median(ratios);
  std::printf("bars: %d rounds of %.0f s at 1x, %s\n", rounds, seconds, qPrintable(clip));
  for (size_t i = 0; i < shown.size(); ++i) {
    std::printf("  round %zu: shown %.3f s, hidden %.3f s, ratio %.3f\n", i + 1, shown[i],
                hidden[i], ratios[i]);
  }
  PrintFigure("cpu_bars_shown_s", Median(shown), "s");
  PrintFigure("cpu_bars_hidden_s", Median(hidden), "s");
  std::printf("bars_cost_ratio=%.3f, median of the rounds' ratios (target <= 1.03)\n", ratio);
  Application::Instance().Shutdown();
}

// Five seconds of the pointer sweeping the seek bar at 60 moves a second
// (or resting, with `move` false); prints the longest event and how many
// took over 8 ms.
void Sweep(StallMeter& app, chrome::ToolbarWindow* toolbar, bool move, const char* label) {
  const chrome::ToolbarGeometry geometry =
      chrome::ComputeToolbarGeometry(toolbar->width(), DpiScale, toolbar->State().HasVideo);
  const int y = (geometry.SeekTop + geometry.SeekBottom) / 2;
  constexpr int kMoves = 300;
  int moves = 0;
  QTimer pointer;
  pointer.setTimerType(Qt::PreciseTimer);
  pointer.setInterval(1000 / 60);
  QObject::connect(&pointer, &QTimer::timeout, [&] {
    // Back and forth over the whole bar, 2.5 s each way.
    const double phase = (moves % 150) / 150.0;
    const double f = (moves / 150) % 2 == 0 ? phase : 1.0 - phase;
    const QPointF local(geometry.XAt(f), y);
    QMouseEvent event(QEvent::MouseMove, local, toolbar->mapToGlobal(local), Qt::NoButton,
                      Qt::NoButton, Qt::NoModifier);
    if (move) QApplication::sendEvent(toolbar, &event);
    if (++moves >= kMoves) pointer.stop();
  });
  app.Start();
  pointer.start();
  RunUntil([&] { return moves >= kMoves; }, 20000);
  const double longestMs = app.StopMs();
  std::printf("%s: longest event %.2f ms (%s), %d over 8 ms\n", label, longestMs,
              qPrintable(app.LongestWhat()), app.EventsOver8Ms());
}

void MeasureSweep(StallMeter& app, const QString& clip) {
  SeekbarThumbnailPreview = true;
  Settings::SetDword(setting::kSeekbarThumbnailPreview, 1);
  MainWindow* window = StartWithClip(clip);
  if (window == nullptr) {
    std::printf("skipped: the player could not open %s\n", qPrintable(clip));
    return;
  }
  ThumbnailGenerator* thumbnails = window->thumbnailGenerator();
  RunUntil([&] { return thumbnails && thumbnails->ready(); }, 5000);
  std::printf("sweep: 5 s at 60 pointer moves a second over the seek bar, previews in %s mode\n",
              thumbnails->keyframeMode() ? "keyframe" : "cache");
  // Paused, the interface thread does nothing but the bar and its previews:
  // that is the figure the target speaks of.
  window->graph()->Pause();
  RunUntil([] { return false; }, 500);  // the paused picture's own repaint
  Sweep(app, window->toolbar(), true, "paused, sweeping (target <= 8 ms)");
  // Playing, the video's own paints come on top; the resting pointer tells
  // them apart.
  window->graph()->Play();
  Sweep(app, window->toolbar(), false, "playing, pointer resting");
  Sweep(app, window->toolbar(), true, "playing, sweeping");
  Application::Instance().Shutdown();
}

}  // namespace

int main(int argc, char** argv) {
  if (!DisplayAvailable(argv[0])) return 0;
  StallMeter app(argc, argv);
  const QStringList args = app.arguments();
  const QStringList valued = {QStringLiteral("--mode"), QStringLiteral("--seconds"),
                              QStringLiteral("--rounds")};
  const QString clip = ClipPath(FirstPositional(args, valued));
  if (clip.isEmpty()) return 0;
  PrivateHome home;
  const QString mode = OptionValue(args, QStringLiteral("--mode")).value_or(QStringLiteral("all"));
  const double seconds = OptionValue(args, QStringLiteral("--seconds")).value_or("15").toDouble();
  const int rounds = OptionValue(args, QStringLiteral("--rounds")).value_or("2").toInt();
  if (mode == QLatin1String("sweep") || mode == QLatin1String("all")) MeasureSweep(app, clip);
  if (mode == QLatin1String("bars") || mode == QLatin1String("all")) {
    MeasureBars(clip, seconds, std::max(1, rounds));
  }
  return 0;
}
