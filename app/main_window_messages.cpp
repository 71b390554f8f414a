// MainWindow: the player's own messages, as panels send and post them, and
// files dropped on the window.

#include "app/main_window.h"
#include "app/osd_formats.h"
#include "app/osd_overlay.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/playlist_model.h"
#include "library/series_files.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMetaObject>
#include <QMimeData>
#include <QUrl>

#include <cstring>

namespace zelvaro {
namespace {

QStringList LocalFiles(const QMimeData* mime) {
  QStringList paths;
  if (mime == nullptr || !mime->hasUrls()) return paths;
  for (const QUrl& url : mime->urls()) {
    const QString path = url.toLocalFile();
    if (!path.isEmpty()) paths << path;
  }
  return paths;
}

}  // namespace

qintptr MainWindow::OnPlayerMessage(int message, qintptr wParam, qintptr lParam) {
  switch (message) {
    case WM_PLAYER_PLAY_PAUSE:
      PlayPause();
      return 0;
    case WM_PLAYER_STOP:
      Stop();
      return 0;
    case WM_PLAYER_PREV_KEYFRAME:
    case WM_PLAYER_NEXT_KEYFRAME:
      if (!graph_) return 0;
      if (message == WM_PLAYER_PREV_KEYFRAME) {
        graph_->SeekPreviousKeyframe();
      } else {
        graph_->SeekNextKeyframe();
      }
      ShowPositionOsd();
      return 0;
    case WM_PLAYER_OPEN_DIALOG:
      ShowOpenDialog();
      return 0;
    case WM_PLAYER_QUERY_SEEKABLE:
      return graph_ && graph_->State() != 0 && !graph_->IsUrlInput() ? 1 : 0;
    case WM_PLAYER_SEEK_FRACTION: {
      if (!graph_) return 0;
      const double duration = graph_->GetDuration();
      if (duration <= 0) return 0;
      const double target = duration * static_cast<double>(wParam) / 10000.0;
      graph_->Seek(target, true, 0);
      ShowOsd(FormatOsdTime(target), kOsdMs);
      return 0;
    }
    case WM_PLAYER_SET_VOLUME:
      if (!graph_) return 0;
      graph_->SetVolume(static_cast<float>(wParam) / 100.0f);
      ShowOsd(FormatKey(u"OSD.VolumeFormat", static_cast<int>(wParam)), kOsdMs);
      return 0;
    case WM_PLAYER_SET_MUTE:
      if (!graph_) return 0;
      // SetMuted stores the flag and reapplies the volume.
      graph_->SetMuted(wParam != 0);
      ShowOsd(LanguageManager::GetString(wParam != 0 ? u"OSD.Mute" : u"OSD.MuteOff"), kOsdMs);
      return 0;
    case WM_PLAYER_ROTATE_LEFT:
      RotateBy(270);
      return 0;
    case WM_PLAYER_ROTATE_RIGHT:
      RotateBy(90);
      return 0;
    case WM_PLAYER_FLIP_H:
      ToggleFlipHorizontal();
      return 0;
    case WM_PLAYER_FLIP_V:
      ToggleFlipVertical();
      return 0;
    case WM_PLAYER_TOGGLE_FULLSCREEN:
      ToggleFullscreen();
      return 0;
    case WM_PLAYER_TOGGLE_CONTROL_PANEL:
      ToggleControlPanel();
      return 0;
    case WM_PLAYER_PLAY_INDEX:
      PlayIndex(static_cast<int>(wParam));
      return 0;
    case WM_PLAYER_PLAY_INDEX_AT:
      PlayIndexAt(static_cast<int>(wParam), static_cast<double>(lParam) / 1000.0);
      return 0;
    case WM_PLAYER_TOGGLE_PLAYLIST:
      TogglePlaylist();
      return 0;
    case WM_PLAYER_PLAYLIST_HIDDEN:
      Settings::SetDword(setting::kPlaylistVisible, 0);
      return 0;
    case WM_PLAYER_GET_CURRENT_PATH: {
      // wParam: a char16_t buffer of lParam units; the path is cut to fit.
      auto* buffer = reinterpret_cast<char16_t*>(wParam);
      if (buffer == nullptr || lParam <= 0 || !graph_ || graph_->CurrentPath().isEmpty()) return 0;
      const QString& path = graph_->CurrentPath();
      const qsizetype length = std::min<qsizetype>(path.size(), lParam - 1);
      std::memcpy(buffer, path.utf16(), static_cast<size_t>(length) * sizeof(char16_t));
      buffer[length] = u'\0';
      return 0;
    }
    case WM_PLAYER_SUBTITLE_MENU:
      ShowSubtitleMenu(QPoint(static_cast<int>(wParam), static_cast<int>(lParam)));
      return 0;
    case WM_PLAYER_AUDIO_MENU:
      ShowAudioTrackMenu(QPoint(static_cast<int>(wParam), static_cast<int>(lParam)));
      return 0;
    case WM_PLAYER_GET_POSITION_MS:
      return graph_ ? static_cast<qintptr>(graph_->GetPosition() * 1000) : 0;
    // The control panel toggle needs its panel; the lyrics and album-art results
    // come through their hooks as owned values, never as numbers.
    default:
      return 0;
  }
}

void MainWindow::PostPlayerMessage(int message, qintptr wParam, qintptr lParam) {
  QMetaObject::invokeMethod(
      this, [this, message, wParam, lParam] { OnPlayerMessage(message, wParam, lParam); },
      Qt::QueuedConnection);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (!LocalFiles(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  const QStringList paths = LocalFiles(event->mimeData());
  if (paths.isEmpty()) return;
  event->acceptProposedAction();
  // The list becomes the series of the first file, then the other dropped
  // files after it.
  const std::vector<QString> series = FindSeriesFiles(paths.front());
  if (playlist_) {
    playlist_->Clear();
    for (const QString& file : series) playlist_->AddFile(file);
    playlist_->RebuildFilter();
  }
  OpenFile(paths.front());
  if (paths.size() > 1 && playlist_) {
    for (qsizetype i = 1; i < paths.size(); ++i) playlist_->AddFile(paths[i]);
    playlist_->RebuildFilter();
  }
}

}  // namespace zelvaro
