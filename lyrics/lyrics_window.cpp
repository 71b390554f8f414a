#include "lyrics/lyrics_window.h"

#include "app/dpi.h"
#include "chrome/chrome_palette.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWheelEvent>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace zelvaro {
namespace {

constexpr int kNormalFontPx = 14;
constexpr int kBoldFontPx = 16;
constexpr int kSmallFontPx = 11;
constexpr int kLinePadding = 8;
constexpr int kMinWidth = 200;
constexpr int kMinHeight = 300;
// A stored place counts while this strip along its top is on some screen.
constexpr int kVisibleStripHeight = 30;
constexpr int kOffsetStepMs = 500;
constexpr int kWheelLines = 3;
constexpr int kThumbRadius = 4;
const QString kCloseIcon = QStringLiteral("close.png");

QFont PanelFont(int pixelSize, QFont::Weight weight) {
  QFont font(LanguageManager::GetString(u"App.FontName"));
  font.setPixelSize(std::max(1, pixelSize));
  font.setWeight(weight);
  return font;
}

bool ReadInt(QStringView name, int* value) {
  uint32_t stored = 0;
  if (!Settings::GetDword(name, &stored)) return false;
  *value = static_cast<int32_t>(stored);
  return true;
}

}  // namespace

LyricsWindow::LyricsWindow(QWidget* owner, std::function<void(double seconds)> seek)
    : QWidget(owner, Qt::Tool | Qt::FramelessWindowHint),
      seek_(std::move(seek)),
      icons_({kCloseIcon}) {
  setWindowTitle(QStringLiteral("Lyrics"));
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setMinimumSize(Scaled(kMinWidth), Scaled(kMinHeight));
  resize(Scaled(kDesignWidth), Scaled(kDesignHeight));
  RefreshFonts();
}

void LyricsWindow::RefreshFonts() {
  normalFont_ = PanelFont(Scaled(kNormalFontPx), QFont::Normal);
  boldFont_ = PanelFont(Scaled(kBoldFontPx), QFont::Bold);
  smallFont_ = PanelFont(Scaled(kSmallFontPx), QFont::Normal);
  lineHeight_ = QFontMetrics(normalFont_).height() + Scaled(kLinePadding);
  Settle();
  update();
}

LyricsPanelLayout LyricsWindow::Layout() const {
  LyricsPanelInput input;
  input.size = size();
  input.scale = DpiScale;
  input.lineHeight = lineHeight_;
  input.lineCount = static_cast<int>(data_.lines.size());
  input.scrollY = scrollY_;
  input.autoScroll = autoScroll_;
  input.currentLine = currentLine_;
  return LyricsPanelGeometry(input);
}

void LyricsWindow::Settle() {
  scrollY_ = Layout().scrollY;
}

QRect LyricsWindow::PlacementRect() const {
  int x = 0, y = 0, w = 0, h = 0;
  if (ReadInt(setting::kLyricsX, &x) && ReadInt(setting::kLyricsY, &y) &&
      ReadInt(setting::kLyricsW, &w) && ReadInt(setting::kLyricsH, &h) && w != 0 && h != 0) {
    const QRect strip(x, y, w, kVisibleStripHeight);
    for (const QScreen* screen : QGuiApplication::screens()) {
      if (screen->availableGeometry().intersects(strip)) return QRect(x, y, w, h);
    }
  }
  const QSize size(Scaled(kDesignWidth), Scaled(kDesignHeight));
  const QWidget* owner = parentWidget();
  if (owner == nullptr) return QRect(geometry().topLeft(), size);
  const QRect ownerRect = owner->frameGeometry();
  return QRect(QPoint(ownerRect.right() + 1, ownerRect.top()), size);
}

void LyricsWindow::Show(bool show) {
  if (!show) {
    if (isVisible()) SavePlacement();
    hide();
    return;
  }
  setGeometry(PlacementRect());
  QWidget::show();
  raise();
  activateWindow();
}

void LyricsWindow::Hide() {
  Show(false);
  Settings::SetDword(setting::kLyricsVisible, 0);
}

void LyricsWindow::SavePlacement() const {
  const QRect place = geometry();
  Settings::SetDword(setting::kLyricsX, static_cast<uint32_t>(place.x()));
  Settings::SetDword(setting::kLyricsY, static_cast<uint32_t>(place.y()));
  Settings::SetDword(setting::kLyricsW, static_cast<uint32_t>(place.width()));
  Settings::SetDword(setting::kLyricsH, static_cast<uint32_t>(place.height()));
}

void LyricsWindow::SetData(const LyricsData& data) {
  data_ = data;
  currentLine_ = -1;
  scrollY_ = 0;
  autoScroll_ = true;
  hotLine_ = -1;
  // The new lines are marked at once, not a timer tick later.
  SetPosition(positionMs_);
  Settle();
  update();
}

void LyricsWindow::Clear() {
  searching_ = false;
  SetData(LyricsData());
}

void LyricsWindow::SetSearching(bool searching) {
  if (searching_ == searching) return;
  searching_ = searching;
  update();
}

bool LyricsWindow::SetPosition(int64_t positionMs) {
  positionMs_ = positionMs;
  if (!data_.synced) return false;
  // A positive offset of the user's shows the lines later.
  const int line = LyricLineAt(data_.lines, positionMs - userOffsetMs_);
  if (line == currentLine_) return false;
  currentLine_ = line;
  Settle();
  update();
  return true;
}

QString LyricsWindow::OffsetText() const {
  return QStringLiteral("%1: %2s").arg(LanguageManager::GetString(u"Lyrics.Offset"),
                                       QString::asprintf("%+.1f", userOffsetMs_ / 1000.0));
}

void LyricsWindow::resizeEvent(QResizeEvent*) {
  Settle();
}

void LyricsWindow::paintEvent(QPaintEvent*) {
  const LyricsPanelLayout layout = Layout();
  QPainter painter(this);
  painter.fillRect(rect(), chrome::kLyricsBackground);

  // Title row.
  painter.fillRect(QRect(0, layout.title.bottom(), width(), 1), chrome::kLyricsFrame);
  painter.setFont(normalFont_);
  painter.setPen(chrome::kLyricsTitleText);
  const QRect titleText(layout.titleTextLeft, 0, layout.close.left() - layout.titleTextLeft,
                        layout.title.height());
  painter.drawText(titleText, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                   LanguageManager::GetString(u"Lyrics.Title"));
  icons_.Draw(painter, kCloseIcon, layout.close,
              closeHot_ ? chrome::kTintHovered : chrome::kTintNormal);

  PaintList(painter, layout);
  PaintBottom(painter, layout);

  painter.setPen(chrome::kLyricsFrame);
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void LyricsWindow::PaintList(QPainter& painter, const LyricsPanelLayout& layout) const {
  painter.save();
  painter.setClipRect(layout.list);
  if (data_.lines.empty()) {
    painter.setFont(normalFont_);
    painter.setPen(chrome::kLyricsEmptyText);
    painter.drawText(
        layout.list, Qt::AlignCenter | Qt::TextSingleLine,
        LanguageManager::GetString(searching_ ? u"Lyrics.Searching" : u"Lyrics.NoLyrics"));
    painter.restore();
    return;
  }
  // Only the rows in view are drawn.
  const int first = std::max(0, layout.scrollY / layout.lineHeight);
  const int last =
      std::min(layout.lineCount - 1, (layout.scrollY + layout.viewHeight) / layout.lineHeight);
  for (int i = first; i <= last; ++i) {
    const QRect row = LyricsLineRect(layout, i);
    QColor text = i < currentLine_ ? chrome::kLyricsPastText : chrome::kLyricsComingText;
    const QFont* font = &normalFont_;
    if (i == currentLine_) {
      painter.fillRect(row, chrome::kLyricsCurrentFill);
      text = chrome::kLyricsCurrentText;
      font = &boldFont_;
    } else if (i == hotLine_) {
      painter.fillRect(row, chrome::kLyricsHoverFill);
      text = chrome::kLyricsHoverText;
    }
    painter.setFont(*font);
    painter.setPen(text);
    const QString elided = QFontMetrics(*font).elidedText(data_.lines[static_cast<size_t>(i)].text,
                                                          Qt::ElideRight, row.width());
    painter.drawText(row, Qt::AlignCenter | Qt::TextSingleLine, elided);
  }
  if (layout.hasScrollBar) {
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);
    painter.setBrush(thumbDragging_ ? chrome::kLyricsThumbDragged
                     : thumbHot_    ? chrome::kLyricsThumbHot
                                    : chrome::kLyricsThumb);
    const qreal radius = Scaled(kThumbRadius);
    painter.drawRoundedRect(layout.thumb, radius, radius);
  }
  painter.restore();
}

void LyricsWindow::PaintBottom(QPainter& painter, const LyricsPanelLayout& layout) const {
  painter.fillRect(QRect(0, layout.bottom.top(), width(), 1), chrome::kLyricsFrame);
  painter.setFont(smallFont_);
  painter.setPen(chrome::kLyricsOffsetText);
  const QRect offsetText(layout.titleTextLeft, layout.bottom.top(),
                         std::max(0, layout.minus.left() - layout.titleTextLeft),
                         layout.bottom.height());
  painter.drawText(offsetText, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, OffsetText());
  const struct {
    int id;
    QRect rect;
    QString text;
  } buttons[] = {
      {kLyricsMinus, layout.minus, QStringLiteral("-")},
      {kLyricsPlus, layout.plus, QStringLiteral("+")},
      {kLyricsReset, layout.reset, LanguageManager::GetString(u"Lyrics.OffsetReset")},
  };
  for (const auto& button : buttons) {
    const QColor fill = pressedButton_ == button.id ? chrome::kLyricsButtonPressed
                        : hotButton_ == button.id   ? chrome::kLyricsButtonHot
                                                    : chrome::kLyricsButton;
    painter.fillRect(button.rect, fill);
    painter.setPen(chrome::kLyricsButtonFrame);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(button.rect.adjusted(0, 0, -1, -1));
    painter.setPen(chrome::kLyricsButtonText);
    painter.drawText(button.rect, Qt::AlignCenter | Qt::TextSingleLine, button.text);
  }
}

void LyricsWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const QPoint point = event->position().toPoint();
  const LyricsPanelLayout layout = Layout();
  const Qt::Edges edges = LyricsResizeEdges(size(), DpiScale, point);
  if (edges && windowHandle()) {
    windowHandle()->startSystemResize(edges);
    return;
  }
  if (layout.close.contains(point)) {
    closePressed_ = true;
  } else if (const LyricsPanelButton button = LyricsButtonAt(layout, point)) {
    pressedButton_ = button;
  } else if (layout.hasScrollBar && layout.thumb.contains(point)) {
    thumbDragging_ = true;
    dragStartY_ = point.y();
    dragStartScroll_ = scrollY_;
  } else if (layout.hasScrollBar && layout.track.adjusted(-1, 0, 1, 0).contains(point)) {
    // A click on the track pages one view towards it.
    autoScroll_ = false;
    const int page = point.y() < layout.thumb.top() ? -layout.viewHeight : layout.viewHeight;
    scrollY_ = std::clamp(scrollY_ + page, 0, layout.maxScrollY);
  } else if (layout.title.contains(point) && windowHandle()) {
    windowHandle()->startSystemMove();
    return;
  }
  update();
}

void LyricsWindow::mouseMoveEvent(QMouseEvent* event) {
  const QPoint point = event->position().toPoint();
  if (thumbDragging_) {
    autoScroll_ = false;
    scrollY_ = LyricsScrollForThumbDrag(Layout(), dragStartScroll_, point.y() - dragStartY_);
    update();
    return;
  }
  const Qt::Edges edges = LyricsResizeEdges(size(), DpiScale, point);
  if ((edges & Qt::LeftEdge && edges & Qt::TopEdge) ||
      (edges & Qt::RightEdge && edges & Qt::BottomEdge)) {
    setCursor(Qt::SizeFDiagCursor);
  } else if ((edges & Qt::RightEdge && edges & Qt::TopEdge) ||
             (edges & Qt::LeftEdge && edges & Qt::BottomEdge)) {
    setCursor(Qt::SizeBDiagCursor);
  } else if (edges & (Qt::LeftEdge | Qt::RightEdge)) {
    setCursor(Qt::SizeHorCursor);
  } else if (edges) {
    setCursor(Qt::SizeVerCursor);
  } else {
    unsetCursor();
  }
  UpdateHover(point);
}

void LyricsWindow::UpdateHover(QPoint point) {
  const LyricsPanelLayout layout = Layout();
  const bool closeHot = layout.close.contains(point);
  const int hotButton = LyricsButtonAt(layout, point);
  const bool thumbHot = layout.hasScrollBar && layout.thumb.contains(point);
  const int hotLine = LyricsLineAt(layout, point);
  if (closeHot == closeHot_ && hotButton == hotButton_ && thumbHot == thumbHot_ &&
      hotLine == hotLine_)
    return;
  closeHot_ = closeHot;
  hotButton_ = hotButton;
  thumbHot_ = thumbHot;
  hotLine_ = hotLine;
  update();
}

void LyricsWindow::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const QPoint point = event->position().toPoint();
  const LyricsPanelLayout layout = Layout();
  if (thumbDragging_) {
    thumbDragging_ = false;
  } else if (closePressed_) {
    closePressed_ = false;
    if (layout.close.contains(point)) {
      Hide();
      return;
    }
  } else if (pressedButton_ != kLyricsNoButton) {
    const int pressed = pressedButton_;
    pressedButton_ = kLyricsNoButton;
    if (LyricsButtonAt(layout, point) == pressed) {
      if (pressed == kLyricsMinus) userOffsetMs_ -= kOffsetStepMs;
      if (pressed == kLyricsPlus) userOffsetMs_ += kOffsetStepMs;
      if (pressed == kLyricsReset) userOffsetMs_ = 0;
      SetPosition(positionMs_);
    }
  } else if (const int line = LyricsLineAt(layout, point); line >= 0 && data_.synced) {
    const int64_t timeMs = data_.lines[static_cast<size_t>(line)].timeMs + userOffsetMs_;
    autoScroll_ = true;
    if (seek_) seek_(std::max(0.0, timeMs / 1000.0));
    Settle();
  }
  update();
}

void LyricsWindow::leaveEvent(QEvent*) {
  if (!closeHot_ && hotButton_ == kLyricsNoButton && !thumbHot_ && hotLine_ < 0) return;
  closeHot_ = false;
  hotButton_ = kLyricsNoButton;
  thumbHot_ = false;
  hotLine_ = -1;
  update();
}

void LyricsWindow::wheelEvent(QWheelEvent* event) {
  event->accept();
  if (data_.lines.empty()) return;
  const LyricsPanelLayout layout = Layout();
  autoScroll_ = false;
  const int delta = event->angleDelta().y();
  scrollY_ =
      std::clamp(scrollY_ - delta * layout.lineHeight * kWheelLines / 120, 0, layout.maxScrollY);
  // Back near the current line, the panel follows it again.
  if (currentLine_ >= 0) {
    const int lineCentre = currentLine_ * layout.lineHeight + layout.lineHeight / 2;
    if (std::abs(lineCentre - scrollY_ - layout.viewHeight / 2) < layout.viewHeight / 3)
      autoScroll_ = true;
  }
  Settle();
  UpdateHover(event->position().toPoint());
  update();
}

void LyricsWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    Hide();
    return;
  }
  QWidget::keyPressEvent(event);
}

}  // namespace zelvaro
