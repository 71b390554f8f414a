#pragma once
// MainWindow: the hub of the player. One frameless top-level window that owns
// the engine, the playlist, the recent files and every panel, turns commands,
// keys, the wheel and the player's messages into calls on GraphManager and
// the panels, and is the only place where they meet: panels never call each
// other.
//
// Interface thread only. Other threads reach it by queued calls to
// PostPlayerMessage, and the lyrics and album-art workers through their
// hooks (lyrics_hook.h, album_art_hook.h), whose results are move-only values
// owned by the window once delivered. Owned panels may be absent (not built
// yet, or failed to create): every handler tests the pointers it uses, and a
// command that needs a missing piece does nothing and says nothing.
//
// The code is split by duty: main_window.cpp (creation, destruction,
// placement, painting, the resize bands, fullscreen), main_window_open.cpp
// (the open and play flow, the end of a file, the workers),
// main_window_commands.cpp (OnCommand), main_window_input.cpp (keys, wheel,
// timers), main_window_messages.cpp (the player's messages, drag and drop),
// main_window_menus.cpp (the popup menus), main_window_lyrics.cpp (the
// lyrics search's results and the lyrics panel), main_window_wheel.cpp (the
// wheel's volume saves, the place after a move) and main_window_sizing.cpp
// (the sizing commands, the magnet, the docked panels).

#include "app/album_art_hook.h"
#include "app/favorite_run.h"
#include "app/file_analysis.h"
#include "app/file_info_window.h"
#include "app/lyrics_hook.h"
#include "app/menu_models.h"
#include "app/spectrum_analyzer.h"
#include "app/messages.h"
#include "app/panel_dock.h"
#include "app/wheel_steps.h"
#include "app/window_sizing.h"
#include "app/worker_mailbox.h"
#include "chrome/chrome_host.h"
#include "library/recent_files.h"
#include "library/resume_positions.h"
#include "panels/panel_host.h"

#include <QImage>
#include <QPointer>
#include <QRect>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class QMenu;

namespace zelvaro {

class DesktopServices;
class CutClipDialog;
class GraphManager;
class LyricsWindow;
class OsdOverlay;
class PlaylistModel;
class ThumbnailGenerator;
class VideoRenderer;
namespace panels {
class PlaylistWindow;
class ControlPanelWindow;
}  // namespace panels
namespace chrome {
class TitleBarWindow;
class ToolbarWindow;
}  // namespace chrome

class AudioCoverView;

class MainWindow : public QWidget, private chrome::ChromeHost, private panels::PanelHost {
  Q_OBJECT
 public:
  MainWindow();
  ~MainWindow() override;

  // Reads the window settings, builds the children, the stores and the
  // engine, and places the window. False when the window cannot be made.
  bool Create();

  // Open and play flow. Every way of opening ends in OpenFile.
  bool OpenFile(const QString& path);
  bool OpenUrl(const QString& url);
  void ShowOpenDialog();
  void ShowUrlDialog();
  void PlayPause();
  void Stop();
  void PlayIndex(int index);
  void PlayIndexAt(int index, double startSeconds);
  // The local file now open, where it stands, for its next opening.
  void RememberResumePosition();

  void ToggleFullscreen() override;
  void LayoutChildren();
  // Where the bars and the picture sit in the window as it stands now.
  MainWindowLayout Layout() const;

  // main_window_sizing.cpp. The window sized to the picture at `percent`,
  // to `percent` of the work area, or (keys 1 to 6, leaving fullscreen
  // first) to the picture or, without one, to the work area; each keeps the
  // window's centre where the work area allows. Nothing in fullscreen, and
  // nothing without a picture but FitToPercent.
  void SizeToVideo(int percent);
  void SizeToMonitor(int percent);
  void FitToPercent(int percent);
  // A tool window the window keeps: hidden through fullscreen and given
  // back after it, and with `follows` docked to a side and moved along.
  // The dock lives as long as the window; the panel stays its owner's.
  PanelDock* AddDockedPanel(QWidget* panel, bool follows, PanelSettingNames names = {});
  const std::vector<std::unique_ptr<PanelDock>>& DockedPanels() const { return docks_; }
  // True while the window follows the pointer in a move of its own.
  bool MovingWindow() const { return movingWindow_; }

  // The single command dispatcher (commands.h, favorite_menu_ids.h).
  void OnCommand(int id);
  // Keys outside the key map; true when the key acted.
  bool OnKeyDown(int key, Qt::KeyboardModifiers modifiers);
  // One call is one volume step (wheelEvent gathers deltas into notches).
  void OnMouseWheel(int delta);
  // The player's own messages (messages.h); returns the message's result.
  qintptr OnPlayerMessage(int message, qintptr wParam = 0, qintptr lParam = 0);
  // Safe from any thread: delivers the message on the interface thread.
  void PostPlayerMessage(int message, qintptr wParam = 0, qintptr lParam = 0) override;

  // Writes the frame on show to the pictures folder (main_window_screenshot.cpp).
  void TakeScreenshot();

  // Applies what the options pages change.
  void ApplySettings();
  // main_window_options.cpp. A language switch reaches every window as
  // QEvent::LanguageChange (SwitchLanguage in panels/options_page.h); here
  // the window's own texts, the bars' tips on show and the report window
  // take the new language at once.
  void RefreshTexts();
  // main_window_file_info.cpp: the report of the open file, made off the
  // interface thread; an OSD line when there is nothing to show.
  void ShowFileInfo();
  FileInfoWindow* fileInfoWindow() const { return fileInfoWindow_; }
  bool FileAnalysisRunning() const { return fileAnalysis_.Running(); }

  // main_window_menus.cpp. The menus are built at each opening and run
  // modally; the choice goes to OnCommand. Points are global; the subtitle
  // and audio menus stand with their bottom at the point.
  void ShowContextMenu(QPoint global);
  std::unique_ptr<QMenu> BuildSubtitleMenu();
  void ShowSubtitleMenu(QPoint global);
  void ShowAudioTrackMenu(QPoint global);
  void FillRecentMenu(QMenu* menu);
  void FillFavoritesMenu(QMenu* menu);
  // The embedded subtitle stream chosen in the menu, -1 for none.
  int embeddedSubtitleIndex() const { return embeddedSubtitleIndex_; }

  // main_window_clip.cpp: the clip-cutting dialog (ID_CUT_CLIP); an open one
  // comes to the front. Null when none is open.
  void ShowCutClipDialog();
  CutClipDialog* cutClipDialog() const;

  // Where the favourites dialog's group choice comes in: the group index, or
  // nothing when the user cancels. Without one, adding a favourite stops at
  // the choice.
  using FavoriteGroupPicker = std::function<std::optional<int>()>;
  void SetFavoriteGroupPicker(FavoriteGroupPicker picker) {
    pickFavoriteGroup_ = std::move(picker);
  }

  // The control panel's A-B buttons changed the marks: the seek bar shows them.
  void OnMarksChanged() { UpdateMarks(); }
  panels::ControlPanelWindow* controlPanel() const { return controlPanel_; }

  GraphManager* graph() const { return graph_.get(); }
  VideoRenderer* videoWindow() const { return videoWindow_; }
  chrome::TitleBarWindow* titleBar() const { return titleBar_; }
  chrome::ToolbarWindow* toolbar() const { return toolbar_; }
  ThumbnailGenerator* thumbnailGenerator() const { return thumbnailGenerator_.get(); }
  PlaylistModel* playlist() const { return playlist_.get(); }
  // The playlist panel, an owned tool window; null when it could not be made.
  panels::PlaylistWindow* playlistWindow() const { return playlistWindow_; }
  const std::vector<QString>& recentFiles() const { return recentFiles_.Entries(); }
  FavoriteRun& favoriteRun() { return favoriteRun_; }
  LyricsHook& lyricsHook() { return lyricsHook_; }
  AlbumArtHook& albumArtHook() { return albumArtHook_; }
  bool fullscreen() const { return fullscreen_; }
  bool HasLyrics() const { return hasLyrics_; }
  const LyricsResult* lyrics() const { return lyrics_.get(); }
  LyricsWindow* lyricsWindow() const { return lyricsWindow_; }
  const QImage& albumArt() const { return albumArt_; }
  AudioCoverView* audioCoverView() const { return coverView_; }
  double lastSpeed() const { return lastSpeed_; }
  bool sizeOsdArmed() const { return sizeOsdArmed_; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void changeEvent(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  // The path of list item `index`, made the list's current item; empty for
  // no list, an index outside it or an item without a file.
  QString SelectListItem(int index);
  // How long a feedback line stays on the OSD, and one volume key's step;
  // shared by the command, key and message handlers.
  static constexpr int kOsdMs = 1000;
  static constexpr double kVolumeKeyStep = 0.01;

  // main_window.cpp
  void ReadWindowSettings();
  void RestorePlacement();
  void SavePanels();
  void SaveWindowAndSettings();
  // Saves the window and the settings, stops the timers, the overlay and the
  // engine, and ends the event loop; the objects go when the window is deleted.
  void Destroy();
  void EnterFullscreen();
  void LeaveFullscreen();
  Qt::Edges ResizeEdgesAt(const QPoint& position) const;
  // The bars sit in the window's frame, or over the picture in fullscreen.
  void DockBars(bool overPicture);

  // ChromeHost: what the bars report.
  qintptr SendPlayerMessage(int message, qintptr wParam, qintptr lParam) override;
  void SendCommand(int id) override;
  void ShowContextMenuAt(QPoint globalPos) override;
  void BeginWindowMove(QWidget* bar, QPoint globalCursor) override;

  // main_window_sizing.cpp
  // The work area of the monitor nearest to `rect`.
  QRect WorkAreaNear(const QRect& rect) const;
  void CenterAndPlace(QSize size);
  // Docked panels beside the window as it stands (after a move or a size).
  void FollowDockedPanels();
  void UpdateDockedSnapStates();
  // The window where the pointer's move has taken it, magnet applied.
  void MoveWithPointer(QPoint globalCursor);
  void EndWindowMove();

  // main_window_open.cpp
  void OnGraphEvent(long eventCode);
  // Next and previous of the playlist or of a favourites run.
  void PlayNext();
  void PlayPrevious();
  // Walks the list from the current item until a file opens; false when
  // the list ran out first.
  bool WalkToNextPlayable();
  void LoadLyricsForMedia(const QString& path);
  void OnLyricsResult(std::unique_ptr<LyricsResult> result);
  void OnAlbumArtResult(std::unique_ptr<AlbumArt> art);
  void ClearAlbumArt();
  // main_window_spectrum.cpp: the cover view for an audio-only input, and
  // the spectrum's feed at each tick of timer 1006.
  void SetAudioOnly(bool audioOnly);
  void FeedSpectrum();
  void UpdateTitleBarName();

  // main_window_file_info.cpp
  void OnFileAnalysis(const FileAnalysisResult& result);
  FileAnalysis fileAnalysis_;
  QPointer<FileInfoWindow> fileInfoWindow_;
  // main_window_lyrics.cpp
  void CreateLyricsPanel();
  void ToggleLyricsPanel();
  // Timed lyrics as the subtitle, when the file has none of its own.
  void LoadLyricsSubtitle(const LyricsData& lyrics);
  // Timer 1001: the panel's line follows the position.
  void UpdateLyricsLine();
  void SaveLyricsPanel();

  // main_window_commands.cpp
  void RunCommand(int id);
  // The stored volume and mute reach the engine at start.
  void ApplyStoredVolume();
  void OpenRecent(int index);
  void ClearRecent();
  void AddToFavorites();
  void PlayFavorite(int group, int item);
  void ClearFavoriteGroup(int group);
  void ShowOptions();
  void RotateBy(int degrees);
  void ToggleFlipHorizontal();
  void ToggleFlipVertical();
  void WalkFavorites(FavoriteStep (FavoriteRun::*step)());
  // main_window_resume.cpp: a start at a position of the caller's own (a
  // favourite's) wins over the remembered one.
  bool OpenFileFrom(const QString& path, double startSeconds);
  void ResumeIfRemembered(const QString& path);
  void DisableSubtitles();
  void OpenSubtitleFile();
  void ShowPositionOsd();
  void StepVolume(double delta);
  void ToggleMute();
  void SetSpeedPreset(double speed);
  void SetSpeedForFrameRate(double framesPerSecond);
  void ToggleSpeed(bool withOsd);
  void StepSpeed(double delta, bool rounded);
  void SetMarkA();
  void SetMarkB();
  void ClearMarks();
  void UpdateMarks();
  void ToggleMaximize();
  void Escape();
  void SelectAudioTrack(int track);
  void ToggleDrc();
  // At the end of a file with A set and no loop: back to A; true when it went.
  bool ContinueFromMarkA();

  // main_window_menus.cpp
  SubtitleMenuState SubtitleState() const;
  MenuModel ContextModel() const;
  void SelectSubtitleTrack(int index);
  // main_window_embedded.cpp: an embedded stream by the route the settings
  // choose; the window shows it once the route has it in place.
  void SelectEmbeddedSubtitle(int index, bool announce = true);
  void ShowEmbeddedSubtitle(int index, bool announce);
  // After an open: the track the subtitle settings name, when no side file
  // is there and subtitles are on.
  void SelectDefaultEmbeddedSubtitle();

  // main_window_control_panel.cpp
  void CreateControlPanel();
  void ToggleControlPanel();
  void SaveControlPanel();
  // The panel's dock brings it back after fullscreen; this shows it afresh.
  void RestoreControlPanelAfterFullscreen();
  // Shows in an open panel what a key, a menu or the engine changed.
  void RefreshControlPanel();
  void RefreshControlPanelTexts();

  // main_window_input.cpp
  void OnTimer(int id);
  void UpdateFullscreenBars();

  // main_window_chrome.cpp
  // The toolbar's playback fields from the engine: position, duration,
  // progress (left alone while the thumb is dragged), play state, volume,
  // mute, speed, the A-B marks and the subtitle flags. Repaints only what
  // changed.
  void SyncToolbar();
  // The fields an open sets once: decoder texts, video, live.
  void SetToolbarMedia(bool live);
  // The subtitle button's two flags.
  void SetToolbarSubtitles(bool present, bool enabled);
  // Previews of the file just opened, when the setting and a video allow.
  void OpenThumbnails(const QString& path);
  // main_window_desktop.cpp: MPRIS, screen saver and media keys
  // (desktop_services.h); SyncDesktop runs with every SyncToolbar.
  void CreateDesktopServices();
  void SyncDesktop();
  // main_window_wheel.cpp: the wheel's volume steps reach the engine at
  // once and the settings file when the wheel settles (and at exit).
  void SetWheelVolume(double volume);
  // Also called at exit while a save is still waiting (timer active).
  void SaveWheelVolume();
  WheelSteps wheelSteps_;
  QTimer volumeSaveTimer_;

  std::unique_ptr<GraphManager> graph_;
  // Children: Qt deletes them with the window.
  chrome::TitleBarWindow* titleBar_ = nullptr;
  VideoRenderer* videoWindow_ = nullptr;
  chrome::ToolbarWindow* toolbar_ = nullptr;
  std::unique_ptr<ThumbnailGenerator> thumbnailGenerator_;
  OsdOverlay* osdOverlay_ = nullptr;  // a child of the video window
  panels::ControlPanelWindow* controlPanel_ = nullptr;  // an owned tool window

  // main_window_playlist.cpp: the playlist panel and the favourites dialog.
  void CreatePlaylistPanel();
  void TogglePlaylist();
  void SavePlaylistPanel();
  // The dock moves the panel with the window by the panel's own docking.
  void SyncPlaylistDock();
  void ManageFavorites();

  // The model outlives its window: the panel is deleted first, by hand.
  std::unique_ptr<PlaylistModel> playlist_;
  panels::PlaylistWindow* playlistWindow_ = nullptr;
  PanelDock* playlistDock_ = nullptr;
  RecentFiles recentFiles_;
  ResumePositions resumePositions_;
  bool resumeBlocked_ = false;
  FavoriteRun favoriteRun_;
  FavoriteGroupPicker pickFavoriteGroup_;

  LyricsHook lyricsHook_;
  bool hasLyrics_ = false;
  std::unique_ptr<LyricsResult> lyrics_;
  LyricsWindow* lyricsWindow_ = nullptr;  // a top-level tool window owned as a child
  AlbumArtHook albumArtHook_;
  QImage albumArt_;
  // Screenshots are written by workers that report here (main_window_screenshot.cpp).
  std::shared_ptr<WorkerMailbox> screenshotMailbox_;
  AudioCoverView* coverView_ = nullptr;  // child of videoWindow_
  SpectrumAnalyzer spectrum_;

  bool fullscreen_ = false;
  bool showTitleBar_ = true;
  bool showToolbar_ = true;
  bool sizeOsdArmed_ = false;
  bool closing_ = false;
  bool thumbnailPreview_ = false;
  QRect normalGeometry_;  // the last normal rectangle, for the settings
  bool maximizedBeforeFullscreen_ = false;
  QRect geometryBeforeFullscreen_;  // the placement fullscreen gives back
  std::vector<std::unique_ptr<PanelDock>> docks_;
  bool movingWindow_ = false;
  QPoint moveStartCursor_;
  QRect moveStartRect_;
  QTimer positionTimer_;        // 1001: position, A-B loop, lyric line
  QTimer fullscreenBarsTimer_;  // 1005: bars under the cursor in fullscreen
  QTimer frameTimer_;           // 1006: OSD fade, spectrum feed
  QTimer sizeOsdTimer_;         // 1007: arms the size OSD after start-up settles
  int magnetDistance_ = 10;
  double lastSpeed_ = 1.0;
  int embeddedSubtitleIndex_ = -1;
  QPointer<CutClipDialog> cutClipDialog_;
  // Last, so it goes first: it borrows the window and the engine.
  std::unique_ptr<DesktopServices> desktop_;
};

}  // namespace zelvaro
