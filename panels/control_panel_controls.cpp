#include "panels/control_panel_controls.h"

#include "app/dpi.h"
#include "chrome/chrome_palette.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace zelvaro::panels {
namespace {

// Design lengths of the slider's parts.
constexpr int kTrackHeight = 4;
constexpr int kThumbWidth = 8;
constexpr int kThumbHeight = 16;
constexpr int kTickHeight = 3;
constexpr int kTickCount = 11;  // both ends and every tenth between
constexpr int kCheckBoxSize = 12;
constexpr int kCheckGap = 6;

QPalette PanelPalette(const QPalette& base) {
  QPalette palette = base;
  for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
    palette.setColor(group, QPalette::Window, chrome::kPanelBackground);
    palette.setColor(group, QPalette::Base, chrome::kPanelEditBackground);
    palette.setColor(group, QPalette::WindowText, chrome::kPanelText);
    palette.setColor(group, QPalette::Text, chrome::kPanelText);
    palette.setColor(group, QPalette::ButtonText, chrome::kPanelText);
  }
  return palette;
}

}  // namespace

PanelSlider::PanelSlider(int minimum, int maximum, QWidget* parent)
    : QSlider(Qt::Horizontal, parent) {
  setRange(minimum, maximum);
  setSingleStep(1);
  setPageStep(std::max(1, (maximum - minimum) / 10));
  setFocusPolicy(Qt::StrongFocus);
}

QRect PanelSlider::ThumbRect(int value) const {
  const int thumbWidth = Scaled(kThumbWidth);
  const int thumbHeight = std::min(Scaled(kThumbHeight), height());
  const int span = std::max(1, width() - thumbWidth);
  const int range = std::max(1, maximum() - minimum());
  const int left = static_cast<int>(static_cast<int64_t>(value - minimum()) * span / range);
  return QRect(left, (height() - thumbHeight) / 2, thumbWidth, thumbHeight);
}

int PanelSlider::ValueAt(int x) const {
  const int thumbWidth = Scaled(kThumbWidth);
  const int span = std::max(1, width() - thumbWidth);
  const int offset = std::clamp(x - thumbWidth / 2, 0, span);
  return minimum() +
         static_cast<int>((static_cast<int64_t>(offset) * (maximum() - minimum()) + span / 2) /
                          span);
}

void PanelSlider::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), chrome::kPanelBackground);
  const QRect thumb = ThumbRect(value());
  const int trackHeight = Scaled(kTrackHeight);
  const int trackTop = (height() - trackHeight) / 2;
  const int half = thumb.width() / 2;
  const QRect track(half, trackTop, width() - 2 * half, trackHeight);
  painter.fillRect(track, chrome::kPanelSliderTrack);
  painter.fillRect(QRect(track.left(), trackTop, thumb.center().x() - track.left(), trackHeight),
                   isEnabled() ? chrome::kPanelSliderFilled : chrome::kPanelSliderTicks);
  const int tickHeight = Scaled(kTickHeight);
  for (int tick = 0; tick < kTickCount; ++tick) {
    const int x = track.left() + tick * (track.width() - 1) / (kTickCount - 1);
    painter.fillRect(QRect(x, height() - tickHeight, 1, tickHeight), chrome::kPanelSliderTicks);
  }
  painter.fillRect(thumb,
                   isSliderDown() || hasFocus() ? chrome::kPanelTextSelected : chrome::kPanelText);
}

void PanelSlider::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QSlider::mousePressEvent(event);
  // A press anywhere on the track takes the thumb there and drags it on.
  setSliderDown(true);
  setValue(ValueAt(event->position().toPoint().x()));
  event->accept();
}

void PanelSlider::mouseMoveEvent(QMouseEvent* event) {
  if (!isSliderDown()) return QSlider::mouseMoveEvent(event);
  setValue(ValueAt(event->position().toPoint().x()));
  event->accept();
}

void PanelSlider::mouseReleaseEvent(QMouseEvent* event) {
  if (!isSliderDown()) return QSlider::mouseReleaseEvent(event);
  setSliderDown(false);
  update();
  event->accept();
}

PanelButton::PanelButton(const QString& text, QWidget* parent) : QPushButton(text, parent) {
  setFocusPolicy(Qt::NoFocus);
}

void PanelButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), isDown() ? chrome::kPanelButtonPushed : chrome::kPanelButtonFace);
  painter.setPen(chrome::kControlPanelBorder);
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
  painter.setFont(font());
  painter.setPen(hovered_ ? chrome::kPanelTextSelected : chrome::kPanelText);
  painter.drawText(rect(), Qt::AlignCenter, text());
}

void PanelButton::enterEvent(QEnterEvent* event) {
  hovered_ = true;
  update();
  QPushButton::enterEvent(event);
}

void PanelButton::leaveEvent(QEvent* event) {
  hovered_ = false;
  update();
  QPushButton::leaveEvent(event);
}

PanelCheckBox::PanelCheckBox(const QString& text, QWidget* parent) : QCheckBox(text, parent) {
  setFocusPolicy(Qt::NoFocus);
}

void PanelCheckBox::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), chrome::kPanelBackground);
  const int box = Scaled(kCheckBoxSize);
  const QRect boxRect(0, (height() - box) / 2, box, box);
  painter.fillRect(boxRect, chrome::kPanelEditBackground);
  painter.setPen(chrome::kControlPanelBorder);
  painter.drawRect(boxRect.adjusted(0, 0, -1, -1));
  const QColor text = isEnabled() ? chrome::kPanelText : chrome::kControlPanelBorder;
  if (isChecked()) {
    painter.fillRect(boxRect.adjusted(box / 4, box / 4, -box / 4, -box / 4),
                     isEnabled() ? chrome::kPanelSliderFilled : chrome::kControlPanelBorder);
  }
  painter.setFont(font());
  painter.setPen(text);
  painter.drawText(rect().adjusted(box + Scaled(kCheckGap), 0, 0, 0),
                   Qt::AlignLeft | Qt::AlignVCenter, this->text());
}

bool PanelCheckBox::hitButton(const QPoint& pos) const {
  return rect().contains(pos);
}

QLabel* MakePanelLabel(const QString& text, Qt::Alignment alignment, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setAlignment(alignment | Qt::AlignVCenter);
  label->setPalette(PanelPalette(label->palette()));
  return label;
}

QLineEdit* MakePanelEdit(const QString& text, QWidget* parent) {
  auto* edit = new QLineEdit(text, parent);
  edit->setReadOnly(true);
  edit->setAlignment(Qt::AlignCenter);
  // A sheet rather than a palette: the style's frame would ignore the
  // border colour.
  edit->setStyleSheet(
      QStringLiteral("QLineEdit { background: %1; color: %2; border: 1px solid %3; }")
          .arg(chrome::kPanelEditBackground.name(), chrome::kPanelText.name(),
               chrome::kControlPanelBorder.name()));
  return edit;
}

}  // namespace zelvaro::panels
