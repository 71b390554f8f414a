// MainWindow and its bars: what the title bar and the toolbar report, and
// the fields of the toolbar that the window writes after an open and on
// every position tick.

#include "app/main_window.h"
#include "chrome/title_bar_window.h"
#include "chrome/toolbar_window.h"
#include "engine/graph_manager.h"
#include "engine/thumbnail_generator.h"
#include "library/file_time.h"
#include "subtitles/subtitle_manager.h"
#include "video/video_renderer.h"

#include <algorithm>

namespace zelvaro {

qintptr MainWindow::SendPlayerMessage(int message, qintptr wParam, qintptr lParam) {
  return OnPlayerMessage(message, wParam, lParam);
}

void MainWindow::SendCommand(int id) {
  OnCommand(id);
}

void MainWindow::ShowContextMenuAt(QPoint globalPos) {
  ShowContextMenu(globalPos);
}

void MainWindow::SyncToolbar() {
  SyncDesktop();
  if (!toolbar_) return;
  chrome::ToolbarState state = toolbar_->State();
  if (graph_) {
    state.Position = graph_->GetPosition();
    state.Duration = graph_->GetDuration();
    if (state.Duration > 0 && !toolbar_->SeekDragging()) {
      state.Progress = std::clamp(state.Position / state.Duration, 0.0, 1.0);
    }
    state.IsPlaying = graph_->State() == 2;
    state.Volume = std::clamp(static_cast<int>(graph_->Volume() * 100.0f + 0.5f), 0, 100);
    state.Muted = graph_->Muted();
    state.Speed = graph_->Speed();
    // A mark outside the file (or none) reads as unset.
    auto fraction = [&](int64_t mark) {
      const double f = state.Duration > 0 ? mark / 1e7 / state.Duration : 0.0;
      return f > 0 && f <= 1 ? f : 0.0;
    };
    state.MarkA = fraction(graph_->MarkA());
    state.MarkB = fraction(graph_->MarkB());
    // Side files load in the background: the button lights when one lands.
    if (const SubtitleManager* subtitles = graph_->Subtitles()) {
      state.SubtitlePresent = subtitles->HasSubtitle();
      state.SubtitleEnabled = subtitles->IsEnabled();
    }
  }
  toolbar_->Apply(state);
}

void MainWindow::SetToolbarMedia(bool live) {
  if (!toolbar_ || !graph_) return;
  chrome::ToolbarState state = toolbar_->State();
  const DecoderInfo info = graph_->GetDecoderInfo();
  state.VideoText = info.videoCodec;
  state.HardwareDecoding = info.isHardwareDecoder;
  state.AudioText = info.audioCodec;
  state.AudioChannels = info.audioChannels;
  state.HasVideo = graph_->VideoConnected();
  state.IsLive = live;
  state.MarkA = 0;
  state.MarkB = 0;
  toolbar_->Apply(state);
  SyncToolbar();
}

void MainWindow::SetToolbarSubtitles(bool present, bool enabled) {
  if (!toolbar_) return;
  toolbar_->SetSubtitlePresent(present);
  toolbar_->SetSubtitleEnabled(enabled);
}

void MainWindow::OpenThumbnails(const QString& path) {
  if (!thumbnailPreview_ || !thumbnailGenerator_ || !graph_) return;
  if (graph_->GetDecoderInfo().videoCodec.isEmpty()) {
    thumbnailGenerator_->Close();
    return;
  }
  if (thumbnailGenerator_->Open(path, graph_.get()) && !thumbnailGenerator_->keyframeMode()) {
    thumbnailGenerator_->StartWorker();
  }
}

void MainWindow::UpdateTitleBarName() {
  if (!titleBar_) return;
  const QString name = graph_ ? FileNameOfPath(graph_->CurrentPath()) : QString();
  titleBar_->SetTitles(name, QString());
}

}  // namespace zelvaro
