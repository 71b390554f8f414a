#include "app/main_window.h"

#include "foundation/language_manager.h"

#include <QPainter>

namespace zelvaro {
namespace {
constexpr QColor kBackground{0x10, 0x10, 0x12};
constexpr QColor kCaption{0x80, 0x80, 0x88};
}  // namespace

MainWindow::MainWindow(QWidget* parent) : QWidget(parent) {
  setWindowTitle(QStringLiteral("Zelvaro"));
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumSize(320, 180);
  resize(960, 540);
}

void MainWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), kBackground);
  QFont font(LanguageManager::GetString(u"App.FontName"));
  font.setPixelSize(28);
  painter.setFont(font);
  painter.setPen(kCaption);
  painter.drawText(rect(), Qt::AlignCenter, QStringLiteral("Zelvaro"));
}

}  // namespace zelvaro
