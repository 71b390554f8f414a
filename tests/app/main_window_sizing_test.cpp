// The real window's sizes and fullscreen: the sizing commands on a known
// picture, fullscreen and back from a normal and a maximized window with
// tool windows beside it, the real playlist docked and following the
// window, and the magnet under a real pointer drag.

#include "app/commands.h"
#include "app/dpi.h"
#include "chrome/title_bar_window.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "panels/playlist_window.h"
#include "tests/app/shell_test_support.h"
#include "tests/app/x_pointer.h"
#include "video/video_renderer.h"

#include <QScreen>

namespace zelvaro {
namespace {

constexpr int kWaitMs = 10000;
const QString kEarlierLine = QStringLiteral("an earlier line");

// A stand-in for the playlist panel: an owned tool window.
QWidget* MakeToolWindow(QWidget* owner, const QRect& rect) {
  auto* panel = new QWidget(owner, Qt::Tool | Qt::FramelessWindowHint);
  panel->setGeometry(rect);
  panel->show();
  return panel;
}

QRect Right(QRect of, int width) {
  return {of.x() + of.width(), of.y(), width, of.height()};
}

}  // namespace

class MainWindowSizingTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { home_ = std::make_unique<test::TempHome>(); }

  void cleanup() {
    test::StopPlayer();
    home_.reset();
  }

  void sizeCommandsGiveTheDesignedWindow_data() {
    QTest::addColumn<int>("command");
    QTest::addColumn<int>("rotation");
    QTest::addColumn<bool>("fromFullscreen");
    QTest::addColumn<QSize>("expected");
    QTest::addColumn<QString>("osd");
    // The picture is 960x540; the frame adds 6 across and 98 down at 1x.
    QTest::newRow("menu 25%") << int(ID_SIZE_FIRST) << 0 << false << QSize(246, 233) << "25%";
    QTest::newRow("menu 150%") << ID_SIZE_FIRST + 4 << 0 << false << QSize(1446, 908) << "150%";
    // Larger than the 1920x1080 screen.
    QTest::newRow("key 6 from fullscreen")
        << int(ID_KEY_FIT_200) << 0 << true << QSize(1926, 1178) << "200%";
    QTest::newRow("key 2 turned 90")
        << int(ID_KEY_FIT_50) << 90 << false << QSize(276, 578) << "50%";
    // 45% of 1920x1080 less the frame is 858x388: the height limits.
    QTest::newRow("monitor 45%") << ID_MONITOR_SIZE_FIRST + 1 << 0 << false << QSize(695, 486)
                                 << LanguageManager::GetString(u"OSD.MonitorSize45");
  }

  void sizeCommandsGiveTheDesignedWindow() {
    QFETCH(int, command);
    QFETCH(int, rotation);
    QFETCH(bool, fromFullscreen);
    QFETCH(QSize, expected);
    QFETCH(QString, osd);
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    if (DpiScale != 1.0f) QSKIP("the sizes are worked out at 96 DPI");
    QCOMPARE(window->screen()->availableGeometry().size(), QSize(1920, 1080));
    // 960x540, 10 fps, 3 s, video only.
    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("sizing_960x540.mkv"))));
    if (rotation != 0) QVERIFY(window->graph()->SetRotation(rotation));
    const QPoint centre = window->geometry().center();
    if (fromFullscreen) {
      window->ToggleFullscreen();
      QTRY_COMPARE_WITH_TIMEOUT(window->geometry(), window->screen()->geometry(), kWaitMs);
    }

    window->OnCommand(command);
    QTRY_COMPARE_WITH_TIMEOUT(window->size(), expected, kWaitMs);
    QVERIFY(!window->fullscreen());
    QCOMPARE(test::OsdText(), osd);
    // Where the window stands is the compositor's on Wayland.
    if (ClientPlacesWindows()) {
      const QRect work = window->screen()->availableGeometry();
      if (work.contains(window->geometry())) {
        QVERIFY((window->geometry().center() - centre).manhattanLength() <= 2);
      } else {
        QCOMPARE(window->pos(), work.topLeft());  // the title bar stays within reach
      }
    }
    // The picture's area is the asked percentage, turned as shown.
    QCOMPARE(window->videoWindow()->size(),
             expected - QSize(window->Layout().ChromeWidth(), window->Layout().ChromeHeight()));
  }

  void fitWithoutVideoTakesTheWorkArea() {
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    window->OnCommand(ID_KEY_FIT_75);
    QTRY_COMPARE_WITH_TIMEOUT(window->size(), window->screen()->availableGeometry().size() * 3 / 4,
                              kWaitMs);
  }

  void fullscreenGivesBackTheWindowAndPanels_data() {
    QTest::addColumn<bool>("maximized");
    QTest::addColumn<int>("leaveBy");
    QTest::addColumn<QString>("osd");
    // Escape leaves without a line of its own: the one before stays.
    const QString exit = LanguageManager::GetString(u"OSD.FullscreenExit");
    QTest::newRow("normal, F") << false << int(ID_KEY_FULLSCREEN) << exit;
    QTest::newRow("normal, Escape") << false << int(ID_KEY_ESCAPE) << kEarlierLine;
    QTest::newRow("maximized, F") << true << int(ID_KEY_FULLSCREEN) << exit;
    QTest::newRow("maximized, Escape") << true << int(ID_KEY_ESCAPE) << kEarlierLine;
  }

  void fullscreenGivesBackTheWindowAndPanels() {
    QFETCH(bool, maximized);
    QFETCH(int, leaveBy);
    QFETCH(QString, osd);
    if (!ClientPlacesWindows()) QSKIP("the compositor places the windows here");
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    const QRect normal(200, 150, 900, 600);
    window->setGeometry(normal);
    QTRY_COMPARE(window->geometry(), normal);
    QWidget* playlist = MakeToolWindow(window, Right(normal, 300));
    QWidget* lyrics = MakeToolWindow(window, QRect(1300, 100, 300, 200));
    QWidget* hidden = new QWidget(window, Qt::Tool);
    PanelDock* dock = window->AddDockedPanel(playlist, true);
    window->AddDockedPanel(lyrics, false);
    window->AddDockedPanel(hidden, false);
    QVERIFY(QTest::qWaitForWindowExposed(playlist));
    dock->UpdateSnapState(window->geometry(), DpiScale);
    QCOMPARE(dock->SnapSide, 1);
    if (maximized) {
      window->showMaximized();
      QTRY_VERIFY(window->isMaximized());
    }
    const QRect before = window->geometry();
    const QRect playlistBefore = playlist->geometry();

    window->OnCommand(ID_KEY_FULLSCREEN);
    QTRY_COMPARE_WITH_TIMEOUT(window->geometry(), window->screen()->geometry(), kWaitMs);
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.FullscreenEnter"));
    QVERIFY(!playlist->isVisible() && !lyrics->isVisible());
    dock->Snapped = false;  // whatever happens meanwhile, the docking comes back

    ShowOsd(kEarlierLine, 60000);
    window->OnCommand(leaveBy);
    QTRY_COMPARE_WITH_TIMEOUT(window->geometry(), before, kWaitMs);
    QCOMPARE(window->isMaximized(), maximized);
    QCOMPARE(test::OsdText(), osd);
    QVERIFY(playlist->isVisible() && lyrics->isVisible() && !hidden->isVisible());
    QCOMPARE(playlist->geometry(), playlistBefore);
    QCOMPARE(lyrics->geometry(), QRect(1300, 100, 300, 200));
    QVERIFY(dock->Snapped);
    QCOMPARE(dock->SnapSide, 1);
    if (maximized) {
      // The normal rectangle is still there for the next restore.
      window->titleBar()->Restore();
      QTRY_COMPARE_WITH_TIMEOUT(window->geometry(), normal, kWaitMs);
    }
  }

  void playlistPanelDockedRightFollowsTheWindow() {
    if (!ClientPlacesWindows()) QSKIP("the compositor places the windows here");
    Settings::SetDword(setting::kPlaylistHeightSync, 1);
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    window->setGeometry(300, 200, 800, 500);
    QTRY_COMPARE(window->geometry(), QRect(300, 200, 800, 500));
    panels::PlaylistWindow* playlist = window->playlistWindow();
    QVERIFY(playlist);
    playlist->Show(true);
    QVERIFY(QTest::qWaitForWindowExposed(playlist));
    // Put against the right side by hand, shorter than the window.
    playlist->setGeometry(QRect(1100, 250, 300, 350));
    QTRY_VERIFY_WITH_TIMEOUT(playlist->Snapped() && playlist->SnapSide() == 1, kWaitMs);

    window->setGeometry(500, 150, 700, 600);
    QTRY_COMPARE_WITH_TIMEOUT(playlist->geometry(), QRect(1200, 150, 300, 600), kWaitMs);
    QVERIFY(playlist->Snapped());
  }

  void magnetPullsADraggedWindowToTheEdge_data() {
    QTest::addColumn<int>("magnet");
    QTest::addColumn<int>("landedX");
    QTest::newRow("magnet 10") << 10 << 0;
    QTest::newRow("magnet off") << 0 << 9;
  }

  void magnetPullsADraggedWindowToTheEdge() {
    QFETCH(int, magnet);
    QFETCH(int, landedX);
    Display* display = test::XTestDisplay();
    if (display == nullptr) QSKIP("needs an X11 display with XTEST");
    Settings::SetDword(setting::kMagnetDistance, static_cast<uint32_t>(magnet));
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    window->setGeometry(300, 300, 800, 500);
    QTRY_COMPARE(window->geometry(), QRect(300, 300, 800, 500));
    QWidget* playlist = MakeToolWindow(window, Right(window->geometry(), 300));
    window->AddDockedPanel(playlist, true);
    QVERIFY(QTest::qWaitForWindowExposed(playlist));

    // A grip on the title bar's text, dragged 291 px left: 9 px from the edge.
    chrome::TitleBarWindow* bar = window->titleBar();
    const QPoint grip = bar->mapToGlobal(QPoint(bar->width() / 3, bar->height() / 2));
    test::XMovePointer(display, grip);
    XTestFakeButtonEvent(display, 1, True, CurrentTime);
    XFlush(display);
    // The first motion past the drag threshold starts the move, the next
    // one carries the window.
    test::XMovePointer(display, grip - QPoint(20, 0));
    QTRY_VERIFY_WITH_TIMEOUT(window->MovingWindow(), kWaitMs);
    test::XMovePointer(display, grip - QPoint(291, 0));
    QTRY_COMPARE_WITH_TIMEOUT(window->x(), landedX, kWaitMs);
    XTestFakeButtonEvent(display, 1, False, CurrentTime);
    XFlush(display);
    QTRY_VERIFY_WITH_TIMEOUT(!window->MovingWindow(), kWaitMs);
    QCOMPARE(window->y(), 300);
    // The docked panel came along.
    QTRY_COMPARE_WITH_TIMEOUT(playlist->x(), landedX + 800, kWaitMs);
  }

 private:
  std::unique_ptr<test::TempHome> home_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowSizingTest)
#include "main_window_sizing_test.moc"
