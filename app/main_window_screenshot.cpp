// MainWindow's screenshot command: the picture is read back here, on the
// interface thread where the renderer lives, and encoded and written on a
// worker that reports success back for the OSD line.

#include "app/main_window.h"
#include "app/osd_overlay.h"
#include "app/screenshot.h"
#include "app/worker_mailbox.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"

#include <thread>

namespace zelvaro {

namespace {
constexpr int kScreenshotOsdMs = 1500;
}  // namespace

void MainWindow::TakeScreenshot() {
  if (!graph_) return;
  const QString path =
      ScreenshotFolder() + ScreenshotFileName(graph_->CurrentPath(), QDateTime::currentDateTime());
  const QImage image = graph_->CaptureFrameImage();
  if (image.isNull()) return;
  const uint32_t format = Settings::GetDwordOr(setting::kScreenshotFormat, 0);
  std::thread([image, path, format, mailbox = screenshotMailbox_] {
    if (!WriteScreenshot(image, path, format)) return;
    // Delivered only while the window lives: it closes the mailbox first.
    mailbox->Post(
        [] { ShowOsd(LanguageManager::GetString(u"OSD.ScreenshotSaved"), kScreenshotOsdMs); });
  }).detach();
}

}  // namespace zelvaro
