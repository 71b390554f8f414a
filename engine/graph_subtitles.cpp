// GraphManager's side of the subtitles: the one SubtitleManager, the side
// file loaded with each local open, and the delay the keys move.

#include "engine/graph_manager.h"

#include "engine/playback_graph.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/trace.h"
#include "subtitles/subtitle_files.h"
#include "subtitles/subtitle_manager.h"

#include <exception>

namespace zelvaro {

void GraphManager::EnsureSubtitleManager() {
  if (subtitleManager_) return;
  // Only the starting size: the renderer sets the size it really shows
  // before the first picture is drawn.
  const QSize videoSize = graph_ ? graph_->NativeVideoSize() : QSize();
  auto manager = std::make_unique<SubtitleManager>();
  manager->Initialize(videoSize.width(), videoSize.height());
  manager->SetEnabled(Settings::GetDwordOr(setting::kSubtitleEnabled, 1) != 0);
  subtitleManager_ = std::move(manager);
}

void GraphManager::ResetSubtitleDelay() {
  if (!subtitleManager_) return;
  subtitleManager_->SetDelay(0);
  RedrawVideo();
}

int64_t GraphManager::GetSubtitleDelay() const {
  return subtitleManager_ ? subtitleManager_->GetDelay() : 0;
}

void GraphManager::AdjustSubtitleDelay(int64_t deltaMs) {
  if (!subtitleManager_) return;
  subtitleManager_->SetDelay(subtitleManager_->GetDelay() + deltaMs);
  // The renderer asks for the subtitles only when it paints; a paused
  // picture would keep showing the old timing until the next frame.
  RedrawVideo();
}

void GraphManager::LoadSideSubtitles(const QString& mediaPath) {
  // The open has succeeded whatever happens here: a file without readable
  // subtitles still plays.
  try {
    const QStringList candidates = FindSubtitleFiles(mediaPath);
    if (candidates.isEmpty()) return;
    Trace("Found %zu subtitle(s): %s", static_cast<size_t>(candidates.size()),
          qUtf8Printable(candidates.first()));
    EnsureSubtitleManager();
    // Read on the manager's worker: a large file must not hold up the first
    // frames. By the time it is in place the picture may be paused inside a
    // cue, so it is drawn again.
    subtitleManager_->LoadSubtitleAsync(candidates.first(), [this](bool loaded) {
      if (loaded) RedrawVideo();
    });
  } catch (const std::exception& error) {
    Trace("Side subtitles not loaded: %s", error.what());
  }
}

void GraphManager::ClearSubtitles() {
  // No stream feeds the manager from here on, and no extraction lands.
  if (graph_) graph_->SubtitleTap().Deselect();
  CancelEmbeddedExtraction();
  if (subtitleManager_) subtitleManager_->Clear();
}

}  // namespace zelvaro
