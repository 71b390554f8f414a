// The desktop's services against scripted ones on the private session bus
// (fake_desktop.py). The screen saver is held off while a video plays (no
// portal there, so the player falls back to org.freedesktop.ScreenSaver): one
// Inhibit per stretch of playing video, its cookie handed back on pause, at
// the end and at exit, none for music. With GlobalMediaKeys the media keys
// are taken from GNOME's settings daemon, act, and go back on deactivation.

#include "app/commands.h"
#include "app/window_globals.h"
#include "engine/graph_manager.h"
#include "tests/app/shell_test_support.h"

#include <QProcess>
#include <QStandardPaths>

namespace zelvaro {
namespace {

constexpr int kWaitMs = 15000;

class FakeDesktop {
 public:
  FakeDesktop() {
    QObject::connect(&process_, &QProcess::readyReadStandardOutput, [this] {
      while (process_.canReadLine()) {
        const QString line = QString::fromUtf8(process_.readLine()).trimmed();
        if (line == u"ready") {
          ready_ = true;
        } else {
          calls_ << line;
        }
      }
    });
    // Debian's interpreter, which python3-dbus extends, before any other on PATH.
    QString python = QStandardPaths::findExecutable(QStringLiteral("python3"), {"/usr/bin"});
    if (python.isEmpty()) python = QStringLiteral("python3");
    process_.start(python, {QStringLiteral(ZELVARO_TEST_SOURCE_DIR "/fake_desktop.py")});
  }
  ~FakeDesktop() {
    process_.kill();
    process_.waitForFinished();
  }
  // False with the reason when the service could not start.
  bool Start(QString* why) {
    const bool started = QTest::qWaitFor(
        [this] { return ready_ || process_.state() == QProcess::NotRunning; }, kWaitMs);
    if (!started || !ready_) {
      *why = QString::fromUtf8(process_.readAll());
      return false;
    }
    return true;
  }
  const QStringList& calls() const { return calls_; }

 private:
  QProcess process_;
  bool ready_ = false;
  QStringList calls_;
};

class DesktopServicesTest : public QObject {
  Q_OBJECT
 private slots:
  void init() {
    QString why;
    service_ = std::make_unique<FakeDesktop>();
    if (!service_->Start(&why)) QSKIP(qPrintable("python3-dbus or python3-gi missing: " + why));
  }
  void cleanup() { service_.reset(); }

  // Music first: it never holds the screen saver. Then video: held while
  // it plays, handed back on pause, at its end and at exit.
  void VideoHoldsItWhilePlayingOnly() {
    test::TempHome home;
    MainWindow* window = test::StartPlayer();
    QVERIFY(window != nullptr);
    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("cover_art.mp3"))));
    QTRY_VERIFY_WITH_TIMEOUT(window->graph()->GetPosition() > 1.0, kWaitMs);
    QCOMPARE(window->graph()->State(), 2);
    QCOMPARE(service_->calls(), QStringList());

    QVERIFY(window->OpenFile(test::PatternClip()));
    QTRY_COMPARE_WITH_TIMEOUT(service_->calls(), QStringList{"Inhibit 1 zelvaro"}, kWaitMs);
    window->OnCommand(ID_PLAY_PAUSE);
    QTRY_COMPARE_WITH_TIMEOUT(service_->calls().size(), 2, kWaitMs);
    QCOMPARE(service_->calls().last(), QStringLiteral("UnInhibit 1"));
    window->OnCommand(ID_PLAY_PAUSE);
    QTRY_COMPARE_WITH_TIMEOUT(service_->calls().size(), 3, kWaitMs);
    QCOMPARE(service_->calls().last(), QStringLiteral("Inhibit 2 zelvaro"));
    // The clip runs out.
    QTRY_COMPARE_WITH_TIMEOUT(service_->calls().size(), 4, kWaitMs);
    QCOMPARE(service_->calls().last(), QStringLiteral("UnInhibit 2"));
    QVERIFY(window->graph()->State() != 2);

    window->OnCommand(ID_PLAY_PAUSE);
    QTRY_COMPARE_WITH_TIMEOUT(service_->calls().size(), 5, kWaitMs);
    test::StopPlayer();
    QTRY_COMPARE_WITH_TIMEOUT(service_->calls().size(), 6, kWaitMs);
    QCOMPARE(service_->calls().last(), QStringLiteral("UnInhibit 3"));
  }

  void MediaKeysAreTakenActAndGoBackOnDeactivation() {
    test::TempHome home;
    MainWindow* window = test::StartPlayer();
    QVERIFY(window != nullptr);
    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("long_lowres.mp4"))));
    QTRY_COMPARE_WITH_TIMEOUT(window->graph()->State(), 2, kWaitMs);
    // As the options page turns the setting on: the keys follow at the next tick.
    GlobalMediaKeys = true;
    QTRY_VERIFY_WITH_TIMEOUT(service_->calls().contains(QStringLiteral("Grab zelvaro")), kWaitMs);
    // The desktop's Pause key reached the player.
    QTRY_COMPARE_WITH_TIMEOUT(window->graph()->State(), 1, kWaitMs);
    QVERIFY(test::ActivatePlayer(window));
    QApplication::setActiveWindow(nullptr);
    QTRY_VERIFY_WITH_TIMEOUT(service_->calls().contains(QStringLiteral("Release zelvaro")),
                             kWaitMs);
    GlobalMediaKeys = false;
    test::StopPlayer();
  }

 private:
  std::unique_ptr<FakeDesktop> service_;
};

}  // namespace
}  // namespace zelvaro

QTEST_MAIN(zelvaro::DesktopServicesTest)
#include "desktop_services_test.moc"
