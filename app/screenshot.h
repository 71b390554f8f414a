#pragma once
// Where a screenshot goes, what it is called and how it is written. The
// command (MainWindow::TakeScreenshot, main_window_screenshot.cpp) reads the
// picture back on the interface thread and hands it to WriteScreenshot on a
// worker, since encoding a large frame takes longer than a frame.

#include <QDateTime>
#include <QImage>
#include <QString>

#include <cstdint>

namespace zelvaro {

// The file name for a shot of `currentPath` at `localTime`: the name after
// the last "/" or "\" without its last extension ("Screenshot" when there is
// no separator), then "_YYYYMMDD_HHMMSS.png". The extension is ".png"
// whatever ScreenshotFormat says.
QString ScreenshotFileName(const QString& currentPath, const QDateTime& localTime);

// The "Zelvaro" folder in the XDG pictures directory, made when missing; the
// program's directory when that folder cannot be made. Ends with "/".
QString ScreenshotFolder();

// `image` to `path` by ScreenshotFormat: 1 JPEG at quality 95, 2 the BMP
// bytes as they are, anything else PNG. True when written. Any thread.
bool WriteScreenshot(const QImage& image, const QString& path, uint32_t format);

}  // namespace zelvaro
