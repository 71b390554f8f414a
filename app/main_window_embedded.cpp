// Subtitle streams inside the media file, chosen from the subtitle menu:
// the route the settings name, then the same state a side file shows.

#include "app/main_window.h"
#include "app/osd_formats.h"
#include "app/osd_overlay.h"
#include "engine/graph_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "subtitles/subtitle_manager.h"

#include <QPointer>

namespace zelvaro {
namespace {
constexpr int kEmbeddedOsdMs = 1500;
constexpr uint32_t kGraphRoute = 1;
}  // namespace

void MainWindow::SelectEmbeddedSubtitle(int index, bool announce) {
  if (!graph_) return;
  // Pictures take the graph route whatever the setting: the extraction
  // writes a text file, which has no room for them.
  const bool graphRoute =
      Settings::GetDwordOr(setting::kEmbeddedSubtitleMethod, 0) == kGraphRoute ||
      graph_->IsBitmapEmbeddedSubtitle(index);
  if (graphRoute && graph_->GrabEmbeddedSubtitle(index)) {
    ShowEmbeddedSubtitle(index, announce);
    return;
  }
  // The extraction reports back later; a file opened meanwhile cancels it.
  QPointer<MainWindow> self(this);
  graph_->ExtractEmbeddedSubtitle(index, [self, index, announce](bool loaded) {
    if (self && loaded) self->ShowEmbeddedSubtitle(index, announce);
  });
}

void MainWindow::ShowEmbeddedSubtitle(int index, bool announce) {
  embeddedSubtitleIndex_ = index;
  graph_->EnsureSubtitleManager();
  graph_->Subtitles()->SetEnabled(true);
  Settings::SetDword(setting::kSubtitleEnabled, 1);
  SetToolbarSubtitles(true, true);
  graph_->RedrawVideo();
  if (!announce) return;
  ShowOsd(FormatKey(u"OSD.SubtitleTrackFormat", graph_->GetSubtitleTrackName(index)),
          kEmbeddedOsdMs);
}

void MainWindow::SelectDefaultEmbeddedSubtitle() {
  if (!graph_ || Settings::GetDwordOr(setting::kSubtitleEnabled, 1) == 0) return;
  // A side file found beside the media wins over the file's own tracks.
  if (SubtitleManager* subtitles = graph_->Subtitles();
      subtitles && (subtitles->IsLoading() || subtitles->HasSubtitle()))
    return;
  const int track = graph_->DefaultEmbeddedSubtitle();
  if (track >= 0) SelectEmbeddedSubtitle(track, false);
}

}  // namespace zelvaro
