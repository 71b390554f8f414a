// MainWindow: the open and play flow, the command dispatcher and the
// player's own messages. The flow grows with the playlist, OSD and lyrics;
// what stands here is what the engine alone can do.

#include "app/commands.h"
#include "app/main_window.h"
#include "engine/graph_manager.h"
#include "foundation/shell_paths.h"

#include <QMetaObject>

namespace zelvaro {

bool MainWindow::OpenFile(const QString& path) {
  if (!graph_ || path.isEmpty()) return false;
  const QString resolved = ResolveShortcut(path);
  graph_->Close();
  if (!graph_->OpenFile(resolved)) return false;
  graph_->Play();
  setWindowTitle(QStringLiteral("Zelvaro"));
  return true;
}

void MainWindow::PlayPause() {
  if (!graph_ || graph_->CurrentPath().isEmpty()) return;
  if (graph_->State() == 2) {
    graph_->Pause();
  } else {
    graph_->Play();
  }
}

void MainWindow::Stop() {
  if (!graph_) return;
  graph_->Stop();
  graph_->RedrawVideo();
}

void MainWindow::OnGraphEvent(long eventCode) {
  if (eventCode != kEcComplete || !graph_) return;
  // With nothing to go on to, the player stops at the end and keeps the input.
  Stop();
}

void MainWindow::OnCommand(int id) {
  switch (id) {
    case ID_PLAY_PAUSE:
    case ID_KEY_PLAY_PAUSE:
    case ID_MEDIA_PLAY_PAUSE:
    case ID_HOTKEY_PLAY_PAUSE:
      PlayPause();
      break;
    case ID_STOP:
    case ID_MEDIA_STOP:
    case ID_HOTKEY_STOP:
      Stop();
      break;
    case ID_KEY_FULLSCREEN:
      ToggleFullscreen();
      break;
    case ID_KEY_ESCAPE:
      if (fullscreen_) ToggleFullscreen();
      break;
    case ID_EXIT:
      Destroy();
      break;
    default:
      break;
  }
}

qintptr MainWindow::OnPlayerMessage(int message, qintptr wParam, qintptr) {
  switch (message) {
    case WM_PLAYER_PLAY_PAUSE:
      PlayPause();
      return 0;
    case WM_PLAYER_STOP:
      Stop();
      return 0;
    case WM_PLAYER_QUERY_SEEKABLE:
      return graph_ && graph_->State() != 0 && !graph_->IsUrlInput() ? 1 : 0;
    case WM_PLAYER_SEEK_FRACTION:
      if (graph_) {
        const double duration = graph_->GetDuration();
        if (duration > 0) graph_->Seek(duration * static_cast<double>(wParam) / 10000.0, true, 0);
      }
      return 0;
    case WM_PLAYER_GET_POSITION_MS:
      return graph_ ? static_cast<qintptr>(graph_->GetPosition() * 1000) : 0;
    case WM_PLAYER_TOGGLE_FULLSCREEN:
      ToggleFullscreen();
      return 0;
    default:
      return 0;
  }
}

void MainWindow::PostPlayerMessage(int message, qintptr wParam, qintptr lParam) {
  QMetaObject::invokeMethod(
      this, [this, message, wParam, lParam] { OnPlayerMessage(message, wParam, lParam); },
      Qt::QueuedConnection);
}

}  // namespace zelvaro
