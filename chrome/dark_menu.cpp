#include "chrome/dark_menu.h"

#include "app/dpi.h"
#include "chrome/chrome_palette.h"

#include <QApplication>
#include <QEvent>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QStyleOptionMenuItem>

#include <memory>

namespace zelvaro::chrome {
namespace {

// Gives every QMenu the dark style before its first layout.
class MenuStyler : public QObject {
 public:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::Polish) {
      if (auto* menu = qobject_cast<QMenu*>(watched); menu && menu->style() != &style_) {
        menu->setStyle(&style_);
      }
    }
    return false;
  }
  DarkMenuStyle* style() { return &style_; }

 private:
  DarkMenuStyle style_;
};

std::unique_ptr<MenuStyler>& Styler() {
  static std::unique_ptr<MenuStyler> styler;
  return styler;
}

void DrawCheck(QPainter* painter, const QRect& box, const QColor& color) {
  QPainterPath path;
  path.moveTo(box.left() + box.width() * 0.22, box.top() + box.height() * 0.52);
  path.lineTo(box.left() + box.width() * 0.42, box.top() + box.height() * 0.72);
  path.lineTo(box.left() + box.width() * 0.78, box.top() + box.height() * 0.30);
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setPen(
      QPen(color, std::max(1.5, box.width() / 8.0), Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
  painter->drawPath(path);
  painter->restore();
}

void DrawArrow(QPainter* painter, const QRect& box, const QColor& color) {
  const double half = box.height() / 5.0;
  const QPointF centre = QRectF(box).center();
  QPainterPath path;
  path.moveTo(centre.x() - half / 2, centre.y() - half);
  path.lineTo(centre.x() + half / 2, centre.y());
  path.lineTo(centre.x() - half / 2, centre.y() + half);
  path.closeSubpath();
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setPen(Qt::NoPen);
  painter->setBrush(color);
  painter->drawPath(path);
  painter->restore();
}

void DrawFrame(QPainter* painter, const QRect& rect) {
  painter->save();
  painter->setPen(kMenuFrameLight);
  painter->drawLine(rect.topLeft(), rect.topRight());
  painter->drawLine(rect.topLeft(), rect.bottomLeft());
  painter->setPen(kMenuFrameDark);
  painter->drawLine(rect.topRight(), rect.bottomRight());
  painter->drawLine(rect.bottomLeft(), rect.bottomRight());
  painter->restore();
}

int MenuItemHeight() {
  return Scaled(DarkMenuStyle::kMenuItemHeight);
}

}  // namespace

void InstallDarkMenus() {
  if (Styler() || qApp == nullptr) return;
  Styler() = std::make_unique<MenuStyler>();
  qApp->installEventFilter(Styler().get());
}

void RemoveDarkMenus() {
  if (!Styler()) return;
  qApp->removeEventFilter(Styler().get());
  // Menus still alive go back to the application's style before ours goes.
  for (QWidget* widget : QApplication::allWidgets()) {
    if (widget->style() == Styler()->style()) widget->setStyle(nullptr);
  }
  Styler().reset();
}

DarkMenuStyle::DarkMenuStyle() : QProxyStyle() {}

int DarkMenuStyle::ItemHeight() {
  return static_cast<int>(MenuItemHeight() * 1.2);
}

QStringList DarkMenuStyle::DrawnParts(const QString& text) {
  QString plain = text;
  plain.remove(u'&');
  QStringList parts = plain.split(u'\t');
  while (parts.size() > 2) parts.removeLast();
  return parts;
}

void DarkMenuStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                  QPainter* painter, const QWidget* widget) const {
  switch (element) {
    case PE_PanelMenu:
      painter->fillRect(option->rect, kMenuBackground);
      DrawFrame(painter, option->rect);
      return;
    case PE_FrameMenu:
      DrawFrame(painter, option->rect);
      return;
    default:
      QProxyStyle::drawPrimitive(element, option, painter, widget);
  }
}

void DarkMenuStyle::drawControl(ControlElement element, const QStyleOption* option,
                                QPainter* painter, const QWidget* widget) const {
  if (element == CE_MenuEmptyArea || element == CE_MenuTearoff || element == CE_MenuScroller) {
    painter->fillRect(option->rect, kMenuBackground);
    return;
  }
  const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
  if (element != CE_MenuItem || item == nullptr) {
    QProxyStyle::drawControl(element, option, painter, widget);
    return;
  }
  const QRect rect = item->rect;
  painter->save();
  if (item->menuItemType == QStyleOptionMenuItem::Separator) {
    painter->fillRect(rect, kMenuBackground);
    const int y = rect.top() + rect.height() / 2 - 1;
    const int left = rect.left() + MenuItemHeight();
    const int right = rect.right() - kTextRightInset;
    painter->setPen(kMenuSeparatorLight);
    painter->drawLine(left, y, right, y);
    painter->setPen(kMenuSeparatorDark);
    painter->drawLine(left, y + 1, right, y + 1);
    painter->restore();
    return;
  }
  const bool enabled = item->state & State_Enabled;
  const bool selected = item->state & State_Selected;
  QColor text = kMenuText;
  if (!enabled) {
    // A greyed row keeps the plain background under the pointer.
    painter->fillRect(rect, kMenuBackground);
    text = kMenuTextDisabled;
  } else if (selected) {
    painter->fillRect(rect, kMenuSelection);
    text = kMenuTextSelected;
  } else {
    painter->fillRect(rect, kMenuBackground);
  }
  const int checkWidth = Scaled(kCheckWidth);
  const int checkHeight = Scaled(kCheckHeight);
  const int glyphTop = rect.top() + (rect.height() - checkHeight) / 2;
  if (item->checkType != QStyleOptionMenuItem::NotCheckable && item->checked) {
    DrawCheck(painter, QRect(rect.left(), glyphTop, checkWidth, checkHeight), text);
  }
  if (item->menuItemType == QStyleOptionMenuItem::SubMenu) {
    DrawArrow(painter, QRect(rect.right() + 1 - checkWidth, glyphTop, checkWidth, checkHeight),
              text);
  }
  const QStringList parts = DrawnParts(item->text);
  const QRect textRect = rect.adjusted(MenuItemHeight(), 0, -kTextRightInset, 0);
  painter->setFont(item->font);
  painter->setPen(text);
  painter->drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                    parts.value(0));
  if (parts.size() > 1) {
    // Clear of the submenu arrow.
    painter->drawText(textRect.adjusted(0, 0, -checkWidth, 0),
                      Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, parts[1]);
  }
  painter->restore();
}

QSize DarkMenuStyle::sizeFromContents(ContentsType type, const QStyleOption* option,
                                      const QSize& size, const QWidget* widget) const {
  const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
  if (type != CT_MenuItem || item == nullptr) {
    return QProxyStyle::sizeFromContents(type, option, size, widget);
  }
  if (item->menuItemType == QStyleOptionMenuItem::Separator) {
    return QSize(Scaled(kSeparatorWidth), Scaled(kSeparatorHeight));
  }
  // QMenu adds the width of the text after a tab on its own.
  const QStringList parts = DrawnParts(item->text);
  const QFontMetrics metrics(item->font);
  int width = metrics.horizontalAdvance(parts.value(0)) + 4 * Scaled(kCheckWidth);
  if (parts.size() > 1 || item->text.contains(u'\t')) width += 2 * MenuItemHeight();
  return QSize(width, ItemHeight());
}

int DarkMenuStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                               const QWidget* widget) const {
  switch (metric) {
    case PM_MenuPanelWidth:
      return Scaled(kFrameWidth);
    case PM_MenuHMargin:
    case PM_MenuVMargin:
    case PM_MenuTearoffHeight:
      return 0;
    default:
      return QProxyStyle::pixelMetric(metric, option, widget);
  }
}

int DarkMenuStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                             QStyleHintReturn* returnData) const {
  switch (hint) {
    case SH_UnderlineShortcut:
      return 0;
    case SH_Menu_AllowActiveAndDisabled:
      return 0;
    default:
      return QProxyStyle::styleHint(hint, option, widget, returnData);
  }
}

}  // namespace zelvaro::chrome
