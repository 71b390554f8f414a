// MainWindow: the lyrics of the file that has opened. The search runs on the
// lyrics worker (LyricsHook); its results come back here, go to the panel,
// and timed ones also become the subtitle when the file has none. The panel
// follows the position on timer 1001 and keeps out of the way of fullscreen.

#include "app/main_window.h"
#include "engine/graph_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/trace.h"
#include "lyrics/lrc_parser.h"
#include "lyrics/lyrics_window.h"
#include "subtitles/subtitle_manager.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

namespace zelvaro {

namespace {

QString LyricsSubtitlePath() {
  return QDir::tempPath() + QStringLiteral("/zelvaro_lyrics.srt");
}

}  // namespace

void MainWindow::CreateLyricsPanel() {
  lyricsHook_.SetStagedBody(LyricsHook::DefaultBody());
  lyricsWindow_ = new LyricsWindow(this, [this](double seconds) {
    if (graph_) graph_->Seek(seconds, false, 0);
  });
  // Fullscreen puts the panel away and gives it back where it stood.
  PanelSettingNames names;
  names.x = setting::kLyricsX;
  names.y = setting::kLyricsY;
  names.w = setting::kLyricsW;
  names.h = setting::kLyricsH;
  AddDockedPanel(lyricsWindow_, false, names);
  if (Settings::GetBoolOr(setting::kLyricsVisible, false)) lyricsWindow_->Show(true);
}

void MainWindow::LoadLyricsForMedia(const QString& path) {
  hasLyrics_ = false;
  lyrics_.reset();
  if (lyricsWindow_) {
    lyricsWindow_->Clear();
    // A panel left from an audio file makes way for a picture; lyrics found
    // for it bring the panel back.
    if (graph_ && graph_->VideoConnected() && lyricsWindow_->isVisible())
      lyricsWindow_->Show(false);
  }
  if (path.isEmpty() || !lyricsHook_.HasBody()) {
    lyricsHook_.Cancel();
    return;
  }
  if (lyricsWindow_) lyricsWindow_->SetSearching(true);
  LyricsRequest request;
  request.mediaPath = path;
  // Without tags the service is asked with the file's name.
  request.title = QFileInfo(path).completeBaseName();
  request.durationSec = graph_ ? static_cast<int>(graph_->GetDuration()) : 0;
  lyricsHook_.Start(std::move(request));
}

void MainWindow::OnLyricsResult(std::unique_ptr<LyricsResult> result) {
  if (lyricsWindow_) lyricsWindow_->SetSearching(false);
  if (!result || result->lines.empty()) {
    if (!hasLyrics_ && lyricsWindow_ && lyricsWindow_->isVisible()) lyricsWindow_->Show(false);
    return;
  }
  // Timed lines replace what is on show; untimed ones only fill a gap.
  if (!result->synced && hasLyrics_) return;
  hasLyrics_ = true;
  lyrics_ = std::move(result);
  if (lyricsWindow_) {
    lyricsWindow_->SetData(*lyrics_);
    if (graph_) lyricsWindow_->SetPosition(static_cast<int64_t>(graph_->GetPosition() * 1000));
    // Lyrics never bring the panel up over fullscreen.
    if (!lyricsWindow_->isVisible() && !fullscreen_) lyricsWindow_->Show(true);
  }
  if (lyrics_->synced) LoadLyricsSubtitle(*lyrics_);
}

void MainWindow::LoadLyricsSubtitle(const LyricsData& lyrics) {
  if (!graph_ || graph_->CurrentPath().isEmpty()) return;
  // A subtitle of the file's own (loaded, loading or chosen) keeps its place.
  if (embeddedSubtitleIndex_ >= 0) return;
  if (SubtitleManager* subtitles = graph_->Subtitles();
      subtitles && (subtitles->HasSubtitle() || subtitles->IsLoading()))
    return;
  const QString srt = LyricsToSrt(lyrics);
  if (srt.isEmpty()) return;
  // Written aside and renamed over: a link planted under the shared temporary
  // name is replaced, never written through.
  const QString path = LyricsSubtitlePath();
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly)) return;
  file.write("\xEF\xBB\xBF");
  file.write(srt.toUtf8());
  if (!file.commit()) return;
  graph_->EnsureSubtitleManager();
  if (!graph_->Subtitles()) return;
  graph_->Subtitles()->LoadSubtitleAsync(path, [this, path](bool loaded) {
    if (!loaded || !graph_ || !graph_->Subtitles()) return;
    Trace("Subtitle loaded: %s", qPrintable(path));
    SetToolbarSubtitles(true, graph_->Subtitles()->IsEnabled());
    graph_->RedrawVideo();
  });
}

void MainWindow::UpdateLyricsLine() {
  if (!hasLyrics_ || !lyricsWindow_ || !lyricsWindow_->isVisible() || !graph_) return;
  lyricsWindow_->SetPosition(static_cast<int64_t>(graph_->GetPosition() * 1000));
}

void MainWindow::ToggleLyricsPanel() {
  if (!lyricsWindow_) return;
  const bool show = !lyricsWindow_->isVisible();
  lyricsWindow_->Show(show);
  if (show) UpdateLyricsLine();
  Settings::SetDword(setting::kLyricsVisible, show ? 1 : 0);
}

void MainWindow::SaveLyricsPanel() {
  if (!lyricsWindow_) return;
  const bool visible = lyricsWindow_->isVisible();
  Settings::SetDword(setting::kLyricsVisible, visible ? 1 : 0);
  if (visible) lyricsWindow_->SavePlacement();
}

}  // namespace zelvaro
