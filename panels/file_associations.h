#pragma once
// FileAssociations: binds media file extensions to Zelvaro for the current
// user on a freedesktop desktop, and undoes it. Nothing system-wide is
// touched, so no privileges are needed.
//
// - The per-user desktop entry $XDG_DATA_HOME/applications/zelvaro.desktop
//   (desktop_entry.h) names every MIME type Zelvaro opens and runs the
//   program with %U; it is written on registering.
// - Defaults are kept per MIME type in $XDG_CONFIG_HOME/mimeapps.list:
//   registering an extension makes zelvaro.desktop the default of the
//   extension's type and puts it first among the added associations;
//   every other line of the file stays as it was (mime_apps_list.h).
// - The default a type had before is kept in the settings' Backup group under
//   the extension with its point (".mkv"), and put back on unregistering.
//   A second registering keeps the first backup.
//
// Defaults belong to MIME types, not extensions: extensions that share a type
// (".mpg" and ".mpeg") are registered and unregistered together. An
// extension shared-mime-info knows no type for cannot be registered.
//
// Threads: any, one caller at a time. Each call reads and writes small files
// and the settings (which sync to disk): run batches off the interface thread.

#include <QString>
#include <QStringList>

namespace zelvaro::FileAssociations {

QString MimeAppsListPath();
QString DesktopFilePath();
// The program the per-user entry runs: "zelvaro" beside the running executable.
QString ProgramPath();

// True when the entry and the defaults were written.
bool RegisterExtension(const QString& extension, const QString& execPath = ProgramPath());
// True when the list was written, or had nothing of Zelvaro's for this type.
bool UnregisterExtension(const QString& extension);
// Zelvaro is the first default of the extension's type.
bool IsExtensionRegistered(const QString& extension);

// The same for many extensions with one read and one write of the list.
// RegisterExtensions returns how many were registered.
int RegisterExtensions(const QStringList& extensions, const QString& execPath = ProgramPath());
bool UnregisterExtensions(const QStringList& extensions);
QStringList RegisteredExtensions(const QStringList& extensions);

// Tells the desktop the entries changed: update-desktop-database, when
// installed, runs detached on the per-user applications folder.
void NotifyDesktop();

}  // namespace zelvaro::FileAssociations
