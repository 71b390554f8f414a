// MainWindow: resuming a local file where it was left. The position is
// taken when the file goes (another file opens, the player closes) and
// given back when it opens again, by whatever way it is opened.

#include "app/main_window.h"
#include "app/osd_formats.h"
#include "app/osd_overlay.h"
#include "engine/graph_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"

#include <cmath>

namespace zelvaro {
namespace {

constexpr int kResumeOsdMs = 2000;

bool ResumeEnabled() {
  return Settings::GetDwordOr(setting::kResumePlayback, 1) != 0;
}

}  // namespace

void MainWindow::RememberResumePosition() {
  if (!graph_ || !ResumeEnabled()) return;
  const QString path = graph_->CurrentPath();
  if (path.isEmpty() || graph_->IsUrlInput()) return;
  resumePositions_.Record(path, graph_->GetPosition(), graph_->GetDuration());
}

void MainWindow::ResumeIfRemembered(const QString& path) {
  if (resumeBlocked_ || !graph_ || graph_->IsUrlInput() || !ResumeEnabled()) return;
  const std::optional<double> seconds = resumePositions_.Lookup(path, graph_->GetDuration());
  if (!seconds) return;
  // Exact, not to a keyframe: the user comes back to the very moment.
  if (!graph_->Seek(*seconds, false, 0)) return;
  const int total = static_cast<int>(std::floor(*seconds));
  const QString text =
      total < 3600 ? FormatKey(u"OSD.ResumeFormat2", total / 60, total % 60)
                   : FormatKey(u"OSD.ResumeFormat", total / 3600, total / 60 % 60, total % 60);
  ShowOsd(text, kResumeOsdMs);
}

bool MainWindow::OpenFileFrom(const QString& path, double startSeconds) {
  resumeBlocked_ = startSeconds > 0;
  const bool opened = OpenFile(path);
  resumeBlocked_ = false;
  if (opened && startSeconds > 0 && graph_) graph_->Seek(startSeconds, true, 0);
  return opened;
}

}  // namespace zelvaro
