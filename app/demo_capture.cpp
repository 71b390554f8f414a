#include "app/demo_capture.h"

#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
#include <QWidget>

#include <cstdio>

namespace zelvaro {

void ArmDemoCapture(QWidget& window) {
  const QString target = qEnvironmentVariable("ZELVARO_DEMO_SCREENSHOT");
  if (target.isEmpty()) return;
  bool ok = false;
  int seconds = qEnvironmentVariableIntValue("ZELVARO_DEMO_SECONDS", &ok);
  if (!ok || seconds <= 0) seconds = 4;
  QTimer::singleShot(seconds * 1000, &window, [&window, target] {
    // Grab what the screen shows, so OpenGL content and overlays are
    // included, and the panels beside the window (lyrics, playlist) too.
    // Wayland lets no client read the screen: there the window paints itself.
    QRect area(window.mapToGlobal(QPoint(0, 0)), window.size());
    for (const QWidget* panel : window.findChildren<QWidget*>()) {
      if (panel->isWindow() && panel->isVisible()) area |= panel->frameGeometry();
    }
    QScreen* screen = window.screen();
    if (screen != nullptr) area &= screen->geometry();
    QPixmap shot = screen != nullptr && QGuiApplication::platformName() != u"wayland"
                       ? screen->grabWindow(0, area.x(), area.y(), area.width(), area.height())
                       : QPixmap();
    if (shot.isNull()) shot = window.grab();
    const bool saved = shot.save(target, "PNG");
    std::fprintf(stderr, "%s %s\n", saved ? "Screenshot saved to" : "Could not save screenshot to",
                 qPrintable(target));
    QApplication::exit(saved ? 0 : 1);
  });
}

}  // namespace zelvaro
