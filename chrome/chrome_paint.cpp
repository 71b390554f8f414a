#include "chrome/chrome_paint.h"

#include "chrome/icon_tint.h"
#include "foundation/app_paths.h"
#include "foundation/language_manager.h"

#include <QFileInfo>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QImageReader>
#include <QPaintDevice>
#include <QPainter>

#include <cmath>

namespace zelvaro::chrome {

QFont DesignFont(int cellHeight, int averageWidth) {
  QFont font(LanguageManager::GetString(u"App.FontName"));
  font.setWeight(QFont::Normal);
  // Measure the face once at a large size and scale, so the line height
  // lands on the designed cell whatever the face's proportions.
  constexpr int kProbe = 100;
  font.setPixelSize(kProbe);
  const QFontMetricsF probe(font);
  const qreal line = probe.ascent() + probe.descent();
  if (line > 0)
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(cellHeight * kProbe / line))));
  if (averageWidth > 0) {
    const qreal average = QFontMetricsF(font).averageCharWidth();
    if (average > 0)
      font.setStretch(std::clamp(static_cast<int>(averageWidth * 100 / average), 50, 200));
  }
  return font;
}

void WarmUpFontDatabase() {
  QFontDatabase::families();
}

QString IconDir() {
  return ResourceDir() + QStringLiteral("skins/default/Icons/");
}

QIcon ApplicationIcon() {
  QIcon icon;
  const QString dir = IconDir();
  for (const int side : {16, 32, 48, 64, 128, 256}) {
    const QString path = dir + QStringLiteral("zelvaro_%1.png").arg(side);
    if (QFileInfo::exists(path)) icon.addFile(path, QSize(side, side));
  }
  return icon;
}

namespace {

// The suffix names the format: left to guess, the reader would load and ask
// every image plugin first, a cost the first window to open would pay.
QImage ReadImage(const QString& path, const QByteArray& format) {
  QImageReader reader(path, format);
  reader.setAutoDetectImageFormat(format.isEmpty());
  return reader.read();
}

}  // namespace

const QImage& IconSet::Source::Doubled() const {
  if (!doubledRead) {
    doubled = ReadImage(doubledPath, format);
    doubledRead = true;
  }
  return doubled;
}

IconSet::IconSet(const QStringList& names) {
  const QString dir = IconDir();
  for (const QString& name : names) {
    Source source;
    const QFileInfo info(name);
    source.format = info.suffix().toLower().toLatin1();
    source.normal = ReadImage(dir + name, source.format);
    source.doubledPath = dir + info.completeBaseName() + QStringLiteral("@2x.") + info.suffix();
    if (!source.normal.isNull() || !source.Doubled().isNull()) sources_.insert(name, source);
  }
}

bool IconSet::Has(const QString& name) const {
  return sources_.contains(name);
}

void IconSet::Draw(QPainter& painter, const QString& name, const QRect& target,
                   const QColor& tint) const {
  const auto found = sources_.constFind(name);
  if (found == sources_.constEnd() || target.isEmpty()) return;
  const qreal ratio = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
  const int side = static_cast<int>(std::lround(target.width() * ratio));
  const QString key =
      QStringLiteral("%1|%2|%3").arg(name).arg(tint.isValid() ? tint.rgb() : 0u).arg(side);
  auto cached = drawn_.constFind(key);
  if (cached == drawn_.constEnd()) {
    // The larger source whenever the smaller would be enlarged.
    const QImage& normal = found->normal;
    const bool larger = normal.isNull() || side > normal.width();
    const QImage& source = larger && !found->Doubled().isNull() ? found->Doubled() : normal;
    QImage scaled = source.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    if (tint.isValid()) scaled = TintedImage(scaled, tint);
    QPixmap pixmap = QPixmap::fromImage(scaled);
    pixmap.setDevicePixelRatio(ratio);
    cached = drawn_.insert(key, pixmap);
  }
  const QSizeF logical = QSizeF(cached->size()) / ratio;
  const QPointF topLeft(target.x() + (target.width() - logical.width()) / 2.0,
                        target.y() + (target.height() - logical.height()) / 2.0);
  painter.drawPixmap(topLeft, *cached);
}

}  // namespace zelvaro::chrome
