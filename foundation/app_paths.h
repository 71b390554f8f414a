#pragma once
// Where Zelvaro keeps and finds its files on a Linux desktop.
//
// Every function reads the environment on each call, so a test that points
// XDG_CONFIG_HOME or XDG_DATA_HOME at a temporary directory is honoured at
// once. Reentrant; callable from any thread.

#include <QString>

namespace zelvaro {

// $XDG_CONFIG_HOME, or ~/.config when it is unset, empty or not absolute.
QString ConfigHome();
// $XDG_DATA_HOME, or ~/.local/share likewise.
QString DataHome();

// $XDG_CONFIG_HOME/zelvaro: the settings file lives here.
QString ConfigDir();
// $XDG_DATA_HOME/zelvaro: playlist.db and the default install directory.
QString DataDir();

// The XDG pictures directory with the subfolder "Zelvaro" (not created here).
QString ScreenshotDir();

// Directory of the running executable, without a trailing separator.
QString ExecutableDir();

// Where Language/ and skins/ are: beside the executable when a Language
// folder is there (build tree, portable use), else ../share/zelvaro/ when that
// exists, else beside the executable. Always ends with '/'.
QString ResourceDir();

// Creates the directory and its parents; true when it exists afterwards.
bool EnsureDirectory(const QString& path);

}  // namespace zelvaro
