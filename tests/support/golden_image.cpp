#include "tests/support/golden_image.h"

#include <QDir>
#include <QFileInfo>

#include <cstdlib>

namespace zelvaro::test {

bool MatchesGolden(const QImage& actual, const QString& relativePath, QString* why,
                   GoldenTolerance tolerance) {
  const QString goldenPath = QStringLiteral(ZELVARO_SOURCE_DIR "/tests/") + relativePath;
  const QImage image = actual.convertToFormat(QImage::Format_ARGB32);
  if (qEnvironmentVariableIntValue("ZELVARO_UPDATE_GOLDEN") == 1) {
    QDir().mkpath(QFileInfo(goldenPath).absolutePath());
    return image.save(goldenPath, "PNG");
  }
  const QString actualPath =
      QStringLiteral(ZELVARO_BIN_DIR "/../golden-actual/") + QFileInfo(relativePath).fileName();
  auto fail = [&](const QString& reason) {
    QDir().mkpath(QFileInfo(actualPath).absolutePath());
    image.save(actualPath, "PNG");
    if (why) *why = reason + QStringLiteral(" (actual picture: ") + actualPath + ')';
    return false;
  };
  QImage golden;
  if (!golden.load(goldenPath)) return fail(QStringLiteral("no golden image at ") + goldenPath);
  golden = golden.convertToFormat(QImage::Format_ARGB32);
  if (golden.size() != image.size()) {
    return fail(QStringLiteral("size %1x%2, golden %3x%4")
                    .arg(image.width())
                    .arg(image.height())
                    .arg(golden.width())
                    .arg(golden.height()));
  }
  qint64 differing = 0;
  for (int y = 0; y < image.height(); ++y) {
    const auto* a = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    const auto* g = reinterpret_cast<const QRgb*>(golden.constScanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      if (std::abs(qRed(a[x]) - qRed(g[x])) > tolerance.channel ||
          std::abs(qGreen(a[x]) - qGreen(g[x])) > tolerance.channel ||
          std::abs(qBlue(a[x]) - qBlue(g[x])) > tolerance.channel ||
          std::abs(qAlpha(a[x]) - qAlpha(g[x])) > tolerance.channel) {
        ++differing;
      }
    }
  }
  const double share = static_cast<double>(differing) / (image.width() * image.height());
  if (share > tolerance.maxDiffering) {
    return fail(QStringLiteral("%1 % of the pixels differ from %2")
                    .arg(share * 100, 0, 'f', 2)
                    .arg(goldenPath));
  }
  return true;
}

}  // namespace zelvaro::test
