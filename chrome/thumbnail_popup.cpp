#include "chrome/thumbnail_popup.h"

#include "app/dpi.h"
#include "app/osd_formats.h"
#include "chrome/chrome_paint.h"
#include "chrome/chrome_palette.h"
#include "chrome/popup_placement.h"
#include "chrome/tooltip_window.h"

#include <QGuiApplication>
#include <QPainter>

namespace zelvaro::chrome {
namespace {

constexpr int kFontHeight = 14;
constexpr int kBorder = 2;   // picture inset left, right and top
constexpr int kTextGap = 4;  // from the picture's bottom
constexpr int kExtraWidth = 4;
constexpr int kExtraHeight = 24;  // the picture's inset and the time line

}  // namespace

ThumbnailPopup::ThumbnailPopup(QWidget* owner)
    : PassivePopup(owner), font_(DesignFont(Scaled(kFontHeight))) {}

void ThumbnailPopup::Prepare() {
  resize(kDefaultPictureWidth + Scaled(kExtraWidth), kDefaultPictureHeight + Scaled(kExtraHeight));
  winId();
  if (QGuiApplication::platformName() == QLatin1String("xcb")) {
    // Mapping a new X window the first time costs a frame or more; once
    // mapped, the next show is cheap. Elsewhere a popup cannot be put out of
    // sight, so it waits for the first hover.
    move(-10000, -10000);
    show();
    hide();
  }
  QImage scratch(size(), QImage::Format_ARGB32_Premultiplied);
  render(&scratch);
  QPainter painter(&scratch);
  painter.setFont(font_);
  painter.drawText(scratch.rect(), Qt::AlignCenter, QStringLiteral("0123456789:"));
}

void ThumbnailPopup::TakePicture(const QImage& picture, QSize pictureSize) {
  if (picture.isNull()) return;
  picture_ = picture;
  pictureWidth_ = pictureSize.width() < 1 ? kDefaultPictureWidth : pictureSize.width();
  pictureHeight_ = pictureSize.height() < 1 ? kDefaultPictureHeight : pictureSize.height();
}

void ThumbnailPopup::Place() {
  const QSize size(pictureWidth_ + Scaled(kExtraWidth), pictureHeight_ + Scaled(kExtraHeight));
  const QPoint topLeft =
      PreviewPopupPosition(anchor_.x(), anchor_.y(), size, WorkAreaAt(anchor_), DpiScale);
  const QRect target(topLeft, size);
  if (geometry() != target) setGeometry(target);
  if (!isVisible()) show();
  update();
}

void ThumbnailPopup::ShowAt(QPoint anchor, const QImage& picture, QSize pictureSize,
                            double durationSeconds, double fraction) {
  TakePicture(picture, pictureSize);
  anchor_ = anchor;
  duration_ = durationSeconds;
  fraction_ = fraction;
  Place();
}

void ThumbnailPopup::UpdatePicture(const QImage& picture, QSize pictureSize) {
  if (picture.isNull() || fraction_ < 0) return;
  TakePicture(picture, pictureSize);
  Place();
}

void ThumbnailPopup::Clear() {
  if (isVisible()) hide();
  picture_ = QImage();
  fraction_ = -1.0;
}

void ThumbnailPopup::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QRect all = rect();
  painter.fillRect(all, kPopupBackground);
  const int line = std::max(1, Scaled(1));
  painter.fillRect(QRect(0, 0, all.width(), line), kPopupFrame);
  painter.fillRect(QRect(0, all.height() - line, all.width(), line), kPopupFrame);
  painter.fillRect(QRect(0, 0, line, all.height()), kPopupFrame);
  painter.fillRect(QRect(all.width() - line, 0, line, all.height()), kPopupFrame);
  if (!picture_.isNull()) {
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRect target((all.width() - pictureWidth_) / 2, Scaled(kBorder), pictureWidth_,
                       pictureHeight_);
    painter.drawImage(target, picture_);
  }
  if (duration_ > 0 && fraction_ >= 0) {
    const int border = Scaled(kBorder);
    const int top = pictureHeight_ + Scaled(kTextGap);
    const QRect text(border, top, all.width() - 2 * border, all.height() - border - top);
    painter.setFont(font_);
    painter.setPen(kPopupText);
    painter.drawText(
        text, Qt::AlignCenter | Qt::TextSingleLine,
        FormatOsdTime(static_cast<double>(static_cast<long long>(duration_ * fraction_))));
  }
}

}  // namespace zelvaro::chrome
