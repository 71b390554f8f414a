#include "chrome/title_bar_window.h"

#include "app/commands.h"
#include "app/dpi.h"
#include "chrome/chrome_host.h"
#include "chrome/chrome_palette.h"
#include "chrome/tooltip_window.h"
#include "foundation/language_manager.h"

#include <QApplication>
#include <QCursor>
#include <QFontMetrics>
#include <QMouseEvent>
#include <QPainter>
#include <QWindow>

#include <cstdlib>

namespace zelvaro::chrome {
namespace {

constexpr int kFontHeight = 18;

// The product's name, a fixed text in every language.
const QString kAppTitle = QStringLiteral("Zelvaro");
const QString kTitleSeparator = QStringLiteral("  |  ");

const QString kLogo = QStringLiteral("mainwindow_logo.png");
const QString kPinOn = QStringLiteral("pin.png");
const QString kPinOff = QStringLiteral("pin_off.png");
const QString kMaximizeIcon = QStringLiteral("maximize.png");
const QString kRestoreIcon = QStringLiteral("restore.png");

QString FixedIcon(int button) {
  switch (button) {
    case kTitleBarMinimize:
      return QStringLiteral("minimize.png");
    case kTitleBarFullscreen:
      return QStringLiteral("fullscreen.png");
    case kTitleBarClose:
      return QStringLiteral("close.png");
    case kTitleBarSettings:
      return QStringLiteral("settings.png");
    default:
      return QString();
  }
}

Qt::CursorShape CursorFor(Qt::Edges edges) {
  if (edges == (Qt::TopEdge | Qt::LeftEdge)) return Qt::SizeFDiagCursor;
  if (edges == (Qt::TopEdge | Qt::RightEdge)) return Qt::SizeBDiagCursor;
  if (edges & Qt::TopEdge) return Qt::SizeVerCursor;
  return Qt::SizeHorCursor;
}

bool PastDragThreshold(QPoint from, QPoint to) {
  const int distance = QApplication::startDragDistance();
  return std::abs(to.x() - from.x()) > distance || std::abs(to.y() - from.y()) > distance;
}

}  // namespace

TitleBarWindow::TitleBarWindow(ChromeHost* host, QWidget* parent)
    : QWidget(parent),
      host_(host),
      tooltip_(new TooltipWindow(this)),
      icons_({kLogo, kPinOn, kPinOff, QStringLiteral("minimize.png"), kMaximizeIcon, kRestoreIcon,
              QStringLiteral("fullscreen.png"), QStringLiteral("close.png"),
              QStringLiteral("settings.png")}),
      font_(DesignFont(Scaled(kFontHeight))),
      appTitle_(kAppTitle) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setFocusPolicy(Qt::NoFocus);
  setFixedHeight(Scaled(kDesignHeight));
}

void TitleBarWindow::SetTitles(const QString& mediaTitle, const QString& extraTitle) {
  mediaTitle_ = mediaTitle;
  extraTitle_ = extraTitle;
  update();
}

void TitleBarWindow::SetFullscreen(bool on) {
  fullscreen_ = on;
  if (on) tooltip_->Hide();
  update();
}

void TitleBarWindow::SetAlwaysOnTop(bool on) {
  alwaysOnTop_ = on;
  QWidget* main = window();
  if (main != this) {
    if (QWindow* handle = main->windowHandle()) {
      // On the native window alone: a widget's flag change would hide the
      // window and make its native children (the OpenGL picture) anew.
      handle->setFlag(Qt::WindowStaysOnTopHint, on);
    } else {
      main->setWindowFlag(Qt::WindowStaysOnTopHint, on);
    }
  }
  update();
}

bool TitleBarWindow::MainWindowZoomed() const {
  return window()->isMaximized();
}

void TitleBarWindow::ToggleMaximize() {
  QWidget* main = window();
  if (MainWindowZoomed()) {
    Restore();
    return;
  }
  normalGeometry_ = main->isFullScreen() ? main->normalGeometry() : main->geometry();
  main->showMaximized();
  update();
}

void TitleBarWindow::Restore() {
  QWidget* main = window();
  if (!MainWindowZoomed()) return;
  // A window maximised before this bar saw it has only Qt's record.
  const QRect normal = normalGeometry_.isValid() ? normalGeometry_ : main->normalGeometry();
  main->showNormal();
  if (normal.isValid()) main->setGeometry(normal);
  update();
}

TitleBarLayout TitleBarWindow::Layout() const {
  return TitleBarGeometry(size(), DpiScale, icons_.Has(kLogo));
}

TitleBarWindow::TitleText TitleBarWindow::TitleTextLayout() const {
  const QFontMetrics metrics(font_);
  const QRect area = Layout().text;
  TitleText text;
  text.app = appTitle_;
  text.appX = area.left();
  const QString& second = extraTitle_.isEmpty() ? mediaTitle_ : extraTitle_;
  if (second.isEmpty()) return text;
  text.separator = kTitleSeparator;
  text.separatorX = text.appX + metrics.horizontalAdvance(text.app);
  text.secondX = text.separatorX + metrics.horizontalAdvance(text.separator);
  const int room = area.left() + area.width() - text.secondX;
  if (room > 0) text.second = metrics.elidedText(second, Qt::ElideRight, room);
  return text;
}

void TitleBarWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), kTitleBackground);
  const TitleBarLayout layout = Layout();
  if (!layout.logo.isEmpty()) icons_.Draw(painter, kLogo, layout.logo);

  const TitleText text = TitleTextLayout();
  const QRect area = layout.text;
  painter.save();
  painter.setClipRect(area);
  painter.setFont(font_);
  const int flags = Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine;
  auto drawFrom = [&](int x, const QString& part) {
    painter.drawText(QRect(x, area.top(), area.left() + area.width() - x, area.height()), flags,
                     part);
  };
  painter.setPen(kTitleText);
  drawFrom(text.appX, text.app);
  if (!text.separator.isEmpty()) {
    drawFrom(text.separatorX, text.separator);
    painter.setPen(kTitleMediaText);
    drawFrom(text.secondX, text.second);
  }
  painter.restore();

  for (int i = 0; i < kTitleBarButtonCount; ++i) PaintButton(painter, layout, i);
}

void TitleBarWindow::PaintButton(QPainter& painter, const TitleBarLayout& layout, int index) const {
  const bool close = index == kTitleBarClose;
  QColor fill;
  QColor tint = kTitleTintNormal;
  if (pressedButton_ == index) {
    fill = close ? kTitleClosePressedFill : kTitleButtonPressedFill;
    tint = close ? kTitleTintCloseOverFill : kTitleTintOverFill;
  } else if (hoverButton_ == index) {
    fill = close ? kTitleCloseHoverFill : kTitleButtonHoverFill;
    tint = close ? kTitleTintCloseOverFill : kTitleTintOverFill;
  }
  QString icon = FixedIcon(index);
  if (index == kTitleBarPin) {
    icon = alwaysOnTop_ ? kPinOn : kPinOff;
    if (alwaysOnTop_) tint = kTitlePinOnTint;
  } else if (index == kTitleBarMaximize) {
    icon = (MainWindowZoomed() || fullscreen_) ? kRestoreIcon : kMaximizeIcon;
  }
  if (fill.isValid()) painter.fillRect(layout.buttons[index], fill);
  icons_.Draw(painter, icon, layout.icons[index], tint);
}

Qt::Edges TitleBarWindow::ResizeEdgesAt(QPoint position) const {
  const QWidget* main = window();
  if (main == this || fullscreen_ || MainWindowZoomed()) return {};
  return TitleBarResizeEdges(mapTo(main, position), main->size(), DpiScale);
}

void TitleBarWindow::mousePressEvent(QMouseEvent* event) {
  tooltip_->Hide();
  const QPoint position = event->position().toPoint();
  if (event->button() == Qt::MiddleButton) {
    host_->ToggleFullscreen();
    return;
  }
  if (event->button() != Qt::LeftButton) return;

  // The main window's resize bands reach under the bar.
  if (const Qt::Edges edges = ResizeEdgesAt(position); edges && window()->windowHandle()) {
    window()->windowHandle()->startSystemResize(edges);
    return;
  }
  const int button = TitleBarButtonAt(Layout(), position);
  if (button >= 0) {
    pressedButton_ = button;
    update();
    return;
  }
  if (fullscreen_) return;
  dragStart_ = event->globalPosition().toPoint();
  if (MainWindowZoomed()) {
    pendingDrag_ = true;
    // Measured in the main window, so the bar's own place in it is kept.
    dragStartY_ = mapTo(window(), position).y();
  } else {
    // The system's move starts once the pointer really moves: started on
    // the press, it would swallow the release and with it a double click.
    moveArmed_ = true;
  }
}

void TitleBarWindow::mouseMoveEvent(QMouseEvent* event) {
  const QPoint position = event->position().toPoint();
  const QPoint global = event->globalPosition().toPoint();
  if (event->buttons() & Qt::LeftButton) {
    if (pendingDrag_) {
      if (PastDragThreshold(dragStart_, global)) DragOutOfMaximized(global);
      return;
    }
    if (moveArmed_) {
      if (PastDragThreshold(dragStart_, global)) {
        moveArmed_ = false;
        // From the press: the window keeps its place under the pointer.
        host_->BeginWindowMove(this, dragStart_);
      }
      return;
    }
  }
  if (event->buttons() == Qt::NoButton) {
    if (const Qt::Edges edges = ResizeEdgesAt(position)) {
      setCursor(CursorFor(edges));
    } else {
      unsetCursor();
    }
  }
  UpdateHover(position, global);
}

void TitleBarWindow::DragOutOfMaximized(QPoint global) {
  pendingDrag_ = false;
  QWidget* main = window();
  const QRect maximized = main->geometry();
  const QRect normal = normalGeometry_.isValid() ? normalGeometry_ : main->normalGeometry();
  const QSize size = normal.isValid() ? normal.size() : maximized.size() / 2;
  // The pointer keeps its relative place along the bar.
  const double along =
      maximized.width() > 0
          ? static_cast<double>(dragStart_.x() - maximized.left()) / maximized.width()
          : 0.5;
  const int x = global.x() - static_cast<int>(along * size.width());
  const int y = global.y() - dragStartY_;
  main->showNormal();
  main->setGeometry(QRect(QPoint(x, y), size));
  update();
  host_->BeginWindowMove(this, global);
}

void TitleBarWindow::mouseReleaseEvent(QMouseEvent* event) {
  const QPoint position = event->position().toPoint();
  if (event->button() == Qt::RightButton) {
    if (TitleBarButtonAt(Layout(), position) < 0) {
      host_->ShowContextMenuAt(event->globalPosition().toPoint());
    }
    return;
  }
  if (event->button() != Qt::LeftButton) return;
  moveArmed_ = false;
  if (pendingDrag_) {
    pendingDrag_ = false;
    return;
  }
  if (pressedButton_ < 0) return;
  const int pressed = pressedButton_;
  pressedButton_ = -1;
  update();
  if (TitleBarButtonAt(Layout(), position) == pressed) Act(pressed);
}

void TitleBarWindow::mouseDoubleClickEvent(QMouseEvent* event) {
  tooltip_->Hide();
  if (event->button() != Qt::LeftButton) return;
  // On a button the first click has acted; the second is nothing.
  const QPoint position = event->position().toPoint();
  if (TitleBarButtonAt(Layout(), position) >= 0 || ResizeEdgesAt(position)) return;
  if (fullscreen_) {
    host_->ToggleFullscreen();
  } else {
    ToggleMaximize();
  }
}

void TitleBarWindow::leaveEvent(QEvent*) {
  tooltip_->Hide();
  unsetCursor();
  if (hoverButton_ != -1) {
    hoverButton_ = -1;
    update();
  }
}

void TitleBarWindow::UpdateHover(QPoint position, QPoint global) {
  const int button = TitleBarButtonAt(Layout(), position);
  if (button != hoverButton_) {
    hoverButton_ = button;
    update();
    if (button < 0) tooltip_->Hide();
  }
  if (button >= 0 && !fullscreen_ && QApplication::mouseButtons() == Qt::NoButton) {
    tooltip_->Show(global, TooltipText(button));
  }
}

void TitleBarWindow::RefreshTexts() {
  if (tooltip_->IsShown() && hoverButton_ >= 0) {
    tooltip_->Show(QCursor::pos(), TooltipText(hoverButton_));
  }
  update();
}

QString TitleBarWindow::TooltipText(int button) const {
  switch (button) {
    case kTitleBarPin:
      return LanguageManager::GetString(alwaysOnTop_ ? u"TitleBar.AlwaysOnTopOff"
                                                     : u"TitleBar.AlwaysOnTop");
    case kTitleBarMinimize:
      return LanguageManager::GetString(u"TitleBar.Minimize");
    case kTitleBarMaximize:
      return LanguageManager::GetString((MainWindowZoomed() || fullscreen_) ? u"TitleBar.Restore"
                                                                            : u"TitleBar.Maximize");
    case kTitleBarFullscreen:
      return LanguageManager::GetString(u"TitleBar.Fullscreen");
    case kTitleBarClose:
      return LanguageManager::GetString(u"TitleBar.Close");
    case kTitleBarSettings:
      return LanguageManager::GetString(u"TitleBar.Settings");
    default:
      return QString();
  }
}

void TitleBarWindow::Act(int button) {
  QWidget* main = window();
  switch (button) {
    case kTitleBarPin:
      SetAlwaysOnTop(!alwaysOnTop_);
      break;
    case kTitleBarMinimize:
      main->showMinimized();
      break;
    case kTitleBarMaximize:
      if (fullscreen_) {
        host_->ToggleFullscreen();
      } else {
        ToggleMaximize();
      }
      break;
    case kTitleBarFullscreen:
      host_->ToggleFullscreen();
      break;
    case kTitleBarClose:
      main->close();
      break;
    case kTitleBarSettings:
      host_->SendCommand(ID_SETTINGS);
      break;
    default:
      break;
  }
}

}  // namespace zelvaro::chrome
