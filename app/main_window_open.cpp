// MainWindow: the open and play flow. Every way of opening ends in OpenFile;
// the end of a file goes on to A, to the next favourite or playlist entry,
// or stops. The lyrics and album-art work for a new file starts here.

#include "app/commands.h"
#include "app/main_window.h"
#include "app/audio_cover_view.h"
#include "app/osd_formats.h"
#include "app/osd_overlay.h"
#include "app/url_dialog.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/media_types.h"
#include "foundation/shell_paths.h"
#include "library/file_time.h"
#include "library/playlist_model.h"
#include "video/video_renderer.h"

#include <QClipboard>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMessageBox>

#include <mutex>

namespace zelvaro {
namespace {

constexpr int kNameOsdMs = 2000;
constexpr int kPlayStateOsdMs = 1000;

// The video codec and the audio codec, as the playlist shows them.
QString CodecText(const DecoderInfo& info) {
  QStringList parts;
  if (!info.videoCodec.isEmpty()) parts << info.videoCodec;
  if (!info.audioCodec.isEmpty()) parts << info.audioCodec;
  return parts.join(u'/');
}

}  // namespace

bool MainWindow::OpenFile(const QString& passedPath) {
  if (!graph_) return false;
  // Whatever reaches here is kept (the list, the recent files): it must not
  // depend on the folder the player was started from.
  const QString givenPath = AbsoluteInputPath(passedPath);
  if (IsUrl(givenPath)) return OpenUrl(givenPath);
  const QString path = ResolveShortcut(givenPath);

  // The old input ends here whether or not the new one opens.
  RememberResumePosition();
  graph_->Close();
  embeddedSubtitleIndex_ = -1;
  ClearAlbumArt();
  if (videoWindow_) videoWindow_->update();

  // A file already on the list only moves the marker; any other file
  // replaces the list with its series.
  if (playlist_) {
    if (playlist_->FindByPath(path) >= 0) {
      playlist_->SetCurrentByPath(path);
    } else {
      playlist_->ReplaceWithSeries(path);
    }
  }

  // A failure shows nothing: the user sees the empty window, and a caller
  // walking a list goes on to the next entry.
  if (!graph_->OpenFile(path)) return false;

  if (!graph_->VideoConnected()) albumArtHook_.Start(path);
  SetAudioOnly(!graph_->VideoConnected());

  graph_->Play();
  SyncToolbar();
  SelectDefaultEmbeddedSubtitle();

  const QString name = FileNameOfPath(path);
  setWindowTitle(name);
  UpdateTitleBarName();
  ShowOsd(name, kNameOsdMs);
  ResumeIfRemembered(path);
  recentFiles_.Record(path);

  SetToolbarMedia(false);
  if (playlist_) {
    playlist_->UpdateMetadata(givenPath, graph_->GetDuration(),
                              CodecText(graph_->GetDecoderInfo()));
  }
  LoadLyricsForMedia(path);
  OpenThumbnails(path);
  return true;
}

bool MainWindow::OpenUrl(const QString& url) {
  if (url.isEmpty()) return false;
  if (!IsUrl(url)) {
    QMessageBox box(QMessageBox::Warning, LanguageManager::GetString(u"URLDialog.ErrorTitle"),
                    LanguageManager::GetString(u"URLDialog.InvalidURL"), QMessageBox::Ok, this);
    box.exec();
    return false;
  }
  if (playlist_) {
    playlist_->Clear();
    playlist_->AddFile(url);
    playlist_->SetCurrentByPath(url);
  }
  auto showFailure = [this] {
    QMessageBox box(QMessageBox::Critical, LanguageManager::GetString(u"URLDialog.ErrorTitle"),
                    LanguageManager::GetString(u"URLDialog.CannotOpen"), QMessageBox::Ok, this);
    box.exec();
  };
  if (!graph_) {
    showFailure();
    return false;
  }
  RememberResumePosition();
  embeddedSubtitleIndex_ = -1;
  // An address gets no lyrics; those of the last file go.
  LoadLyricsForMedia(QString());
  // The address is opened without holding the window: the OSD says that it
  // waits, and a new open or closing the player cancels the wait.
  constexpr int kOpeningOsdMs = 1500;
  ClearAlbumArt();
  ShowOsd(LanguageManager::GetString(u"OSD.OpeningUrl"), kOpeningOsdMs);
  graph_->OpenUrlAsync(
      url,
      [this, url, showFailure](bool opened) {
        if (!opened) {
          showFailure();
          return;
        }
        graph_->Play();
        recentFiles_.Record(url);
        UpdateTitleBarName();
        SetToolbarMedia(graph_->IsUrlInput());
        // The title is the whole address; a URL gets no OSD name, no lyrics
        // and no album art.
        setWindowTitle(url);
      },
      [](int waitedSeconds) {
        ShowOsd(FormatKey(u"OSD.OpeningUrlFormat", waitedSeconds), kOpeningOsdMs);
      });
  // Under way: a caller walking a list stops here; a failure has its box.
  return true;
}

void MainWindow::ShowOpenDialog() {
  const QStringList filters = MediaFilter();
  const QStringList paths =
      QFileDialog::getOpenFileNames(this, LanguageManager::GetString(u"FileDialog.OpenMediaTitle"),
                                    QString(), filters.join(QStringLiteral(";;")));
  if (paths.isEmpty()) return;
  if (paths.size() == 1) {
    OpenFile(paths.front());
    return;
  }
  // Several files make the list themselves, in the order given.
  if (playlist_) {
    playlist_->Clear();
    for (const QString& path : paths) playlist_->AddFile(path);
    playlist_->RebuildFilter();
  }
  OpenFile(paths.front());
}

void MainWindow::ShowUrlDialog() {
  QString text;
  if (const QClipboard* clipboard = QGuiApplication::clipboard()) text = clipboard->text();
  QString initial;
  if (IsUrl(text)) {
    QMessageBox prompt(QMessageBox::Question, LanguageManager::GetString(u"URLDialog.Title"),
                       FormatKey(u"URLDialog.ClipboardPromptFormat", text),
                       QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, this);
    const int answer = prompt.exec();
    if (answer == QMessageBox::Yes) {
      OpenUrl(text);
      return;
    }
    if (answer != QMessageBox::No) return;
    initial = text;
  }
  // Clipboard text that is not an address is not offered.
  UrlDialog dialog(initial, this);
  if (dialog.exec() != QDialog::Accepted) return;
  const QString url = dialog.text();
  if (!url.isEmpty()) OpenUrl(url);
}

void MainWindow::PlayPause() {
  if (!graph_) return;
  if (!graph_->CurrentPath().isEmpty()) {
    {
      std::lock_guard<std::recursive_mutex> guard(graph_->Lock());
      if (graph_->State() == 2) {
        graph_->Pause();
      } else {
        graph_->Play();
      }
    }
    SyncToolbar();
    ShowOsd(LanguageManager::GetString(graph_->State() == 2 ? u"OSD.Play" : u"OSD.Pause"),
            kPlayStateOsdMs);
    return;
  }
  // Play on an idle player resumes the most recent file, from its start.
  if (recentFiles_.Entries().empty()) return;
  const QString entry = recentFiles_.Entries().front();
  if (!IsUrl(entry) && !PathExists(entry)) return;
  OpenFile(entry);
}

void MainWindow::Stop() {
  if (!graph_ || graph_->CurrentPath().isEmpty()) return;
  ShowOsd(LanguageManager::GetString(u"OSD.Stop"), kPlayStateOsdMs);
  ClearMarks();
  // The graph stays built: the next Play starts the same input from the top.
  graph_->Stop();
  graph_->RedrawVideo();
  SyncToolbar();
}

void MainWindow::OnGraphEvent(long eventCode) {
  if (eventCode == kEcBuffering) {
    constexpr int kBufferingOsdMs = 1000;
    if (graph_ && graph_->IsBuffering()) {
      ShowOsd(FormatKey(u"OSD.BufferingFormat", graph_->BufferingPercent()), kBufferingOsdMs);
    }
    return;
  }
  // An error the engine could not mend (damaged data, a dropped stream) ends
  // the input as its end would, so the player never sits frozen on it.
  const bool ended = eventCode == EC_COMPLETE || eventCode == kEcErrorAbort;
  if (!graph_ || !ended) return;
  ClearAlbumArt();

  // Repeating from A after an error would only meet the error again.
  if (eventCode == EC_COMPLETE && ContinueFromMarkA()) return;

  if (!playlist_) {
    OnCommand(ID_STOP);
    return;
  }
  if (favoriteRun_.Active()) {
    if (favoriteRun_.Row() >= 0 && favoriteRun_.HasNextRow()) {
      const FavoriteStep step = favoriteRun_.NextFavorite();
      if (!step.path.isEmpty()) {
        if (playlist_->FindByPath(step.path) < 0) {
          playlist_->AddFile(step.path);
          playlist_->RebuildFilter();
          playlist_->SaveToDatabase();
        }
        if (OpenFileFrom(step.path, step.positionSeconds)) return;
      }
    }
    favoriteRun_.End();
    OnCommand(ID_STOP);
    return;
  }
  if (WalkToNextPlayable()) return;
  OnCommand(ID_STOP);
}

bool MainWindow::WalkToNextPlayable() {
  if (!playlist_) return false;
  // A file that fails is passed over; nothing wraps round.
  while (playlist_->CurrentIndex() >= 0 &&
         playlist_->CurrentIndex() < static_cast<int>(playlist_->Items().size()) - 1) {
    const QString path = playlist_->NextFile();
    if (path.isEmpty()) return false;
    if (OpenFile(path)) return true;
  }
  return false;
}

// Steps through the favourites run until an entry opens, then seeks to its
// stored position.
void MainWindow::WalkFavorites(FavoriteStep (FavoriteRun::*step)()) {
  for (FavoriteStep entry = (favoriteRun_.*step)(); !entry.path.isEmpty();
       entry = (favoriteRun_.*step)()) {
    if (OpenFileFrom(entry.path, entry.positionSeconds)) return;
  }
}

void MainWindow::PlayNext() {
  if (!playlist_) return;
  if (favoriteRun_.Active()) {
    WalkFavorites(&FavoriteRun::NextFavorite);
    return;
  }
  WalkToNextPlayable();
}

void MainWindow::PlayPrevious() {
  if (!playlist_) return;
  if (favoriteRun_.Active()) {
    WalkFavorites(&FavoriteRun::PreviousFavorite);
    return;
  }
  while (playlist_->CurrentIndex() > 0) {
    const QString path = playlist_->PreviousFile();
    if (path.isEmpty()) return;
    if (OpenFile(path)) return;
  }
}

QString MainWindow::SelectListItem(int index) {
  if (!playlist_) return {};
  const std::vector<PlaylistItem>& items = playlist_->Items();
  if (index < 0 || index >= static_cast<int>(items.size())) return {};
  const QString path = items[static_cast<size_t>(index)].file_path;
  if (!path.isEmpty()) playlist_->SetCurrentByPath(path);
  return path;
}

void MainWindow::PlayIndex(int index) {
  const QString path = SelectListItem(index);
  if (path.isEmpty() || OpenFile(path)) return;
  // Walk on from a file that fails, but an exhausted list does not stop.
  WalkToNextPlayable();
}

void MainWindow::PlayIndexAt(int index, double startSeconds) {
  const QString path = SelectListItem(index);
  if (path.isEmpty()) return;
  OpenFileFrom(path, startSeconds);
}

void MainWindow::OnAlbumArtResult(std::unique_ptr<AlbumArt> art) {
  if (!art || art->image.isNull()) return;
  albumArt_ = std::move(art->image);
  if (coverView_) coverView_->SetAlbumArt(albumArt_);
}

void MainWindow::ClearAlbumArt() {
  albumArtHook_.Cancel();
  albumArt_ = QImage();
  if (coverView_) coverView_->ClearAlbumArt();
}

}  // namespace zelvaro
