#include "panels/file_associations.h"

#include "foundation/desktop_entry.h"
#include "foundation/settings.h"
#include "foundation/trace.h"
#include "panels/mime_apps_list.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>

#include <optional>

namespace zelvaro::FileAssociations {
namespace {

const QString kDefaultGroup = QStringLiteral("Default Applications");
const QString kAddedGroup = QStringLiteral("Added Associations");
const QString kRemovedGroup = QStringLiteral("Removed Associations");

// An XDG base directory: the variable when it holds an absolute path, else
// the fallback under $HOME.
QString BaseDir(const char* variable, const QString& fallback) {
  const QString value = qEnvironmentVariable(variable);
  if (!value.isEmpty() && QDir::isAbsolutePath(value)) return QDir::cleanPath(value);
  return QDir::homePath() + u'/' + fallback;
}

QString BackupName(const QString& extension) {
  return u'.' + extension.toLower();
}

QString Ours() {
  return kDesktopId.toString();
}

bool WriteIfChanged(const QString& path, const QByteArray& bytes) {
  QFile current(path);
  if (current.open(QIODevice::ReadOnly) && current.readAll() == bytes) return true;
  current.close();
  if (!QDir().mkpath(QFileInfo(path).absolutePath())) return false;
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) return false;
  return file.commit();
}

// The file's bytes; empty for a missing file, nothing for an unreadable one.
std::optional<QByteArray> ReadList() {
  QFile file(MimeAppsListPath());
  if (!file.exists()) return QByteArray();
  if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
  return file.readAll();
}

bool WriteList(const QByteArray& before, const MimeAppsList& list) {
  const QByteArray after = list.Serialize();
  if (after == before) return true;
  const bool written = WriteIfChanged(MimeAppsListPath(), after);
  if (!written) Trace("File association: cannot write %s", qUtf8Printable(MimeAppsListPath()));
  return written;
}

// Our id first in a ";" list, the rest of the value as it was.
void AddOursFirst(MimeAppsList& list, const QString& group, const QString& type) {
  const QString value = list.Value(group, type);
  QStringList ids = MimeAppsList::SplitIds(value);
  if (!ids.isEmpty() && ids.first() == Ours()) return;
  QString rest = value;
  if (ids.removeAll(Ours()) > 0) rest = ids.join(u';') + u';';
  if (ids.isEmpty()) rest.clear();
  list.SetValue(group, type, Ours() + u';' + rest);
}

// Drops our id from a ";" list; a list left empty drops its line.
void RemoveOurs(MimeAppsList& list, const QString& group, const QString& type) {
  bool found = false;
  const QString value = list.Value(group, type, &found);
  if (!found) return;
  QStringList ids = MimeAppsList::SplitIds(value);
  if (!ids.contains(Ours())) return;
  QString rest = value;
  // The usual shapes lose exactly our entry; anything else is rewritten.
  if (rest.startsWith(Ours() + u';')) {
    rest = rest.mid(Ours().size() + 1);
  } else {
    ids.removeAll(Ours());
    rest = ids.isEmpty() ? QString() : ids.join(u';') + u';';
  }
  if (MimeAppsList::SplitIds(rest).isEmpty()) {
    list.RemoveKey(group, type);
  } else {
    list.SetValue(group, type, rest);
  }
}

bool IsOursFirst(const MimeAppsList& list, const QString& type) {
  const QStringList ids = MimeAppsList::SplitIds(list.Value(kDefaultGroup, type));
  return !ids.isEmpty() && ids.first() == Ours();
}

bool RegisterIn(MimeAppsList& list, const QString& extension) {
  const QString type = AssociationMimeType(extension);
  if (type.isEmpty()) return false;
  const QString earlier = list.Value(kDefaultGroup, type);
  if (!earlier.isEmpty() && !IsOursFirst(list, type)) {
    Settings::SetBackupString(BackupName(extension), earlier);
  }
  list.SetValue(kDefaultGroup, type, Ours());
  AddOursFirst(list, kAddedGroup, type);
  RemoveOurs(list, kRemovedGroup, type);
  return true;
}

void UnregisterIn(MimeAppsList& list, const QString& extension) {
  const QString type = AssociationMimeType(extension);
  if (type.isEmpty()) return;
  RemoveOurs(list, kAddedGroup, type);
  QString backup;
  const bool hasBackup =
      Settings::GetBackupString(BackupName(extension), &backup) && !backup.isEmpty();
  bool found = false;
  list.Value(kDefaultGroup, type, &found);
  // A default the user chose elsewhere since is theirs: only ours is undone.
  if (IsOursFirst(list, type) || !found) {
    if (hasBackup) {
      list.SetValue(kDefaultGroup, type, backup);
    } else {
      list.RemoveKey(kDefaultGroup, type);
    }
  }
  if (hasBackup) Settings::DeleteBackupValue(BackupName(extension));
}

bool WriteDesktopEntry(const QString& execPath) {
  const QByteArray text = DesktopEntryText(MediaMimeTypes(), execPath).toUtf8();
  return WriteIfChanged(DesktopFilePath(), text);
}

}  // namespace

QString MimeAppsListPath() {
  return BaseDir("XDG_CONFIG_HOME", QStringLiteral(".config")) + QStringLiteral("/mimeapps.list");
}

QString DesktopFilePath() {
  return BaseDir("XDG_DATA_HOME", QStringLiteral(".local/share")) +
         QStringLiteral("/applications/") + Ours();
}

QString ProgramPath() {
  return QCoreApplication::applicationDirPath() + QStringLiteral("/zelvaro");
}

int RegisterExtensions(const QStringList& extensions, const QString& execPath) {
  if (!WriteDesktopEntry(execPath)) return 0;
  const std::optional<QByteArray> before = ReadList();
  if (!before) return 0;
  MimeAppsList list = MimeAppsList::Parse(*before);
  int registered = 0;
  for (const QString& extension : extensions) registered += RegisterIn(list, extension) ? 1 : 0;
  return WriteList(*before, list) ? registered : 0;
}

bool UnregisterExtensions(const QStringList& extensions) {
  const std::optional<QByteArray> before = ReadList();
  if (!before) return false;
  MimeAppsList list = MimeAppsList::Parse(*before);
  for (const QString& extension : extensions) UnregisterIn(list, extension);
  return WriteList(*before, list);
}

QStringList RegisteredExtensions(const QStringList& extensions) {
  const MimeAppsList list = MimeAppsList::Parse(ReadList().value_or(QByteArray()));
  QStringList registered;
  for (const QString& extension : extensions) {
    const QString type = AssociationMimeType(extension);
    if (!type.isEmpty() && IsOursFirst(list, type)) registered << extension;
  }
  return registered;
}

bool RegisterExtension(const QString& extension, const QString& execPath) {
  return RegisterExtensions({extension}, execPath) == 1;
}

bool UnregisterExtension(const QString& extension) {
  return UnregisterExtensions({extension});
}

bool IsExtensionRegistered(const QString& extension) {
  return !RegisteredExtensions({extension}).isEmpty();
}

void NotifyDesktop() {
  const QString tool = QStandardPaths::findExecutable(QStringLiteral("update-desktop-database"));
  if (tool.isEmpty()) return;
  QProcess::startDetached(tool, {QFileInfo(DesktopFilePath()).absolutePath()});
}

}  // namespace zelvaro::FileAssociations
