// The player as a whole: start-up from a command line, a file that plays in
// the window, the end of the file, and what the window remembers when it
// closes.

#include "app/main_window.h"
#include "app/application.h"
#include "app/commands.h"
#include "app/window_globals.h"
#include "engine/graph_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"
#include "video/video_renderer.h"

#include <QDir>
#include <QFile>
#include <QTest>

namespace zelvaro {

class MainWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { home_ = std::make_unique<test::TempHome>(); }

  void cleanup() {
    Application::Instance().Shutdown();
    home_.reset();
  }

  void commandLineFilePlaysInTheWindow() {
    const QString clip = test::FixturePath(QStringLiteral("pattern_h264_aac.mp4"));
    QVERIFY(Application::Instance().Initialize(
        ParseArguments({QStringLiteral("-f"), clip}, QDir::currentPath())));
    MainWindow* window = Application::Instance().mainWindow();
    QVERIFY(QTest::qWaitForWindowExposed(window));
    QCOMPARE(window->graph()->CurrentPath(), clip);
    QCOMPARE(window->graph()->State(), 2);
    // The quadrant pattern reaches the screen: red at the top left of the picture.
    QTRY_VERIFY_WITH_TIMEOUT(!window->videoWindow()->DisplayedImage().isNull(), 10000);
    const QImage shown = window->videoWindow()->DisplayedImage();
    const QColor topLeft = shown.pixelColor(shown.width() / 4, shown.height() / 4);
    QVERIFY2(topLeft.red() > 200 && topLeft.green() < 60 && topLeft.blue() < 60,
             qPrintable(topLeft.name()));
  }

  void playPauseAndTheEndOfTheFile() {
    // Alone in its folder, so the end of the file is the end of the list.
    const QString clip = home_->WriteFile(QStringLiteral("solo/clip.mp4"), QByteArray());
    QFile::remove(clip);
    QVERIFY(QFile::copy(test::FixturePath(QStringLiteral("pattern_h264_aac.mp4")), clip));
    QVERIFY(Application::Instance().Initialize(QString()));
    MainWindow* window = Application::Instance().mainWindow();
    QVERIFY(window->OpenFile(clip));
    window->OnCommand(ID_KEY_PLAY_PAUSE);
    QCOMPARE(window->graph()->State(), 1);
    window->OnCommand(ID_KEY_PLAY_PAUSE);
    QCOMPARE(window->graph()->State(), 2);
    // Near the end, the player runs out of input, stops at the start and
    // keeps the file.
    QVERIFY(window->graph()->Seek(4.6, false, 0));
    QTRY_COMPARE_WITH_TIMEOUT(window->graph()->State(), 0, 10000);
    QCOMPARE(window->graph()->CurrentPath(), clip);
    QVERIFY(window->graph()->GetPosition() < 0.5);
  }

  void aFileThatDoesNotOpenLeavesAnIdlePlayer() {
    const QString garbage =
        home_->WriteFile(QStringLiteral("broken.mkv"), QByteArray(4096, '\x5a'));
    QVERIFY(Application::Instance().Initialize(ParseArguments({garbage}, QDir::currentPath())));
    MainWindow* window = Application::Instance().mainWindow();
    QVERIFY(QTest::qWaitForWindowExposed(window));
    QVERIFY(window->graph()->CurrentPath().isEmpty());
    window->OnCommand(ID_KEY_PLAY_PAUSE);  // nothing open: nothing happens
    QCOMPARE(window->graph()->State(), 0);
  }

  void closingRemembersTheWindowAndReopensThere() {
    QVERIFY(Application::Instance().Initialize(QString()));
    MainWindow* window = Application::Instance().mainWindow();
    QVERIFY(QTest::qWaitForWindowExposed(window));
    window->setGeometry(100, 120, 800, 500);
    QTRY_COMPARE(window->geometry(), QRect(100, 120, 800, 500));
    window->close();
    uint32_t width = 0;
    QVERIFY(Settings::GetDword(setting::kWindowW, &width));
    QCOMPARE(width, 800u);
    Application::Instance().Shutdown();

    QVERIFY(Application::Instance().Initialize(QString()));
    window = Application::Instance().mainWindow();
    QCOMPARE(window->geometry(), QRect(100, 120, 800, 500));
  }

  void fullscreenComesAfterTheFile() {
    const QString clip = test::FixturePath(QStringLiteral("pattern_h264_aac.mp4"));
    QVERIFY(Application::Instance().Initialize(
        ParseArguments({clip, QStringLiteral("-FULLSCREEN")}, QDir::currentPath())));
    MainWindow* window = Application::Instance().mainWindow();
    QVERIFY(window->fullscreen());
    QCOMPARE(window->graph()->CurrentPath(), clip);
    window->OnCommand(ID_KEY_ESCAPE);
    QVERIFY(!window->fullscreen());
  }

 private:
  std::unique_ptr<test::TempHome> home_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowTest)
#include "main_window_test.moc"
