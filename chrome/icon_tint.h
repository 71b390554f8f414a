#pragma once
// The chrome's icons are white shapes on transparency, coloured when drawn:
// each colour channel is multiplied by the tint's, alpha is kept. Pure image
// work, callable from any thread.

#include <QColor>
#include <QImage>

namespace zelvaro::chrome {

// `icon` tinted, as premultiplied ARGB32; a null image stays null.
QImage TintedImage(const QImage& icon, const QColor& tint);

}  // namespace zelvaro::chrome
