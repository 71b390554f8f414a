#include "app/screenshot.h"

#include "engine/frame_capture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace zelvaro {

QString ScreenshotFileName(const QString& currentPath, const QDateTime& localTime) {
  QString base = QStringLiteral("Screenshot");
  const qsizetype separator = std::max(currentPath.lastIndexOf(QLatin1Char('/')),
                                       currentPath.lastIndexOf(QLatin1Char('\\')));
  if (separator >= 0) {
    base = currentPath.mid(separator + 1);
    const qsizetype dot = base.lastIndexOf(QLatin1Char('.'));
    if (dot >= 0) base.truncate(dot);
  }
  return base + localTime.toString(QStringLiteral("_yyyyMMdd_HHmmss")) + QStringLiteral(".png");
}

QString ScreenshotFolder() {
  const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
  if (!pictures.isEmpty()) {
    const QString folder = pictures + QStringLiteral("/Zelvaro");
    if (QDir().mkpath(folder)) return folder + QLatin1Char('/');
  }
  return QCoreApplication::applicationDirPath() + QLatin1Char('/');
}

bool WriteScreenshot(const QImage& image, const QString& path, uint32_t format) {
  const CaptureResult bytes = EncodeBmp(image);
  if (!bytes) return false;
  if (format == 1) return SaveImageBytes(*bytes, path, QStringLiteral("image/jpeg"));
  if (format == 2) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(*bytes) == bytes->size();
  }
  return SaveImageBytes(*bytes, path, QStringLiteral("image/png"));
}

}  // namespace zelvaro
