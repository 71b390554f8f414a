#include "update/update_files.h"

#include "foundation/download.h"
#include "foundation/shell_paths.h"
#include "foundation/trace.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cstdio>

namespace zelvaro {
namespace {

bool IsInside(const QString& path, const QString& root) {
  const QString canonicalRoot = QFileInfo(root).canonicalFilePath();
  if (canonicalRoot.isEmpty()) return false;
  if (canonicalRoot == u"/") return true;
  return path.startsWith(canonicalRoot + u'/') && path.size() > canonicalRoot.size() + 1;
}

}  // namespace

QString ConfineUpdatePath(const QString& path) {
  if (path.isEmpty() || !QDir::isAbsolutePath(path)) return {};
  const QStringList parts = path.split(u'/', Qt::SkipEmptyParts);
  // Refused outright rather than cleaned: "dir/link/.." means something else
  // to the kernel than to a string cleaner.
  if (parts.contains(QStringLiteral(".."))) return {};

  // Resolve the deepest part that exists; the rest will be created below it.
  QString existing = QDir::cleanPath(path);
  QStringList missing;
  while (true) {
    const QFileInfo info(existing);
    if (info.exists() || info.isSymLink()) break;
    const qsizetype slash = existing.lastIndexOf(u'/');
    if (slash <= 0) return {};
    missing.prepend(existing.mid(slash + 1));
    existing.truncate(slash);
  }
  // A dangling link resolves to nothing and is refused with the rest.
  QString resolved = QFileInfo(existing).canonicalFilePath();
  if (resolved.isEmpty()) return {};
  for (const QString& part : missing) resolved += u'/' + part;

  if (IsInside(resolved, GetInstallDir()) || IsInside(resolved, QDir::tempPath())) return resolved;
  Trace("update path refused: %s", qPrintable(path));
  return {};
}

QString ConfineUpdateCommand(const QString& expandedCommand) {
  const QString resolved = ConfineUpdatePath(expandedCommand);
  if (resolved.isEmpty() || !QFileInfo(resolved).isFile()) return {};
  return resolved;
}

bool Sha256Matches(const QString& path, const QString& expectedHex) {
  if (expectedHex.size() != 64) return false;
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return false;
  QCryptographicHash hash(QCryptographicHash::Sha256);
  if (!hash.addData(&file)) return false;
  return QString::fromLatin1(hash.result().toHex()).compare(expectedHex, Qt::CaseInsensitive) == 0;
}

bool DownloadVerified(const VerifiedDownload& download) {
  if (download.sha256.isEmpty() || download.target.isEmpty()) return false;
  const QFileInfo target(download.target);
  if (target.isDir() || !QDir().mkpath(target.absolutePath())) return false;
  // Beside the target, so the final rename stays on one file system and is atomic.
  QTemporaryFile temp(target.absolutePath() + QStringLiteral("/.zelvaro-update-XXXXXX"));
  if (!temp.open()) return false;
  temp.close();
  const QString tempPath = temp.fileName();
  if (!DownloadToFile(download.url, tempPath, download.userAgent, download.maxBytes,
                      download.cancel)) {
    return false;
  }
  if (!Sha256Matches(tempPath, download.sha256)) {
    Trace("update download refused, digest differs: %s", qPrintable(download.url));
    return false;
  }
  // A script or installer has to run; a download keeps the owner's rights only.
  QFile::setPermissions(tempPath, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                      QFileDevice::ExeOwner | QFileDevice::ReadGroup |
                                      QFileDevice::ReadOther);
  if (std::rename(QFile::encodeName(tempPath).constData(),
                  QFile::encodeName(download.target).constData()) != 0) {
    return false;
  }
  temp.setAutoRemove(false);
  return true;
}

}  // namespace zelvaro
