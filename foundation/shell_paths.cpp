#include "foundation/shell_paths.h"

#include "foundation/app_paths.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/trace.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QUrl>

namespace zelvaro {
namespace {

void OpenFolder(const QString& directory) {
  if (!QProcess::startDetached(QStringLiteral("xdg-open"), {directory})) {
    Trace("cannot start xdg-open for %s", qPrintable(directory));
  }
}

void ReplaceFirst(QString& text, QStringView macro, const QString& value) {
  if (text.size() < macro.size()) return;
  qsizetype at = text.indexOf(macro);
  if (at >= 0) text.replace(at, macro.size(), value);
}

QString WithoutTrailingSeparator(QString path) {
  while (path.size() > 1 && path.endsWith(u'/')) path.chop(1);
  return path;
}

}  // namespace

namespace {
const QRegularExpression& SchemePattern() {
  static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]*://"));
  return scheme;
}
}  // namespace

bool IsAbsoluteInputPath(QStringView path) {
  return path.startsWith(u'/') || SchemePattern().match(path).hasMatch();
}

QString AbsoluteInputPath(const QString& path, const QString& workingDir) {
  if (path.isEmpty()) return path;
  if (SchemePattern().match(path).hasMatch()) {
    if (!path.startsWith(u"file://", Qt::CaseInsensitive)) return path;
    const QString local = QUrl(path).toLocalFile();
    return local.isEmpty() ? path : QDir::cleanPath(local);
  }
  if (path.startsWith(u'/')) return QDir::cleanPath(path);
  const QString base = workingDir.isEmpty() ? QDir::currentPath() : workingDir;
  return QDir::cleanPath(base + u'/' + path);
}

QString GetInstallDir() {
  QString installPath;
  Settings::GetString(setting::kInstallPath, &installPath);
  if (!installPath.isEmpty()) return installPath;
  const QString directory = DataDir();
  EnsureDirectory(directory);
  return directory;
}

QString ExpandPathMacros(QStringView path) {
  QString result = path.toString();
  ReplaceFirst(result, u"%EXEDIR%", ExecutableDir());
  ReplaceFirst(result, u"%INST_DIR%", GetInstallDir());
  ReplaceFirst(result, u"%APPDATA%", DataHome());
  ReplaceFirst(result, u"%TEMP%", WithoutTrailingSeparator(QDir::tempPath()));
  return result;
}

bool ShowInExplorer(const QString& path) {
  const QFileInfo info(path);
  if (!info.exists()) {
    qsizetype cut = path.lastIndexOf(u'/');
    if (cut < 0) return false;
    OpenFolder(cut == 0 ? QStringLiteral("/") : path.left(cut));
    return true;
  }
  const QString folder = info.absolutePath();
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) {
    OpenFolder(folder);
    return true;
  }
  QDBusMessage call = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.FileManager1"),
      QStringLiteral("/org/freedesktop/FileManager1"),
      QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
  call << QStringList{QUrl::fromLocalFile(info.absoluteFilePath()).toString()} << QString();
  auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 5000));
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished,
                   [folder](QDBusPendingCallWatcher* w) {
                     if (w->isError()) {
                       Trace("file manager did not answer (%s); opening the folder",
                             qPrintable(w->error().name()));
                       OpenFolder(folder);
                     }
                     w->deleteLater();
                   });
  return true;
}

QString ResolveShortcut(const QString& path) {
  const QFileInfo info(path);
  if (!info.isSymLink()) return path;
  const QString canonical = info.canonicalFilePath();
  if (!canonical.isEmpty()) return canonical;
  const QString target = info.symLinkTarget();
  return target.isEmpty() ? path : target;
}

}  // namespace zelvaro
