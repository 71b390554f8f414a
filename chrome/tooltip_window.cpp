#include "chrome/tooltip_window.h"

#include "app/dpi.h"
#include "chrome/chrome_paint.h"
#include "chrome/chrome_palette.h"
#include "chrome/popup_placement.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>

namespace zelvaro::chrome {
namespace {

constexpr int kFontHeight = 18;
constexpr int kPadX = 6;
constexpr int kPadY = 3;

}  // namespace

QRect WorkAreaAt(QPoint point) {
  QScreen* screen = QGuiApplication::screenAt(point);
  if (screen == nullptr) {
    // Off every screen: the nearest one, by distance to its rectangle.
    int best = -1;
    for (QScreen* candidate : QGuiApplication::screens()) {
      const QRect g = candidate->geometry();
      const int dx = std::max({g.left() - point.x(), 0, point.x() - g.right()});
      const int dy = std::max({g.top() - point.y(), 0, point.y() - g.bottom()});
      const int distance = dx + dy;
      if (best < 0 || distance < best) {
        best = distance;
        screen = candidate;
      }
    }
  }
  return screen ? screen->availableGeometry() : QRect();
}

PassivePopup::PassivePopup(QWidget* owner)
    : QWidget(owner, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus) {
  setAttribute(Qt::WA_ShowWithoutActivating);
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setFocusPolicy(Qt::NoFocus);
}

TooltipWindow::TooltipWindow(QWidget* owner)
    : PassivePopup(owner), font_(DesignFont(Scaled(kFontHeight))) {
  resize(100, 30);
}

void TooltipWindow::Show(QPoint cursor, const QString& text) {
  if (text.isEmpty()) {
    Hide();
    return;
  }
  const bool changed = text != text_;
  text_ = text;
  const QFontMetrics metrics(font_);
  const QSize size(metrics.horizontalAdvance(text_) + 2 * Scaled(kPadX),
                   metrics.height() + 2 * Scaled(kPadY));
  const QPoint topLeft = TooltipPosition(cursor, size, WorkAreaAt(cursor), DpiScale);
  if (geometry() != QRect(topLeft, size)) setGeometry(QRect(topLeft, size));
  if (!isVisible()) show();
  shown_ = true;
  if (changed) update();
}

void TooltipWindow::Hide() {
  if (isVisible()) hide();
  shown_ = false;
}

void TooltipWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), kTooltipBackground);
  painter.setPen(kTooltipFrame);
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
  painter.setFont(font_);
  painter.setPen(kTooltipText);
  const QRect text = rect().adjusted(Scaled(kPadX), Scaled(kPadY), -Scaled(kPadX), -Scaled(kPadY));
  painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text_);
}

}  // namespace zelvaro::chrome
