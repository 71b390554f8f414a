// The player driven as a person drives it, with real pointer events and keys
// through the X server: the toolbar's buttons and seek bar, the bars over the
// picture in fullscreen on both renderer paths (read back from the screen),
// a right click that opens the context menu and keys that move in it (Return
// chooses and never reaches the window's own Return), the dark look against
// a golden image, and the track menus above their point.

// Qt's widget headers go before the X11 ones, whose macros clash with them.
#include <QLineEdit>
#include <QStyleOptionMenuItem>

#include "app/commands.h"
#include "app/dpi.h"
#include "chrome/chrome_palette.h"
#include "chrome/dark_menu.h"
#include "chrome/title_bar_window.h"
#include "chrome/toolbar_geometry.h"
#include "chrome/toolbar_window.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/app/shell_test_support.h"
#include "tests/app/x_pointer.h"
#include "tests/support/golden_image.h"
#include "video/video_renderer.h"

#include <QMenu>
#include <QPainter>
#include <QScreen>

#include <X11/keysym.h>

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

QAction* ActionWithText(QMenu* menu, const QString& text) {
  for (QAction* action : menu->actions()) {
    if (action->text() == text) return action;
  }
  return nullptr;
}

// Context menus run modally, inside the event that opened them: what a test
// does in the open menu is set up before, and runs once the menu shows.
class WhenMenuOpens : public QObject {
 public:
  explicit WhenMenuOpens(std::function<void(QMenu*)> act) : act_(std::move(act)) {
    timer_.setInterval(10);
    connect(&timer_, &QTimer::timeout, this, [this] {
      auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      if (menu == nullptr || !menu->isVisible()) return;
      timer_.stop();
      act_(menu);
      done_ = true;
      // A menu that missed its keys must not hold the test in its loop.
      QTimer::singleShot(kWaitMs, this, [] {
        while (QWidget* popup = QApplication::activePopupWidget()) popup->close();
      });
    });
    timer_.start();
  }
  bool done() const { return done_; }

 private:
  std::function<void(QMenu*)> act_;
  QTimer timer_;
  bool done_ = false;
};

}  // namespace

class MainWindowPointerTest : public QObject {
  Q_OBJECT

 private slots:
  // Real texts, with their tabbed key hints, in the menus and the golden image.
  void initTestCase() {
    QVERIFY(LanguageManager::Instance().Initialize(test::SourceDir(), QLocale::English));
  }
  // The fullscreen rows choose the renderer's path before the player starts.
  void init() {
    const QByteArray row = QTest::currentDataTag();
    if (row == "painter") qputenv("ZELVARO_NO_OPENGL", "1");
    if (row == "opengl") qputenv("ZELVARO_OPENGL", "force");
    QVERIFY(player_.Start());
  }
  void cleanup() {
    player_.Stop();
    qunsetenv("ZELVARO_NO_OPENGL");
    qunsetenv("ZELVARO_OPENGL");
  }

  void playButtonPausesAndSeekBarSeeks() {
    Display* display = test::XTestDisplay();
    if (display == nullptr) QSKIP("needs an X11 display with XTEST");
    MainWindow* window = player_.window;
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
    MainWindow* window = player_.window;
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

  void rightClickOpensMenuAndReturnChoosesARecentFile() {
    Display* display = test::XTestDisplay();
    if (display == nullptr) QSKIP("needs an X11 display with XTEST");
    MainWindow* window = player_.window;
    QVERIFY(test::ActivatePlayer(window));
    // Escape closes the menu and is not the window's own.
    WhenMenuOpens escaped([&](QMenu*) { test::XKey(display, XK_Escape); });
    test::XClick(display, window->videoWindow()->mapToGlobal(QPoint(40, 40)), 3);
    QTRY_VERIFY_WITH_TIMEOUT(escaped.done(), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(QApplication::activePopupWidget() == nullptr, kWaitMs);
    QVERIFY(!window->isMinimized());

    const QStringList clips = test::MakeSeries(*player_.home, QStringLiteral("show"),
                                               {QStringLiteral("a.mp4"), QStringLiteral("b.mp4")});
    QVERIFY(window->OpenFile(clips[0]));
    QVERIFY(window->OpenFile(clips[1]));  // a is the second recent entry now
    QCOMPARE(window->recentFiles().size(), size_t{2});

    // Recent files, Right into the submenu, Down to the second entry, Return.
    int topRows = 0;
    WhenMenuOpens inMenu([&](QMenu* menu) {
      topRows = static_cast<int>(menu->actions().size());
      QAction* recent = ActionWithText(menu, LanguageManager::GetString(u"Menu.RecentFiles"));
      QVERIFY(recent && recent->menu());
      menu->setActiveAction(recent);
      test::XKey(display, XK_Right);
      QVERIFY(QTest::qWaitFor([&] { return QApplication::activePopupWidget() == recent->menu(); },
                              kWaitMs));
      // Down until the second entry is the highlighted one.
      QMenu* files = recent->menu();
      for (int step = 0;
           step < 3 &&
           !(files->activeAction() && files->activeAction()->data().toInt() == ID_RECENT_FIRST + 1);
           ++step) {
        QAction* before = files->activeAction();
        test::XKey(display, XK_Down);
        QVERIFY(QTest::qWaitFor([&] { return files->activeAction() != before; }, kWaitMs));
      }
      QVERIFY(files->activeAction() &&
              files->activeAction()->data().toInt() == ID_RECENT_FIRST + 1);
      test::XKey(display, XK_Return);
    });
    const QPoint picture =
        window->videoWindow()->mapToGlobal(window->videoWindow()->rect().center());
    test::XClick(display, picture, 3);
    QTRY_VERIFY_WITH_TIMEOUT(inMenu.done(), kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(window->graph()->CurrentPath(), clips[0], kWaitMs);
    QVERIFY(QApplication::activePopupWidget() == nullptr);
    QCOMPARE(topRows, 27);
    // Return belonged to the menu: the window stayed as it was.
    QVERIFY(!window->fullscreen());

    // With no popup open, Return is the window's fullscreen key again.
    QVERIFY(test::ActivatePlayer(window));
    test::XKey(display, XK_Return);
    QTRY_VERIFY_WITH_TIMEOUT(window->fullscreen(), kWaitMs);
  }

  void contextMenuLooksDark() {
    MainWindow* window = player_.window;
    // The open context menu beside its speed submenu (a checked row) and its
    // A-B submenu (a greyed row), at 1x.
    QImage image;
    WhenMenuOpens inMenu([&](QMenu* menu) {
      const QImage top = menu->grab().toImage();
      auto sub = [&](const char16_t* key) {
        for (QAction* action : menu->actions()) {
          if (action->menu() &&
              action->text().startsWith(
                  LanguageManager::GetString(key).section(u'(', 0, 0).trimmed())) {
            action->menu()->adjustSize();
            return action->menu()->grab().toImage();
          }
        }
        return QImage();
      };
      const QImage speed = sub(u"Menu.SpeedSubmenuFormat");
      const QImage repeat = sub(u"Menu.ABRepeat");
      // The upper rows hold all of it and keep the picture small.
      image = QImage(top.width() + speed.width() + repeat.width(), 240, QImage::Format_RGB32);
      image.fill(Qt::black);
      QPainter painter(&image);
      painter.drawImage(0, 0, top);
      painter.drawImage(top.width(), 0, speed);
      painter.drawImage(top.width() + speed.width(), 0, repeat);
      painter.end();
      menu->close();
    });
    QTimer::singleShot(0, window,
                       [window] { window->ShowContextMenu(window->mapToGlobal(QPoint(20, 20))); });
    QTRY_VERIFY_WITH_TIMEOUT(inMenu.done(), kWaitMs);
    QVERIFY(!image.isNull());
    QCOMPARE(image.pixelColor(image.width() - 2, 20), chrome::kMenuBackground);
    QString why;
    QVERIFY2(test::MatchesGolden(image, QStringLiteral("app/golden/context_menu_1x.png"), &why),
             qPrintable(why));
  }

  void trackMenusStandAboveTheirPointAndChooseTracks() {
    MainWindow* window = player_.window;
    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("multitrack.mkv"))));
    GraphManager* graph = window->graph();
    QCOMPARE(graph->GetAudioTrackCount(), 2);
    QCOMPARE(graph->GetSubtitleTrackCount(), 2);

    // The toolbar's chip sends its top corner; the menu's bottom stands there.
    const QPoint anchor = window->mapToGlobal(QPoint(60, window->height() - 30));
    QStringList rows;
    QRect shown;
    QList<bool> checks;
    WhenMenuOpens inMenu([&](QMenu* menu) {
      shown = menu->geometry();
      for (QAction* action : menu->actions()) {
        rows << action->text();
        checks << action->isChecked();
      }
      menu->close();
    });
    window->PostPlayerMessage(WM_PLAYER_AUDIO_MENU, anchor.x(), anchor.y());
    QTRY_VERIFY_WITH_TIMEOUT(inMenu.done(), kWaitMs);
    QCOMPARE(rows.size(), 2);
    QCOMPARE(checks,
             (QList<bool>{graph->GetCurrentAudioTrack() == 0, graph->GetCurrentAudioTrack() == 1}));
    QCOMPARE(shown.bottom() + 1, anchor.y());
    QCOMPARE(shown.left(), anchor.x());

    // The second stream: chosen, the renderer on, the next menu checks it.
    // The default route extracts the stream off the interface thread first.
    window->OnCommand(ID_SUBTITLE_TRACK_FIRST + 1);
    QTRY_COMPARE_WITH_TIMEOUT(window->embeddedSubtitleIndex(), 1, kWaitMs);
    QCOMPARE(Settings::GetDwordOr(setting::kSubtitleEnabled, 0), 1u);
    const std::unique_ptr<QMenu> subtitles = window->BuildSubtitleMenu();
    QAction* second = nullptr;
    for (QAction* action : subtitles->actions()) {
      if (action->data().toInt() == ID_SUBTITLE_TRACK_FIRST + 1) second = action;
    }
    QVERIFY(second && second->isChecked());
    // Out of range: nothing changes.
    window->OnCommand(ID_SUBTITLE_TRACK_LAST);
    QCOMPARE(window->embeddedSubtitleIndex(), 1);
  }

  void darkStyleRowsAndEveryMenuTakesIt() {
    MainWindow* window = player_.window;
    chrome::DarkMenuStyle style;
    struct Row {
      QStyle::State state;
      QColor fill;
    };
    // A greyed row under the pointer keeps the plain background.
    const Row rows[] = {{QStyle::State_Enabled, chrome::kMenuBackground},
                        {QStyle::State_Enabled | QStyle::State_Selected, chrome::kMenuSelection},
                        {QStyle::State_Selected, chrome::kMenuBackground}};
    for (const Row& row : rows) {
      QImage image(120, chrome::DarkMenuStyle::ItemHeight(), QImage::Format_RGB32);
      image.fill(Qt::red);
      QStyleOptionMenuItem option;
      option.rect = image.rect();
      option.state = row.state;
      option.text = QStringLiteral("&Row\tX");
      option.font = QApplication::font();
      QPainter painter(&image);
      style.drawControl(QStyle::CE_MenuItem, &option, &painter);
      painter.end();
      QCOMPARE(image.pixelColor(image.width() - 2, 1), row.fill);
    }
    QCOMPARE(chrome::DarkMenuStyle::DrawnParts(QStringLiteral("&&a&b\tc\td")),
             (QStringList{QStringLiteral("ab"), QStringLiteral("c")}));

    // Menus nobody styled by hand: a line edit's own context menu.
    QLineEdit edit(window);
    const std::unique_ptr<QMenu> editMenu(edit.createStandardContextMenu());
    editMenu->ensurePolished();
    QVERIFY(dynamic_cast<chrome::DarkMenuStyle*>(editMenu->style()) != nullptr);
  }

 private:
  test::PlayerFixture player_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowPointerTest)
#include "main_window_pointer_test.moc"
