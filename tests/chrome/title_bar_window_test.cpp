// The title bar as the user meets it: buttons that act on release over
// themselves, maximising and the drag back out of it, the title line, the
// tooltips, and the clicks it hands to the main window. With the argument
// "golden", compares the painted bar with its golden images instead.

#include "app/commands.h"
#include "app/dpi.h"
#include "chrome/chrome_paint.h"
#include "chrome/tooltip_window.h"
#include "tests/chrome/chrome_test_support.h"
#include "tests/support/golden_image.h"
#include "tests/support/temp_home.h"

#include <QApplication>
#include <QFontMetrics>
#include <QMouseEvent>
#include <QPainter>
#include <QTest>

#include <functional>

namespace zelvaro::chrome {

using test::TitleBarFixture;

namespace {

constexpr QPoint kEmpty(400, 16);  // on the bar, away from the buttons and the resize bands

QPoint Centre(const TitleBarWindow* bar, int button) {
  return bar->Layout().buttons[button].center();
}

// The order a real double click arrives in: press, release, double click,
// release.
void DoubleClick(QWidget* widget, QPoint position) {
  QTest::mouseClick(widget, Qt::LeftButton, {}, position);
  QMouseEvent doubleClick(QEvent::MouseButtonDblClick, position, widget->mapToGlobal(position),
                          Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(widget, &doubleClick);
  QTest::mouseRelease(widget, Qt::LeftButton, {}, position);
}

bool Shown(TitleBarFixture& f) {
  f.main->show();
  return QTest::qWaitForWindowExposed(f.main.get());
}

}  // namespace

class TitleBarWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { test::LoadEnglish(); }

  void buttonsActOnReleaseOverThemselvesOnly() {
    struct Case {
      int button;
      std::function<bool(TitleBarFixture&, QRect)> acted;
    } cases[] = {
        {kTitleBarPin,
         [](TitleBarFixture& f, QRect before) {
           return f.bar->AlwaysOnTop() &&
                  f.main->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint) &&
                  f.main->isVisible() && f.main->geometry() == before;
         }},
        {kTitleBarMinimize, [](TitleBarFixture& f, QRect) { return f.main->isMinimized(); }},
        {kTitleBarMaximize, [](TitleBarFixture& f, QRect) { return f.main->isMaximized(); }},
        {kTitleBarFullscreen,
         [](TitleBarFixture& f, QRect) { return f.host.fullscreenToggles == 1; }},
        {kTitleBarClose, [](TitleBarFixture& f, QRect) { return !f.main->isVisible(); }},
        {kTitleBarSettings, [](TitleBarFixture& f,
                               QRect) { return f.host.commands == std::vector<int>{ID_SETTINGS}; }},
    };
    for (const Case& c : cases) {
      TitleBarFixture f(800);
      QVERIFY(Shown(f));
      const QRect before = f.main->geometry();
      const QPoint on = Centre(f.bar, c.button);
      const QPoint neighbour = Centre(f.bar, (c.button + 1) % kTitleBarButtonCount);

      QTest::mousePress(f.bar, Qt::LeftButton, {}, on);
      QCOMPARE(f.bar->PressedButton(), c.button);
      QTest::mouseRelease(f.bar, Qt::LeftButton, {}, neighbour);
      QCOMPARE(f.bar->PressedButton(), -1);
      QVERIFY2(!c.acted(f, before), qPrintable(QString::number(c.button)));
      QVERIFY(f.host.commands.empty() && f.host.fullscreenToggles == 0);

      QTest::mouseClick(f.bar, Qt::LeftButton, {}, on);
      QTRY_VERIFY2(c.acted(f, before), qPrintable(QString::number(c.button)));
    }
  }

  void doubleClickMaximisesAndRestoresButNotOnAButton() {
    TitleBarFixture f(800);
    f.main->setGeometry(120, 80, 800, 300);
    QVERIFY(Shown(f));
    const QRect normal = f.main->geometry();

    DoubleClick(f.bar, kEmpty);
    QVERIFY(f.main->isMaximized());
    DoubleClick(f.bar, kEmpty);
    QVERIFY(!f.main->isMaximized());
    QTRY_COMPARE(f.main->geometry(), normal);

    // The first click of a double click on a button is the button's own.
    DoubleClick(f.bar, Centre(f.bar, kTitleBarSettings));
    QCOMPARE(f.host.commands, std::vector<int>{ID_SETTINGS});
    QVERIFY(!f.main->isMaximized());

    // In full screen both the double click and the maximise button leave it.
    f.bar->SetFullscreen(true);
    DoubleClick(f.bar, kEmpty);
    QTest::mouseClick(f.bar, Qt::LeftButton, {}, Centre(f.bar, kTitleBarMaximize));
    QCOMPARE(f.host.fullscreenToggles, 2);
    QVERIFY(!f.main->isMaximized());
  }

  void dragOutOfMaximisedKeepsThePointersPlaceAlongTheBar() {
    TitleBarFixture f(800);
    f.main->setGeometry(100, 100, 800, 300);
    QVERIFY(Shown(f));
    f.bar->ToggleMaximize();
    // Xvfb has no window manager to fill the screen; do what one would.
    f.main->setGeometry(0, 0, 1600, 1000);
    f.main->setWindowState(Qt::WindowMaximized);
    QVERIFY(f.main->isMaximized());
    const QRect maximized = f.main->geometry();

    // A press and release without movement leaves it as it is.
    QTest::mouseClick(f.bar, Qt::LeftButton, {}, QPoint(200, 16));
    QVERIFY(f.main->isMaximized());

    const QPoint press(200, 16);
    const QPoint pressGlobal = f.bar->mapToGlobal(press);
    QTest::mousePress(f.bar, Qt::LeftButton, {}, press);
    const int step = QApplication::startDragDistance() + 10;
    const QPoint to = press + QPoint(step, step);
    const QPoint toGlobal = f.bar->mapToGlobal(to);
    QTest::mouseMove(f.bar, to);
    QTest::mouseRelease(f.bar, Qt::LeftButton, {}, to);
    QTRY_VERIFY(!f.main->isMaximized());
    const double along =
        static_cast<double>(pressGlobal.x() - maximized.left()) / maximized.width();
    const QRect expected(toGlobal.x() - static_cast<int>(along * 800), toGlobal.y() - press.y(),
                         800, 300);
    QTRY_COMPARE(f.main->geometry(), expected);
  }

  void titleLineElidesOnlyTheSecondPart() {
    TitleBarFixture f(800);
    QCOMPARE(f.bar->TitleTextLayout().app, QStringLiteral("Zelvaro"));
    QVERIFY(f.bar->TitleTextLayout().separator.isEmpty());  // both titles empty

    f.bar->SetTitles(QStringLiteral("clip.mkv"), QString());
    QCOMPARE(f.bar->TitleTextLayout().second, QStringLiteral("clip.mkv"));
    QCOMPARE(f.bar->TitleTextLayout().separator, QStringLiteral("  |  "));
    f.bar->SetTitles(QStringLiteral("clip.mkv"), QStringLiteral("Chapter 2"));
    QCOMPARE(f.bar->TitleTextLayout().second, QStringLiteral("Chapter 2"));

    f.bar->SetTitles(QString(200, u'W'), QString());
    const TitleBarWindow::TitleText text = f.bar->TitleTextLayout();
    QCOMPARE(text.app, QStringLiteral("Zelvaro"));
    QVERIFY(text.second.endsWith(QChar(0x2026)));
    const QFontMetrics metrics(DesignFont(Scaled(18)));
    QVERIFY(text.secondX + metrics.horizontalAdvance(text.second) <= 800 - 160);
    QVERIFY(text.secondX > text.separatorX && text.separatorX > text.appX);
  }

  void tooltipFollowsHoverAndNeverShowsInFullscreen() {
    TitleBarFixture f(800);
    QVERIFY(Shown(f));
    const TooltipWindow* tip = f.bar->Tooltip();
    QTest::mouseMove(f.bar, Centre(f.bar, kTitleBarPin));
    QTRY_VERIFY(tip->IsShown());
    QCOMPARE(tip->Text(), LanguageManager::GetString(u"TitleBar.AlwaysOnTop"));
    QTest::mouseMove(f.bar, Centre(f.bar, kTitleBarMaximize));
    QTRY_COMPARE(tip->Text(), LanguageManager::GetString(u"TitleBar.Maximize"));
    // A press hides it.
    QTest::mousePress(f.bar, Qt::LeftButton, {}, Centre(f.bar, kTitleBarMaximize));
    QVERIFY(!tip->IsShown());
    QTest::mouseRelease(f.bar, Qt::LeftButton, {}, kEmpty);

    f.bar->SetFullscreen(true);
    QTest::mouseMove(f.bar, Centre(f.bar, kTitleBarClose));
    QTRY_COMPARE(f.bar->HoverButton(), int(kTitleBarClose));
    QVERIFY(!tip->IsShown());
  }

  void pinStaysAmberUnderThePointer() {
    TitleBarFixture f(800);
    QVERIFY(Shown(f));
    f.bar->SetAlwaysOnTop(true);
    QVERIFY(QTest::qWaitForWindowExposed(f.main.get()));
    QTest::mouseMove(f.bar, Centre(f.bar, kTitleBarPin));
    QTRY_COMPARE(f.bar->HoverButton(), int(kTitleBarPin));
    const QImage shot = f.bar->grab().toImage();
    const QRect icon = f.bar->Layout().icons[kTitleBarPin];
    bool amber = false;
    for (int y = icon.top(); y <= icon.bottom() && !amber; ++y) {
      for (int x = icon.left(); x <= icon.right() && !amber; ++x) {
        const QColor c = shot.pixelColor(x, y);
        amber = c.red() > 230 && c.green() > 170 && c.green() < 230 && c.blue() < 140;
      }
    }
    QVERIFY(amber);
  }

  void otherClicksGoToTheMainWindow() {
    TitleBarFixture f(800);
    QVERIFY(Shown(f));
    QTest::mouseClick(f.bar, Qt::RightButton, {}, kEmpty);
    QCOMPARE(f.host.contextMenus, std::vector<QPoint>{f.bar->mapToGlobal(kEmpty)});
    QTest::mouseClick(f.bar, Qt::RightButton, {}, Centre(f.bar, kTitleBarClose));
    QCOMPARE(f.host.contextMenus.size(), size_t{1});
    QVERIFY(f.main->isVisible());
    QTest::mouseClick(f.bar, Qt::MiddleButton, {}, kEmpty);
    QCOMPARE(f.host.fullscreenToggles, 1);
  }

  void applicationIconComesFromTheRenderedSkin() {
    const QIcon icon = ApplicationIcon();
    QCOMPARE(icon.availableSizes().size(), 6);
    QCOMPARE(icon.pixmap(48).toImage().pixelColor(24, 24).alpha(), 255);
  }

  void iconSetDrawsTheSkinsIconsAtBothSizes() {
    const IconSet icons({QStringLiteral("close.png"), QStringLiteral("missing.png")});
    QVERIFY(!icons.Has(QStringLiteral("missing.png")));
    for (const int side : {16, 32}) {
      QImage canvas(side, side, QImage::Format_ARGB32_Premultiplied);
      canvas.fill(Qt::transparent);
      QPainter painter(&canvas);
      icons.Draw(painter, QStringLiteral("close.png"), canvas.rect());
      painter.end();
      int drawn = 0;
      for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) drawn += canvas.pixelColor(x, y).alpha() > 128;
      }
      QVERIFY(drawn > 0);
    }
  }

 private:
  test::TempHome home_;
};

// The look at 1x and 2x: logo, a media title, the pin on.
class TitleBarGoldenTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { test::LoadEnglish(); }
  void cleanup() { DpiScale = 1.0f; }

  void looksAsDesigned_data() {
    QTest::addColumn<float>("scale");
    QTest::addColumn<QString>("golden");
    QTest::newRow("1x") << 1.0f << QStringLiteral("chrome/golden/title_bar_1x.png");
    QTest::newRow("2x") << 2.0f << QStringLiteral("chrome/golden/title_bar_2x.png");
  }
  void looksAsDesigned() {
    QFETCH(float, scale);
    QFETCH(QString, golden);
    DpiScale = scale;
    TitleBarFixture f(Scaled(800));
    f.bar->SetTitles(QStringLiteral("Harbour at dusk (2019).mkv"), QString());
    f.bar->SetAlwaysOnTop(true);
    const QImage shot = f.bar->grab().toImage();
    QCOMPARE(shot.size(), QSize(Scaled(800), Scaled(32)));
    QString why;
    QVERIFY2(test::MatchesGolden(shot, golden, &why), qPrintable(why));
  }

 private:
  test::TempHome home_;
};

}  // namespace zelvaro::chrome

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  app.setAttribute(Qt::AA_Use96Dpi, true);  // as QTEST_MAIN sets it
  QStringList args = app.arguments();
  if (args.size() > 1 && args[1] == QLatin1String("golden")) {
    args.removeAt(1);
    zelvaro::chrome::TitleBarGoldenTest golden;
    return QTest::qExec(&golden, args);
  }
  zelvaro::chrome::TitleBarWindowTest behaviour;
  return QTest::qExec(&behaviour, args);
}

#include "title_bar_window_test.moc"
