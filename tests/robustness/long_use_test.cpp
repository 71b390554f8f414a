// Many open/close cycles in one player: a video file, an audio file and an
// address on a loopback server in turn. Whatever a cycle takes (descriptors,
// threads) it gives back. bench_long_use runs the full count with memory.

#include "tests/app/shell_test_support.h"
#include "tests/robustness/long_use_support.h"

namespace zelvaro {

class LongUseTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { QVERIFY(player_.Start()); }
  void cleanup() { player_.Stop(); }

  void openCloseCyclesGiveBackDescriptorsAndThreads() {
    constexpr int kCycles = 60;
    constexpr int kWarmUpCycles = 6;
    test::HttpTestServer server;
    const QStringList inputs = {test::PatternClip(),
                                test::FixturePath(QStringLiteral("cover_silence.mp3")),
                                test::ServeClip(server, test::PatternClip(), "video/mp4")};
    test::ProcessCounts start;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
      // The first cycles load plug-ins and start pools that stay for good.
      if (cycle == kWarmUpCycles) start = test::ReadProcessCounts();
      const QString& input = inputs[cycle % inputs.size()];
      QVERIFY2(test::OpenPlayClose(player_.window, input),
               qPrintable(QStringLiteral("cycle %1: %2").arg(cycle).arg(input)));
    }
    // Fewer than at the start is fine: a pipeline still closing then, or a
    // pool that was busy, has let its descriptors and threads go since.
    const test::ProcessCounts end = test::WaitForSettledCounts(start);
    QVERIFY2(end.fds <= start.fds,
             qPrintable(QStringLiteral("%1 > %2").arg(end.fds).arg(start.fds)));
    QVERIFY2(end.threads <= start.threads,
             qPrintable(QStringLiteral("%1 > %2").arg(end.threads).arg(start.threads)));
  }

 private:
  test::PlayerFixture player_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::LongUseTest)
#include "long_use_test.moc"
