// The media information analysis while the player plays: a 4 GB sparse file
// is analysed by the same worker the file information command uses, five
// times, while the clip plays in the real main window. Prints the longest
// single event on the interface thread meanwhile (target: under 16 ms), the
// same with no analysis for reference, and how long each analysis took on
// its worker (what the interface would have frozen for).
// Needs a display: bash packaging/run-headless.sh build/bin/bench_file_info
//
// Usage: bench_file_info [clip.mp4]

#include "app/application.h"
#include "app/file_analysis.h"
#include "app/main_window.h"
#include "bench/playback_support.h"
#include "engine/graph_manager.h"
#include "foundation/media_info_library.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QWindow>

#include <cstdio>

using namespace zelvaro;
using namespace zelvaro::bench;

namespace {

// The longest single event delivery on the interface thread.
class StallMeter : public QApplication {
 public:
  using QApplication::QApplication;
  bool notify(QObject* receiver, QEvent* event) override {
    if (!measuring_) return QApplication::notify(receiver, event);
    QElapsedTimer timer;
    timer.start();
    const int type = event->type();
    const char* receiverClass = receiver->metaObject()->className();
    const bool result = QApplication::notify(receiver, event);
    if (timer.nsecsElapsed() > longestNs_) {
      longestNs_ = timer.nsecsElapsed();
      longestWhat_ = QStringLiteral("event %1 to %2").arg(type).arg(QLatin1String(receiverClass));
    }
    return result;
  }
  const QString& LongestWhat() const { return longestWhat_; }
  void Start() {
    longestNs_ = 0;
    measuring_ = true;
  }
  double StopMs() {
    measuring_ = false;
    return longestNs_ / 1e6;
  }

 private:
  bool measuring_ = false;
  qint64 longestNs_ = 0;
  QString longestWhat_;
};

}  // namespace

int main(int argc, char** argv) {
  if (!DisplayAvailable("bench_file_info")) return 0;
  PrivateHome home;
  StallMeter app(argc, argv);
  const QString clip = ClipPath(FirstPositional(app.arguments(), {}));
  if (clip.isEmpty()) return 0;
  if (MediaInfoLibrary::Load() < 0) {
    std::printf("skipped: libmediainfo.so.0 is not installed\n");
    return 0;
  }
  const QString big = home.Root() + QStringLiteral("/big.mkv");
  {
    QFile file(big);
    if (!file.open(QIODevice::WriteOnly) || !file.resize(qint64{4} << 30)) {
      std::printf("skipped: cannot make a 4 GB sparse file\n");
      return 0;
    }
  }
  if (!Application::Instance().Initialize(QString())) return 1;
  MainWindow* window = Application::Instance().mainWindow();
  if (!RunUntil([&] { return window->windowHandle() && window->windowHandle()->isExposed(); },
                5000) ||
      !window->OpenFile(clip)) {
    std::printf("skipped: the player could not open %s\n", qPrintable(clip));
    return 0;
  }
  RunUntil([] { return false; }, 1000);

  // The same time of playing alone, for reference: what the player's own
  // events cost on this machine.
  double baselineMs = 0.0;
  for (int round = 0; round < 5; ++round) {
    app.Start();
    RunUntil([] { return false; }, 1000);
    const double roundMs = app.StopMs();
    baselineMs = std::max(baselineMs, roundMs);
    std::printf("alone %d: longest event %.2f ms (%s)\n", round + 1, roundMs,
                qPrintable(app.LongestWhat()));
  }

  FileAnalysis analysis;
  double longestMs = 0.0;
  for (int round = 0; round < 5; ++round) {
    bool done = false;
    const double start = MonotonicSeconds();
    double workerMs = 0.0;
    app.Start();
    analysis.Start(big, [&](FileAnalysisResult) {
      workerMs = (MonotonicSeconds() - start) * 1000.0;
      done = true;
    });
    RunUntil([&] { return done; }, 60000);
    const double roundMs = app.StopMs();
    longestMs = std::max(longestMs, roundMs);
    std::printf("round %d: analysis %.1f ms on the worker, longest event %.2f ms (%s)\n", round + 1,
                workerMs, roundMs, qPrintable(app.LongestWhat()));
  }
  std::printf("playing %s\n", qPrintable(clip));
  std::printf("file_info_longest_event_ms=%.2f while analysing 4 GB (target < 16)\n", longestMs);
  std::printf("file_info_baseline_longest_event_ms=%.2f playing alone\n", baselineMs);
  Application::Instance().Shutdown();
  return 0;
}
