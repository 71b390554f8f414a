#pragma once
// Process globals of the main window's settings. They live outside the
// window because the options pages read and change them with or without a
// MainWindow; MainWindow reads them at creation and writes them at close.
// Interface thread only.

#include <QString>

namespace zelvaro {

extern bool RememberWindowPos;      // 1
extern int WindowX, WindowY;        // -1: never saved
extern int WindowW, WindowH;        // -1: never saved
extern bool WindowMaximized;        // 0
extern bool SeekbarThumbnailPreview;  // 0
extern bool GlobalMediaKeys;        // 0
extern bool UnregisterOnDeactivate;  // 1
extern QString WelcomeMsg;          // kept and written back unchanged

}  // namespace zelvaro
