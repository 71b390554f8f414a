#pragma once
// The whole of a file, to compare what the code wrote byte for byte.

#include <QByteArray>
#include <QFile>
#include <QString>

namespace zelvaro::test {

// Empty when the file cannot be read.
inline QByteArray ReadFileBytes(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace zelvaro::test
