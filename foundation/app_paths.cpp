#include "foundation/app_paths.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <cstdlib>
#include <limits.h>
#include <unistd.h>

namespace zelvaro {
namespace {

QString HomeDir() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && home[0] == '/') return QString::fromLocal8Bit(home);
  return QDir::homePath();
}

QString XdgDir(const char* variable, const char* fallbackBelowHome) {
  const char* value = std::getenv(variable);
  if (value != nullptr && value[0] == '/') return QDir::cleanPath(QString::fromLocal8Bit(value));
  return QDir::cleanPath(HomeDir() + QLatin1Char('/') + QLatin1String(fallbackBelowHome));
}

}  // namespace

QString ConfigHome() { return XdgDir("XDG_CONFIG_HOME", ".config"); }
QString DataHome() { return XdgDir("XDG_DATA_HOME", ".local/share"); }
QString ConfigDir() { return ConfigHome() + QStringLiteral("/zelvaro"); }
QString DataDir() { return DataHome() + QStringLiteral("/zelvaro"); }

QString ScreenshotDir() {
  QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
  if (pictures.isEmpty()) pictures = HomeDir() + QStringLiteral("/Pictures");
  return pictures + QStringLiteral("/Zelvaro");
}

QString ExecutableDir() {
  char buffer[PATH_MAX];
  ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
  if (length <= 0) return QDir::currentPath();
  return QFileInfo(QString::fromLocal8Bit(buffer, length)).absolutePath();
}

QString ResourceDir() {
  const QString exeDir = ExecutableDir();
  if (QFileInfo(exeDir + QStringLiteral("/Language")).isDir()) return exeDir + QLatin1Char('/');
  const QString shared = QDir::cleanPath(exeDir + QStringLiteral("/../share/zelvaro"));
  if (QFileInfo(shared).isDir()) return shared + QLatin1Char('/');
  return exeDir + QLatin1Char('/');
}

bool EnsureDirectory(const QString& path) { return QDir().mkpath(path); }

}  // namespace zelvaro
