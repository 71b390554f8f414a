#include "app/osd_overlay.h"

#include "foundation/language_manager.h"

#include <QEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace zelvaro {
namespace {

OsdOverlay* g_osdOverlay = nullptr;

constexpr int kShadowAlpha = 180;
constexpr int kShadowOffset = 2;
// Room around the line's box for antialiasing and overhanging glyphs.
constexpr int kMaskMargin = 4;

}  // namespace

OsdOverlay* CurrentOsdOverlay() { return g_osdOverlay; }

void ShowOsd(const QString& text, int durationMs) {
  if (g_osdOverlay != nullptr) g_osdOverlay->Show(text, durationMs);
}

OsdOverlay::OsdOverlay(QWidget* anchor) : QWidget(anchor), anchor_(anchor) {
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setAttribute(Qt::WA_NoSystemBackground);
  setAttribute(Qt::WA_TranslucentBackground);
  setFocusPolicy(Qt::NoFocus);
  clockStart_.start();
  if (anchor_ != nullptr) anchor_->installEventFilter(this);
  FollowAnchor();
  hide();
  g_osdOverlay = this;
}

OsdOverlay::~OsdOverlay() {
  if (g_osdOverlay == this) g_osdOverlay = nullptr;
}

qint64 OsdOverlay::Now() const { return clock_ ? clock_() : clockStart_.elapsed(); }

void OsdOverlay::Show(const QString& text, int durationMs) {
  text_ = text;
  holdMs_ = durationMs;
  startMs_ = Now();
  opacity_ = 1.0f;
  visible_ = true;
  if (anchor_ == nullptr) return;
  FollowAnchor();
  // Only the line's own box is painted: on the OpenGL path the renderer
  // draws this widget over the picture and keeps that to the mask.
  const QFont font = Font();
  const QRectF line = QFontMetricsF(font).boundingRect(text_).translated(textX_, Baseline(font));
  setMask(QRegion(line.united(line.translated(kShadowOffset, kShadowOffset))
                      .toAlignedRect()
                      .adjusted(-kMaskMargin, -kMaskMargin, kMaskMargin, kMaskMargin)));
  raise();
  show();
  update();
}

void OsdOverlay::OsdTick() {
  if (!visible_) return;
  const qint64 elapsed = Now() - startMs_;
  if (elapsed < holdMs_ + fadeMs_) {
    float target = opacity_;
    if (elapsed >= holdMs_) {
      target = std::max(0.0f, 1.0f - static_cast<float>(elapsed - holdMs_) / fadeMs_);
    }
    // Re-render at most once for each 1% of opacity.
    if (std::fabs(target - opacity_) > 0.01f) {
      opacity_ = target;
      update();
    }
    FollowAnchor();
    return;
  }
  visible_ = false;
  text_.clear();
  hide();
}

void OsdOverlay::FollowAnchor() {
  if (anchor_ != nullptr && geometry() != anchor_->rect()) setGeometry(anchor_->rect());
}

bool OsdOverlay::eventFilter(QObject* watched, QEvent* event) {
  if (watched == anchor_ && (event->type() == QEvent::Resize || event->type() == QEvent::Show)) {
    FollowAnchor();
    if (visible_) raise();
  }
  return QWidget::eventFilter(watched, event);
}

QFont OsdOverlay::Font() const {
  QFont font(LanguageManager::GetString(u"App.FontName"));
  font.setBold(true);
  font.setPixelSize(static_cast<int>(fontSize_));
  return font;
}

// The text stands at a point, unwrapped; its top is at textY.
qreal OsdOverlay::Baseline(const QFont& font) const {
  return textY_ + QFontMetricsF(font).ascent();
}

void OsdOverlay::paintEvent(QPaintEvent*) {
  if (text_.isEmpty() || width() <= 0 || height() <= 0) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::TextAntialiasing);
  const QFont font = Font();
  painter.setFont(font);
  const qreal baseline = Baseline(font);
  painter.setPen(QColor(0, 0, 0, static_cast<int>(opacity_ * kShadowAlpha)));
  painter.drawText(QPointF(textX_ + kShadowOffset, baseline + kShadowOffset), text_);
  painter.setPen(QColor(255, 255, 255, static_cast<int>(opacity_ * 255)));
  painter.drawText(QPointF(textX_, baseline), text_);
}

}  // namespace zelvaro
