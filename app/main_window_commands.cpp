// MainWindow::OnCommand, the single command dispatcher, and its helpers.
// Menu commands (the 5000 family) are mostly silent; key commands (the 6000
// family) show what they did on the OSD.

#include "app/commands.h"
#include "app/favorite_menu_ids.h"
#include "app/main_window.h"
#include "app/osd_formats.h"
#include "app/osd_overlay.h"
#include "app/window_globals.h"
#include "chrome/title_bar_window.h"
#include "chrome/toolbar_window.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/media_types.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/trace.h"
#include "library/favorites_database.h"
#include "subtitles/subtitle_manager.h"
#include "update/about_dialog.h"

#include <QFileDialog>
#include <QMessageBox>

#include <algorithm>
#include <array>
#include <cmath>

namespace zelvaro {
namespace {

constexpr int kShortOsdMs = 500;
constexpr int kLongOsdMs = 1500;

constexpr std::array<double, 12> kSpeedPresets = {0.25, 0.5, 0.75, 0.9, 1.0, 1.1,
                                                  1.25, 1.5, 1.75, 2.0, 3.0, 4.0};
constexpr std::array<double, 7> kFrameRateTargets = {23.976, 24.0, 25.0, 29.97, 30.0, 59.94, 60.0};

constexpr std::array<int, 6> kSizePercents = {25, 50, 75, 100, 150, 200};
constexpr std::array<int, 4> kMonitorPercents = {30, 45, 60, 75};
constexpr std::array<const char16_t*, 4> kMonitorOsdKeys = {
    u"OSD.MonitorSize30", u"OSD.MonitorSize45", u"OSD.MonitorSize60", u"OSD.MonitorSize75"};

constexpr double kMinSpeed = 0.1;
constexpr double kMaxSpeed = 4.0;
constexpr double kSpeedStep = 0.1;
constexpr double kSeekKeySeconds = 10.0;
constexpr double kFallbackFrameRate = 30.0;
constexpr int64_t kSubtitleDelayStepMs = 500;

QString SpeedText(const char* format, double speed) {
  return QString::asprintf(format, speed);
}

// " [mm:ss]" below one hour, " [h:mm:ss]" from one hour on, after `name`.
QString NameWithTime(const QString& name, double seconds) {
  const int total = static_cast<int>(seconds);
  if (total < 3600)
    return FormatText(QStringLiteral("%s [%02d:%02d]"), name, total / 60, total % 60);
  return FormatText(QStringLiteral("%s [%d:%02d:%02d]"), name, total / 3600, total / 60 % 60,
                    total % 60);
}

bool InRange(int id, int first, int last) {
  return id >= first && id <= last;
}

}  // namespace

void MainWindow::OnCommand(int id) {
  RunCommand(id);
  // Whatever the command changed (volume, mute, speed, marks, play state,
  // subtitles) shows on the toolbar at once, not at the next tick.
  SyncToolbar();
  RefreshControlPanel();
}

void MainWindow::RunCommand(int id) {
  if (InRange(id, ID_SPEED_PRESET_FIRST, ID_SPEED_PRESET_LAST)) {
    SetSpeedPreset(kSpeedPresets[static_cast<size_t>(id - ID_SPEED_PRESET_FIRST)]);
    return;
  }
  if (InRange(id, ID_SPEED_FPS_FIRST, ID_SPEED_FPS_LAST)) {
    SetSpeedForFrameRate(kFrameRateTargets[static_cast<size_t>(id - ID_SPEED_FPS_FIRST)]);
    return;
  }
  if (InRange(id, ID_SIZE_FIRST, ID_SIZE_LAST) || InRange(id, ID_KEY_FIT_25, ID_KEY_FIT_200)) {
    const bool key = id >= ID_KEY_FIT_25;
    const int percent =
        kSizePercents[static_cast<size_t>(id - (key ? ID_KEY_FIT_25 : ID_SIZE_FIRST))];
    if (key) {
      FitToPercent(percent);
    } else {
      SizeToVideo(percent);
    }
    ShowOsd(QStringLiteral("%1%").arg(percent), kOsdMs);
    return;
  }
  if (InRange(id, ID_MONITOR_SIZE_FIRST, ID_MONITOR_SIZE_LAST)) {
    const auto index = static_cast<size_t>(id - ID_MONITOR_SIZE_FIRST);
    SizeToMonitor(kMonitorPercents[index]);
    ShowOsd(LanguageManager::GetString(kMonitorOsdKeys[index]), kOsdMs);
    return;
  }
  if (InRange(id, ID_RECENT_FIRST, ID_RECENT_LAST)) {
    OpenRecent(id - ID_RECENT_FIRST);
    return;
  }
  if (InRange(id, ID_AUDIO_TRACK_FIRST, ID_AUDIO_TRACK_LAST)) {
    SelectAudioTrack(id - ID_AUDIO_TRACK_FIRST);
    return;
  }
  if (InRange(id, ID_SUBTITLE_TRACK_FIRST, ID_SUBTITLE_TRACK_LAST)) {
    SelectSubtitleTrack(id - ID_SUBTITLE_TRACK_FIRST);
    return;
  }
  if (const std::optional<FavoriteEntry> entry = FavoriteEntryFromId(id)) {
    PlayFavorite(entry->group, entry->item);
    return;
  }
  if (const std::optional<int> group = FavoriteGroupFromClearId(id)) {
    ClearFavoriteGroup(*group);
    return;
  }

  switch (id) {
    case ID_OPEN_FILE:
    case ID_KEY_OPEN:
      ShowOpenDialog();
      break;
    case ID_OPEN_URL:
    case ID_KEY_OPEN_URL:
      ShowUrlDialog();
      break;
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
    case ID_MEDIA_NEXT:
    case ID_HOTKEY_NEXT:
      PlayNext();
      break;
    case ID_MEDIA_PREV:
    case ID_HOTKEY_PREV:
      PlayPrevious();
      break;

    case ID_PREV_KEYFRAME:
      if (graph_) graph_->SeekPreviousKeyframe();
      break;
    case ID_NEXT_KEYFRAME:
      if (graph_) graph_->SeekNextKeyframe();
      break;
    case ID_KEY_PREV_KEYFRAME:
      if (!graph_) break;
      graph_->SeekPreviousKeyframe();
      ShowPositionOsd();
      break;
    case ID_KEY_NEXT_KEYFRAME:
      if (!graph_) break;
      graph_->SeekNextKeyframe();
      ShowPositionOsd();
      break;
    case ID_KEY_SEEK_BACK:
    case ID_KEY_SEEK_FORWARD:
      if (!graph_) break;
      graph_->SeekRelative(id == ID_KEY_SEEK_BACK ? -kSeekKeySeconds : kSeekKeySeconds, true);
      ShowPositionOsd();
      break;
    case ID_KEY_FRAME_BACK:
    case ID_KEY_FRAME_FORWARD: {
      if (!graph_) break;
      const double rate = graph_->FrameRate() > 0 ? graph_->FrameRate() : kFallbackFrameRate;
      const bool back = id == ID_KEY_FRAME_BACK;
      // Snapped: on a file with keyframes this lands on the neighbouring one.
      graph_->SeekRelative(back ? -1.0 / rate : 1.0 / rate, true);
      ShowOsd(LanguageManager::GetString(back ? u"OSD.PrevFrame" : u"OSD.NextFrame"), kShortOsdMs);
      break;
    }

    case ID_KEY_VOLUME_UP:
      StepVolume(kVolumeKeyStep);
      break;
    case ID_KEY_VOLUME_DOWN:
      StepVolume(-kVolumeKeyStep);
      break;
    case ID_KEY_MUTE:
      ToggleMute();
      break;
    case ID_DRC_TOGGLE:
      ToggleDrc();
      break;

    case ID_SPEED_RESET:
      ToggleSpeed(false);
      break;
    case ID_KEY_SPEED_TOGGLE:
      ToggleSpeed(true);
      break;
    case ID_SPEED_DOWN:
      StepSpeed(-kSpeedStep, false);
      break;
    case ID_SPEED_UP:
      StepSpeed(kSpeedStep, false);
      break;
    case ID_KEY_SPEED_DOWN:
      StepSpeed(-kSpeedStep, true);
      break;
    case ID_KEY_SPEED_UP:
      StepSpeed(kSpeedStep, true);
      break;

    case ID_ROTATE_RESET:
      OnCommand(ID_KEY_ROTATE_RESET);
      break;
    case ID_ROTATE_270:
      OnCommand(ID_KEY_ROTATE_270);
      break;
    case ID_ROTATE_90:
      OnCommand(ID_KEY_ROTATE_90);
      break;
    case ID_ROTATE_STEP_LEFT:
      OnPlayerMessage(WM_PLAYER_ROTATE_LEFT);
      break;
    case ID_ROTATE_STEP_RIGHT:
      OnPlayerMessage(WM_PLAYER_ROTATE_RIGHT);
      break;
    case ID_FLIP_H:
      OnPlayerMessage(WM_PLAYER_FLIP_H);
      break;
    case ID_FLIP_V:
      OnPlayerMessage(WM_PLAYER_FLIP_V);
      break;
    case ID_KEY_ROTATE_RESET:
      if (!graph_) break;
      graph_->SetRotation(0);
      graph_->SetFlipHorizontal(false);
      graph_->SetFlipVertical(false);
      ShowOsd(LanguageManager::GetString(u"OSD.Rotate0"), kOsdMs);
      break;
    case ID_KEY_ROTATE_90:
      if (!graph_) break;
      graph_->SetRotation(90);
      ShowOsd(LanguageManager::GetString(u"OSD.Rotate90"), kOsdMs);
      break;
    case ID_KEY_ROTATE_180:
      if (!graph_) break;
      graph_->SetRotation(180);
      ShowOsd(LanguageManager::GetString(u"OSD.Rotate180"), kOsdMs);
      break;
    case ID_KEY_ROTATE_270:
      if (!graph_) break;
      graph_->SetRotation(270);
      ShowOsd(LanguageManager::GetString(u"OSD.Rotate270"), kOsdMs);
      break;
    case ID_KEY_ROTATE_STEP_LEFT:
      RotateBy(270);
      break;
    case ID_KEY_ROTATE_STEP_RIGHT:
      RotateBy(90);
      break;
    case ID_KEY_FLIP_H:
      ToggleFlipHorizontal();
      break;
    case ID_KEY_FLIP_V:
      ToggleFlipVertical();
      break;

    case ID_AB_SET_A:
    case ID_KEY_AB_SET_A:
      SetMarkA();
      break;
    case ID_AB_SET_B:
    case ID_KEY_AB_SET_B:
      SetMarkB();
      break;
    case ID_AB_CLEAR:
    case ID_KEY_AB_CLEAR:
      if (!graph_) break;
      ClearMarks();
      UpdateMarks();
      ShowOsd(LanguageManager::GetString(u"OSD.ABRepeatClear"), kOsdMs);
      break;

    case ID_RECENT_CLEAR:
      ClearRecent();
      break;
    case ID_CUT_CLIP:
      ShowCutClipDialog();
      break;
    case ID_FAVORITE_ADD:
    case ID_KEY_FAVORITE_ADD:
      AddToFavorites();
      break;
    case ID_FAVORITE_MANAGE:
      ManageFavorites();
      break;

    case ID_SETTINGS:
      ShowOptions();
      break;
    case ID_FILE_INFO:
      ShowFileInfo();
      break;
    case ID_ABOUT: {
      AboutDialog about(this);
      about.exec();
      break;
    }
    case ID_EXIT:
      // Straight to destruction: the panels' state is not saved on this path.
      Destroy();
      break;
    case ID_KEY_FULLSCREEN:
      ToggleFullscreen();
      break;
    case ID_KEY_ESCAPE:
      Escape();
      break;
    case ID_KEY_MAXIMIZE:
      ToggleMaximize();
      break;
    case ID_CONTROL_PANEL:
    case ID_KEY_CONTROL_PANEL:
      ToggleControlPanel();
      break;
    case ID_LYRICS_PANEL:
    case ID_KEY_LYRICS_PANEL:
      ToggleLyricsPanel();
      break;

    case ID_SUBTITLE_DISABLE:
      DisableSubtitles();
      break;
    case ID_SUBTITLE_OPEN:
      OpenSubtitleFile();
      break;
    case ID_KEY_SUBTITLE_DELAY_DOWN:
    case ID_KEY_SUBTITLE_DELAY_UP:
      if (graph_ && graph_->Subtitles()) {
        graph_->AdjustSubtitleDelay(id == ID_KEY_SUBTITLE_DELAY_UP ? kSubtitleDelayStepMs
                                                                   : -kSubtitleDelayStepMs);
        ShowOsd(FormatKey(u"OSD.SubtitleDelayFormat", graph_->GetSubtitleDelay() / 1000.0), kOsdMs);
      }
      break;
    case ID_KEY_SUBTITLE_DELAY_RESET:
      if (graph_) graph_->ResetSubtitleDelay();
      ShowOsd(LanguageManager::GetString(u"OSD.SubtitleDelayReset"), kOsdMs);
      break;

    case ID_SCREENSHOT:
    case ID_KEY_SCREENSHOT:
      TakeScreenshot();
      break;

    default:
      break;
  }
}

void MainWindow::DisableSubtitles() {
  if (graph_) graph_->CancelEmbeddedExtraction();
  if (graph_ && graph_->Subtitles()) graph_->Subtitles()->SetEnabled(false);
  Settings::SetDword(setting::kSubtitleEnabled, 0);
  if (toolbar_) toolbar_->SetSubtitleEnabled(false);
  if (graph_) graph_->RedrawVideo();
  ShowOsd(LanguageManager::GetString(u"OSD.SubtitleDisable"), kOsdMs);
}

void MainWindow::OpenSubtitleFile() {
  const QString path = QFileDialog::getOpenFileName(
      this, LanguageManager::GetString(u"FileDialog.OpenSubtitleTitle"), QString(),
      SubtitleFilter().join(QStringLiteral(";;")));
  if (path.isEmpty() || !graph_) return;
  graph_->EnsureSubtitleManager();
  // Read off this thread; the picture plays on meanwhile. The callback comes
  // back here, and never for a load that a newer one or a close replaced.
  graph_->Subtitles()->LoadSubtitleAsync(path, [this, path](bool loaded) {
    Trace("Subtitle loaded: %s", qPrintable(path));
    // A file that does not load says nothing.
    if (!loaded || !graph_ || !graph_->Subtitles()) return;
    graph_->Subtitles()->SetEnabled(true);
    Settings::SetDword(setting::kSubtitleEnabled, 1);
    SetToolbarSubtitles(true, true);
    graph_->RedrawVideo();
    ShowOsd(LanguageManager::GetString(u"OSD.SubtitleEnable"), kOsdMs);
  });
}

void MainWindow::ShowPositionOsd() {
  if (graph_) ShowOsd(FormatOsdTime(graph_->GetPosition()), kOsdMs);
}

void MainWindow::ApplyStoredVolume() {
  if (!graph_) return;
  uint32_t stored = 0;
  if (Settings::GetDword(setting::kVolume, &stored)) {
    graph_->SetVolume(static_cast<float>(stored) / 100.0f);
  }
  if (Settings::GetDword(setting::kMuted, &stored)) graph_->SetMuted(stored != 0);
}

void MainWindow::StepVolume(double delta) {
  if (!graph_) return;
  const double volume = std::clamp(static_cast<double>(graph_->Volume()) + delta, 0.0, 1.0);
  graph_->SetVolume(static_cast<float>(volume));
  ShowOsd(VolumeOsdText(graph_->Volume()), kOsdMs);
}

void MainWindow::ToggleMute() {
  if (!graph_) return;
  graph_->SetMuted(!graph_->Muted());
  ShowOsd(LanguageManager::GetString(graph_->Muted() ? u"OSD.Mute" : u"OSD.MuteOff"), kOsdMs);
}

void MainWindow::ToggleDrc() {
  if (!graph_) return;
  graph_->ToggleDRC();
  bool enabled = false;
  int level = 0;
  if (graph_->QueryDRC(&enabled, &level)) {
    ShowOsd(enabled ? QStringLiteral("DRC ON") : QStringLiteral("DRC OFF"), kOsdMs);
  }
}

void MainWindow::SelectAudioTrack(int track) {
  if (!graph_) return;
  graph_->SelectAudioTrack(track);
  ShowOsd(FormatKey(u"OSD.AudioTrackFormat", graph_->GetAudioTrackName(track)), kLongOsdMs);
}

void MainWindow::SetSpeedPreset(double speed) {
  if (!graph_) return;
  graph_->SetSpeed(speed);
  ShowOsd(SpeedText("%.2fx", speed), kOsdMs);
}

void MainWindow::SetSpeedForFrameRate(double framesPerSecond) {
  if (!graph_ || !(graph_->FrameRate() > 0)) return;
  const double speed = framesPerSecond / graph_->FrameRate();
  graph_->SetSpeed(speed);
  ShowOsd(SpeedText("%.2fx", speed), kOsdMs);
}

void MainWindow::ToggleSpeed(bool withOsd) {
  if (!graph_) return;
  const double speed = graph_->Speed();
  double target = 1.0;
  if (speed == 1.0) {
    // The menu form has nothing to do when there is nothing to return to.
    if (!withOsd && lastSpeed_ == 1.0) return;
    target = lastSpeed_;
  } else {
    lastSpeed_ = speed;
  }
  graph_->SetSpeed(target);
  if (withOsd) ShowOsd(SpeedText("%.2fx", target), kOsdMs);
}

void MainWindow::StepSpeed(double delta, bool rounded) {
  if (!graph_) return;
  double target = std::clamp(graph_->Speed() + delta, kMinSpeed, kMaxSpeed);
  if (!rounded) {
    // The menu steps exactly, off the tenths grid if it was already off it.
    graph_->SetSpeed(target);
    return;
  }
  target = std::round(target * 10.0) / 10.0;
  graph_->SetSpeed(target);
  ShowOsd(SpeedText("%.1fx", target), kOsdMs);
}

void MainWindow::RotateBy(int degrees) {
  if (!graph_) return;
  const int rotation = (graph_->Rotation() + degrees) % 360;
  graph_->SetRotation(rotation);
  ShowOsd(FormatKey(u"OSD.RotateFormat", rotation), kOsdMs);
}

void MainWindow::ToggleFlipHorizontal() {
  if (!graph_) return;
  graph_->SetFlipHorizontal(!graph_->FlipHorizontal());
  ShowOsd(LanguageManager::GetString(graph_->FlipHorizontal() ? u"OSD.FlipH" : u"OSD.FlipHOff"),
          kOsdMs);
}

void MainWindow::ToggleFlipVertical() {
  if (!graph_) return;
  graph_->SetFlipVertical(!graph_->FlipVertical());
  ShowOsd(LanguageManager::GetString(graph_->FlipVertical() ? u"OSD.FlipV" : u"OSD.FlipVOff"),
          kOsdMs);
}

void MainWindow::SetMarkA() {
  if (!graph_) return;
  graph_->SetMarkA();
  UpdateMarks();
  ShowOsd(LanguageManager::GetString(graph_->MarkA() >= 1 ? u"OSD.ABRepeatASet"
                                                          : u"OSD.ABRepeatAUnset"),
          kOsdMs);
}

void MainWindow::SetMarkB() {
  if (!graph_) return;
  graph_->SetMarkB();
  UpdateMarks();
  QStringView key = u"OSD.ABRepeatBSet";
  if (graph_->MarkB() < 1) {
    key = u"OSD.ABRepeatBUnset";
  } else if (graph_->MarkA() == 1) {
    key = u"OSD.ABRepeatStartToB";
  }
  ShowOsd(LanguageManager::GetString(key), kOsdMs);
}

void MainWindow::ClearMarks() {
  if (graph_) graph_->ClearMarks();
}

void MainWindow::UpdateMarks() {
  SyncToolbar();
  RefreshControlPanel();
}

bool MainWindow::ContinueFromMarkA() {
  // A without B (or B left behind A) repeats from A to the end; a real loop
  // is closed by the position timer instead.
  if (!graph_ || graph_->MarkA() < 1 || graph_->MarkB() > graph_->MarkA()) return false;
  graph_->Seek(static_cast<double>(graph_->MarkA()) / 10'000'000.0, true, 0);
  graph_->Play();
  ShowOsd(QStringLiteral("A → 끝 반복"), 2000);
  return true;
}

void MainWindow::OpenRecent(int index) {
  const std::vector<QString>& entries = recentFiles_.Entries();
  if (index < 0 || index >= static_cast<int>(entries.size())) return;
  const QString path = entries[static_cast<size_t>(index)];
  if (IsUrl(path) || PathExists(path)) {
    OpenFile(path);
    return;
  }
  recentFiles_.RemoveEntry(index);
  QMessageBox box(QMessageBox::Warning, LanguageManager::GetString(u"App.Error"),
                  LanguageManager::GetString(u"OSD.FileNotFoundMessage"), QMessageBox::Ok, this);
  box.exec();
}

void MainWindow::ClearRecent() {
  recentFiles_.Clear();
}

void MainWindow::AddToFavorites() {
  if (!graph_) return;
  if (graph_->CurrentPath().isEmpty()) {
    ShowOsd(LanguageManager::GetString(u"OSD.NoPlayingFile"), kOsdMs);
    return;
  }
  const double position = graph_->GetPosition();
  FavoritesDatabase& favorites = FavoritesDatabase::Instance();
  const std::optional<int> group = pickFavoriteGroup_ ? pickFavoriteGroup_() : std::nullopt;
  if (!group) return;
  if (!favorites.AddItem(*group, graph_->CurrentPath(), position)) return;
  const QString name = favorites.Groups()[static_cast<size_t>(*group)].name;
  const int total = static_cast<int>(position);
  QString text;
  if (position <= 1.0) {
    text = FormatKey(u"OSD.FavoritesAddedFormat", name);
  } else if (total < 3600) {
    text = FormatKey(u"OSD.FavoritesAddedTimeFormat2", name, total / 60, total % 60);
  } else {
    text =
        FormatKey(u"OSD.FavoritesAddedTimeFormat", name, total / 3600, total / 60 % 60, total % 60);
  }
  ShowOsd(text, kLongOsdMs);
}

void MainWindow::PlayFavorite(int group, int item) {
  FavoritesDatabase& favorites = FavoritesDatabase::Instance();
  const std::vector<FavoriteGroup>& groups = favorites.Groups();
  if (group < 0 || group >= static_cast<int>(groups.size())) return;
  const std::vector<FavoriteItem>& items = groups[static_cast<size_t>(group)].items;
  if (item < 0 || item >= static_cast<int>(items.size())) return;
  const QString path = items[static_cast<size_t>(item)].file_path;
  const QString name = items[static_cast<size_t>(item)].file_name;
  const double position = items[static_cast<size_t>(item)].position;
  if (!PathExists(path)) {
    favorites.RemoveItem(group, item);
    ShowOsd(LanguageManager::GetString(u"OSD.FileNotFound"), kOsdMs);
    return;
  }
  if (!OpenFile(path)) return;
  if (position > 0 && graph_) {
    graph_->Seek(position, true, 0);
    ShowOsd(NameWithTime(name, position), kLongOsdMs);
    return;
  }
  ShowOsd(name, kLongOsdMs);
}

void MainWindow::ClearFavoriteGroup(int group) {
  FavoritesDatabase& favorites = FavoritesDatabase::Instance();
  if (group < 0 || group >= static_cast<int>(favorites.Groups().size())) return;
  favorites.ClearGroup(group);
  ShowOsd(LanguageManager::GetString(u"OSD.FavoritesGroupClear"), kOsdMs);
}

void MainWindow::ApplySettings() {
  thumbnailPreview_ = SeekbarThumbnailPreview;
  if (toolbar_) toolbar_->SetPreview(thumbnailPreview_, thumbnailGenerator_.get());
  if (graph_) {
    const bool normalize = Settings::GetDwordOr(setting::kAudioNormalize, 0) != 0;
    const bool recover = Settings::GetDwordOr(setting::kAudioNormalizeRecover, 1) != 0;
    const uint32_t factor = Settings::GetDwordOr(setting::kAudioMaxNormFactor, 200);
    const uint32_t boost = Settings::GetDwordOr(setting::kAudioBoost, 0);
    graph_->SetNormalize(normalize, recover, static_cast<float>(factor / 100.0));
    graph_->SetBoost(static_cast<float>(boost / 100.0 + 1.0));
  }
  RefreshControlPanelTexts();
  update();
}

void MainWindow::ToggleMaximize() {
  if (fullscreen_) return;
  if (titleBar_) {
    titleBar_->ToggleMaximize();
  } else if (windowState() & Qt::WindowMaximized) {
    showNormal();
  } else {
    showMaximized();
  }
}

void MainWindow::Escape() {
  if (fullscreen_) {
    LeaveFullscreen();  // without the OSD line of the fullscreen key
  } else if (windowState() & Qt::WindowMaximized) {
    if (titleBar_) {
      titleBar_->Restore();
    } else {
      showNormal();
    }
  } else {
    showMinimized();
  }
}

}  // namespace zelvaro
