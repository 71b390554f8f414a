// The player under a Wayland compositor: it plays a clip for three seconds,
// opens its context menu and the playlist panel, and ends cleanly, and Qt
// never complains of a window operation the compositor does not allow
// (placing top-level windows, activating them, grabbing without a serial),
// and the chrome's popups reach the screen.
// Run by run_wayland.sh inside a headless weston.

#include "app/messages.h"
#include "chrome/thumbnail_popup.h"
#include "chrome/toolbar_window.h"
#include "chrome/tooltip_window.h"
#include "engine/graph_manager.h"
#include "tests/app/shell_test_support.h"

#include <QGuiApplication>
#include <QMenu>

namespace zelvaro {
namespace {

QStringList& QtWarnings() {
  static QStringList warnings;
  return warnings;
}

void KeepWarnings(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (type != QtDebugMsg && type != QtInfoMsg) {
    QtWarnings() << QStringLiteral("%1: %2").arg(QLatin1String(context.category), message);
  }
  std::fprintf(stderr, "%s\n", qPrintable(message));
}

class WaylandSmokeTest : public QObject {
  Q_OBJECT
 private slots:
  void initTestCase() {
    if (QGuiApplication::platformName() != u"wayland") QSKIP("Not running on Wayland");
    qInstallMessageHandler(KeepWarnings);
  }

  void PlaysOpensMenuAndPanelAndExits() {
    test::TempHome home;
    MainWindow* window = test::StartPlayer();
    QVERIFY(window != nullptr);
    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("long_lowres.mp4"))));
    QTRY_VERIFY_WITH_TIMEOUT(window->graph()->GetPosition() >= 3.0, 20000);
    QCOMPARE(window->graph()->State(), 2);

    bool menuShown = false;
    QTimer closer;
    closer.setInterval(20);
    connect(&closer, &QTimer::timeout, [&] {
      if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
        if (!menu->isVisible() || menu->actions().isEmpty()) return;
        menuShown = true;
        menu->close();
      }
    });
    closer.start();
    window->ShowContextMenu(window->mapToGlobal(window->rect().center()));
    closer.stop();
    QVERIFY(menuShown);

    {
      // The chrome's passive popups: a tip and the seek bar's preview. Their
      // owner would delete them with itself: they go first.
      chrome::TooltipWindow tip(window->toolbar());
      tip.Show(window->toolbar()->mapToGlobal(window->toolbar()->rect().center()),
               QStringLiteral("Tip"));
      QVERIFY(QTest::qWaitForWindowExposed(&tip));
      chrome::ThumbnailPopup preview(window->toolbar());
      QImage picture(160, 90, QImage::Format_RGB32);
      picture.fill(Qt::darkCyan);
      preview.ShowAt(window->toolbar()->mapToGlobal(window->toolbar()->rect().center()), picture,
                     picture.size(), 10.0, 0.5);
      QVERIFY(QTest::qWaitForWindowExposed(&preview));
      tip.Hide();
      preview.Clear();
    }

    const QWidgetList before = QApplication::topLevelWidgets();
    window->OnPlayerMessage(WM_PLAYER_TOGGLE_PLAYLIST);
    // Whatever panel the toggle shows must reach the screen.
    for (QWidget* widget : QApplication::topLevelWidgets()) {
      if (widget != window && widget->isVisible() && !before.contains(widget)) {
        QVERIFY(QTest::qWaitForWindowExposed(widget));
      }
    }

    test::StopPlayer();
    QVERIFY2(QtWarnings().isEmpty(), qPrintable(QtWarnings().join(u'\n')));
  }
};

}  // namespace
}  // namespace zelvaro

QTEST_MAIN(zelvaro::WaylandSmokeTest)
#include "wayland_smoke_test.moc"
