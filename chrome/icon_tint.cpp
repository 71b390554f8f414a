#include "chrome/icon_tint.h"

namespace zelvaro::chrome {

QImage TintedImage(const QImage& icon, const QColor& tint) {
  if (icon.isNull()) return {};
  QImage image = icon.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  // Premultiplied channels scale the same way as straight ones: c·t/255.
  const uint r = static_cast<uint>(tint.red());
  const uint g = static_cast<uint>(tint.green());
  const uint b = static_cast<uint>(tint.blue());
  for (int y = 0; y < image.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      const QRgb p = line[x];
      line[x] = qRgba(static_cast<int>(qRed(p) * r / 255), static_cast<int>(qGreen(p) * g / 255),
                      static_cast<int>(qBlue(p) * b / 255), qAlpha(p));
    }
  }
  return image;
}

}  // namespace zelvaro::chrome
