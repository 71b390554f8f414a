#include "subtitles/cue_painter.h"

#include "foundation/trace.h"
#include "subtitles/subtitle_style.h"

#include <QCoreApplication>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <algorithm>

namespace zelvaro {

namespace {

constexpr int kSideMargin = 20;
constexpr int kBottomMargin = 20;
constexpr QRgb kShadowColour = 0x202020;

}  // namespace

bool DrawCueText(const QString& text, const SubPicDesc& target, SubPicRect* bbox) {
  if (text.isEmpty() || target.Data == nullptr || target.Width <= 2 * kSideMargin ||
      target.Height <= kBottomMargin)
    return false;
  if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) == nullptr) {
    ZELVARO_TRACE_FIRST(1, "Cue drawing needs a QGuiApplication; nothing drawn");
    return false;
  }

  // Drawn on black and copied where not black, so black means transparent:
  // the black outline shows only where it covers the shadow.
  QImage canvas(target.Width, target.Height, QImage::Format_RGB32);
  if (canvas.isNull()) return false;
  canvas.fill(Qt::black);

  const int fontHeight = std::max(target.Height / 20, 16);
  QFont font;
  font.setFamilies({QStringLiteral("Malgun Gothic"), QString::fromLatin1(kSubtitleFallbackFamily)});
  font.setPixelSize(fontHeight);
  font.setWeight(QFont::Bold);

  const int flags = Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap;
  QPainter painter(&canvas);
  painter.setFont(font);
  const QRect area(kSideMargin, 0, target.Width - 2 * kSideMargin, target.Height - kBottomMargin);
  const QRect measured = painter.boundingRect(area, flags, text);
  QRect box = area;
  box.setTop(area.bottom() + 1 - measured.height());

  const int shadowOffset = std::max(fontHeight / 12, 2);
  painter.setPen(QColor::fromRgb(kShadowColour));
  painter.drawText(box.translated(shadowOffset, shadowOffset), flags, text);
  const int radius = std::clamp(fontHeight / 20, 1, 3);
  painter.setPen(Qt::black);
  for (int dy = -radius; dy <= radius; ++dy)
    for (int dx = -radius; dx <= radius; ++dx)
      if (dx != 0 || dy != 0) painter.drawText(box.translated(dx, dy), flags, text);
  painter.setPen(Qt::white);
  painter.drawText(box, flags, text);
  painter.end();

  bool drawn = false;
  for (int y = 0; y < target.Height; ++y) {
    const auto* source = reinterpret_cast<const QRgb*>(canvas.constScanLine(y));
    uint8_t* row = target.Data + static_cast<ptrdiff_t>(y) * target.Pitch;
    for (int x = 0; x < target.Width; ++x) {
      const QRgb colour = source[x] & 0x00FFFFFF;
      if (colour == 0) continue;
      uint8_t* pixel = row + x * 4;
      pixel[0] = static_cast<uint8_t>(qBlue(colour));
      pixel[1] = static_cast<uint8_t>(qGreen(colour));
      pixel[2] = static_cast<uint8_t>(qRed(colour));
      pixel[3] = 255;
      bbox->Left = std::min(bbox->Left, x);
      bbox->Top = std::min(bbox->Top, y);
      bbox->Right = std::max(bbox->Right, x + 1);
      bbox->Bottom = std::max(bbox->Bottom, y + 1);
      drawn = true;
    }
  }
  return drawn;
}

}  // namespace zelvaro
