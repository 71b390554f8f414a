#pragma once
// Path helpers shared by the player, the updater and the library.
// All are reentrant and report nothing to the user.

#include <QString>
#include <QStringView>

namespace zelvaro {

// `InstallPath` when set, else $XDG_DATA_HOME/zelvaro (created on each call;
// an existing directory is fine).
QString GetInstallDir();

// Replaces the first occurrence of each of %EXEDIR%, %INST_DIR%, %APPDATA% and
// %TEMP%, in that order, case-sensitive. Directories come without a trailing
// separator. Later occurrences of a macro stay as they are.
QString ExpandPathMacros(QStringView path);

// Shows the file selected in the desktop's file manager
// (org.freedesktop.FileManager1 over D-Bus); when the file does not exist,
// or no file manager answers, its folder is opened with the desktop's handler
// instead. False only for a missing file whose path has no folder part.
// Interface thread: the D-Bus call is asynchronous and never blocks.
bool ShowInExplorer(const QString& path);

// A path as the user typed or dropped it, made absolute against `workingDir`
// (the process's working directory when empty) and cleaned of "." and "..";
// an address with a scheme ("https://...") comes back as it is, and a
// "file://" address becomes its local path. Paths kept for later (the list,
// the recent files) must not depend on where the player was started.
QString AbsoluteInputPath(const QString& path, const QString& workingDir = {});
// True for what AbsoluteInputPath can give: an absolute local path or an
// address with a scheme. A relative path kept by an older build cannot be
// resolved any more: where it was opened from is unknown.
bool IsAbsoluteInputPath(QStringView path);

// A symbolic link is resolved to its target (a dangling link to the stale
// target); any other path comes back unchanged.
QString ResolveShortcut(const QString& path);

}  // namespace zelvaro
