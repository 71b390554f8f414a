// The player with its bars, driven as a person drives it: real pointer
// events through the X server at the toolbar's buttons and seek bar, and the
// bars over the picture in fullscreen on both renderer paths, read back from
// the screen.

#include "app/dpi.h"
#include "chrome/chrome_palette.h"
#include "chrome/title_bar_window.h"
#include "chrome/toolbar_geometry.h"
#include "chrome/toolbar_window.h"
#include "engine/graph_manager.h"
#include "tests/app/shell_test_support.h"
#include "tests/app/x_pointer.h"
#include "video/video_renderer.h"

#include <QScreen>

namespace zelvaro {
namespace {

constexpr int kWaitMs = 20000;

// Ten minutes with a keyframe every 2 s: nothing ends while a busy machine
// catches up with the pointer.
QString LongClip() {
  return test::FixturePath(QStringLiteral("long_lowres.mp4"));
}

QPoint ButtonCentre(chrome::ToolbarWindow& toolbar, int button) {
  const chrome::ToolbarGeometry geometry =
      chrome::ComputeToolbarGeometry(toolbar.width(), DpiScale, toolbar.State().HasVideo);
  return toolbar.mapToGlobal(geometry.ButtonRects[static_cast<size_t>(button)].center());
}

QColor ScreenPixel(QPoint global) {
  QScreen* screen = QGuiApplication::screenAt(global);
  if (screen == nullptr) return {};
  const QPoint local = global - screen->geometry().topLeft();
  return screen->grabWindow(0, local.x(), local.y(), 1, 1).toImage().pixelColor(0, 0);
}

bool Near(const QColor& a, const QColor& b, int tolerance = 12) {
  return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
         std::abs(a.blue() - b.blue()) <= tolerance;
}

}  // namespace

class MainWindowChromeTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { home_ = std::make_unique<test::TempHome>(); }

  void cleanup() {
    test::StopPlayer();
    qunsetenv("ZELVARO_NO_OPENGL");
    qunsetenv("ZELVARO_OPENGL");
    home_.reset();
  }

  void playButtonPausesAndSeekBarSeeks() {
    Display* display = test::XTestDisplay();
    if (display == nullptr) QSKIP("needs an X11 display with XTEST");
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    QVERIFY(window->OpenFile(LongClip()));
    chrome::ToolbarWindow* toolbar = window->toolbar();
    QVERIFY(toolbar);
    QTRY_VERIFY_WITH_TIMEOUT(toolbar->State().IsPlaying && toolbar->State().Duration > 0, kWaitMs);

    test::XClick(display, ButtonCentre(*toolbar, chrome::kButtonPlayPause));
    QTRY_COMPARE_WITH_TIMEOUT(window->graph()->State(), 1, kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(!toolbar->State().IsPlaying, kWaitMs);

    // 75 % of the bar; the seek snaps to a keyframe, one every 2 s.
    const chrome::ToolbarGeometry geometry =
        chrome::ComputeToolbarGeometry(toolbar->width(), DpiScale, toolbar->State().HasVideo);
    const QPoint onBar(geometry.XAt(0.75), (geometry.SeekTop + geometry.SeekBottom) / 2);
    const double duration = window->graph()->GetDuration();
    test::XClick(display, toolbar->mapToGlobal(onBar));
    QTRY_VERIFY_WITH_TIMEOUT(std::abs(window->graph()->GetPosition() - 0.75 * duration) <= 2.0,
                             kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(std::abs(toolbar->State().Progress - 0.75) < 0.01, kWaitMs);
    QCOMPARE(window->graph()->State(), 1);
  }

  void barsShowOverThePictureInFullscreen_data() {
    QTest::addColumn<bool>("painter");
    QTest::newRow("painter") << true;
    QTest::newRow("opengl") << false;
  }

  void barsShowOverThePictureInFullscreen() {
    Display* display = test::XTestDisplay();
    if (display == nullptr) QSKIP("needs an X11 display with XTEST");
    QFETCH(bool, painter);
    qputenv(painter ? "ZELVARO_NO_OPENGL" : "ZELVARO_OPENGL", painter ? "1" : "force");
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    QVERIFY(window->OpenFile(LongClip()));
    window->PlayPause();  // a still picture to read the screen against
    QTRY_VERIFY_WITH_TIMEOUT(!window->videoWindow()->DisplayedImage().isNull(), kWaitMs);

    const QRect screen = window->screen()->geometry();
    test::XMovePointer(display, screen.center());
    window->ToggleFullscreen();
    QTRY_VERIFY_WITH_TIMEOUT(window->geometry() == screen, kWaitMs);
    chrome::ToolbarWindow* toolbar = window->toolbar();
    QTRY_VERIFY_WITH_TIMEOUT(!toolbar->isVisible(), kWaitMs);
    // A point of the toolbar's background, over the picture's bottom edge.
    const QPoint probe(screen.center().x(), screen.bottom() - Scaled(40));
    QTRY_VERIFY_WITH_TIMEOUT(!Near(ScreenPixel(probe), chrome::kToolbarBackground), kWaitMs);

    test::XMovePointer(display, QPoint(screen.center().x(), screen.bottom() - 5));
    QTRY_VERIFY_WITH_TIMEOUT(toolbar->isVisible(), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(Near(ScreenPixel(probe), chrome::kToolbarBackground), kWaitMs);
    QVERIFY(!window->titleBar()->isVisible());

    test::XMovePointer(display, screen.center());
    QTRY_VERIFY_WITH_TIMEOUT(!toolbar->isVisible(), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(!Near(ScreenPixel(probe), chrome::kToolbarBackground), kWaitMs);

    window->ToggleFullscreen();
    QTRY_VERIFY_WITH_TIMEOUT(toolbar->isVisible() && toolbar->parentWidget() == window, kWaitMs);
  }

 private:
  std::unique_ptr<test::TempHome> home_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowChromeTest)
#include "main_window_chrome_test.moc"
