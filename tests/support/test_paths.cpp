#include "tests/support/test_paths.h"

#include <QFile>

namespace zelvaro::test {

QString SourceDir() {
  return QStringLiteral(ZELVARO_SOURCE_DIR);
}
QString FixtureDir() {
  return QStringLiteral(ZELVARO_FIXTURE_DIR);
}
QString FixturePath(const QString& name) {
  return FixtureDir() + u'/' + name;
}
QString BinDir() {
  return QStringLiteral(ZELVARO_BIN_DIR);
}

QByteArray FixtureBytes(const QString& name) {
  QFile file(FixturePath(name));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray NoiseBytes(int size) {
  QByteArray bytes(size, '\0');
  for (int i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7919 + 13) % 251);
  return bytes;
}

}  // namespace zelvaro::test
