// The clip-cutting dialog's door in the main window.

#include "app/cut_clip_dialog.h"
#include "app/main_window.h"
#include "engine/graph_manager.h"

namespace zelvaro {

void MainWindow::ShowCutClipDialog() {
  if (cutClipDialog_) {
    cutClipDialog_->show();
    cutClipDialog_->raise();
    cutClipDialog_->activateWindow();
    return;
  }
  // The dialog moves the marks; the seek bar shows them at once.
  cutClipDialog_ = new CutClipDialog(this, graph_.get(), [this] { UpdateMarks(); });
  cutClipDialog_->show();
}

CutClipDialog* MainWindow::cutClipDialog() const {
  return cutClipDialog_.data();
}

}  // namespace zelvaro
