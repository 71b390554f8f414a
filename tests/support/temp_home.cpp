#include "tests/support/temp_home.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdlib>

namespace zelvaro::test {

TempHome::TempHome() {
  const std::pair<const char*, QString> variables[] = {
      {"XDG_CONFIG_HOME", ConfigHome()},
      {"XDG_DATA_HOME", DataHome()},
      {"XDG_CACHE_HOME", dir_.path() + QStringLiteral("/cache")},
  };
  for (const auto& [name, value] : variables) {
    const char* old = std::getenv(name);
    saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
    QDir().mkpath(value);
    setenv(name, QFile::encodeName(value).constData(), 1);
  }
}

TempHome::~TempHome() {
  for (const auto& [name, value] : saved_) {
    if (value) {
      setenv(name.c_str(), value->c_str(), 1);
    } else {
      unsetenv(name.c_str());
    }
  }
}

QString TempHome::WriteFile(const QString& relative, const QByteArray& bytes) const {
  const QString path = dir_.path() + u'/' + relative;
  QDir().mkpath(QFileInfo(path).absolutePath());
  QFile file(path);
  if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) file.write(bytes);
  return path;
}

}  // namespace zelvaro::test
