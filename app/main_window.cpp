// MainWindow: creation, destruction, placement, painting, the resize bands
// and fullscreen.

#include "app/main_window.h"

#include "app/audio_cover_view.h"
#include "app/desktop_services.h"
#include "app/dpi.h"
#include "app/osd_formats.h"
#include "app/osd_overlay.h"
#include "app/window_globals.h"
#include "app/worker_mailbox.h"
#include "app/window_placement.h"
#include "chrome/chrome_paint.h"
#include "chrome/dark_menu.h"
#include "chrome/title_bar_window.h"
#include "chrome/toolbar_window.h"
#include "engine/frame_capture.h"
#include "engine/graph_manager.h"
#include "engine/thumbnail_generator.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/playlist_database.h"
#include "library/playlist_model.h"
#include "panels/playlist_window.h"
#include "video/subtitle_overlay_adapter.h"
#include "video/video_renderer.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <algorithm>

namespace zelvaro {

bool RememberWindowPos = true;
int WindowX = -1, WindowY = -1, WindowW = -1, WindowH = -1;
bool WindowMaximized = false;
bool SeekbarThumbnailPreview = false;
bool GlobalMediaKeys = false;
bool UnregisterOnDeactivate = true;
QString WelcomeMsg;

namespace {

// Lengths at 96 DPI, scaled where used.
constexpr QSize kDefaultSize{1200, 816};
constexpr QSize kMinimumSize{200, 100};
constexpr QColor kBorderColor{0, 0, 0};

constexpr int kPositionPeriodMs = 100;
constexpr int kFullscreenBarsPeriodMs = 100;
constexpr int kFramePeriodMs = 16;
constexpr int kSizeOsdArmDelayMs = 500;
constexpr int kSizeOsdMs = 800;

void ReadBool(QStringView name, bool* value) {
  uint32_t stored = 0;
  if (Settings::GetDword(name, &stored)) *value = stored != 0;
}

void ReadInt(QStringView name, int* value) {
  uint32_t stored = 0;
  if (Settings::GetDword(name, &stored)) *value = static_cast<int32_t>(stored);
}

std::vector<ScreenArea> Screens() {
  std::vector<ScreenArea> screens;
  if (QScreen* primary = QGuiApplication::primaryScreen()) {
    screens.push_back({primary->geometry(), primary->availableGeometry()});
  }
  for (QScreen* screen : QGuiApplication::screens()) {
    if (screen != QGuiApplication::primaryScreen()) {
      screens.push_back({screen->geometry(), screen->availableGeometry()});
    }
  }
  return screens;
}

}  // namespace

MainWindow::MainWindow()
    : lyricsHook_(
          [this](std::unique_ptr<LyricsResult> result) { OnLyricsResult(std::move(result)); }),
      albumArtHook_([this](std::unique_ptr<AlbumArt> art) { OnAlbumArtResult(std::move(art)); }),
      screenshotMailbox_(std::make_shared<WorkerMailbox>(this)) {
  albumArtHook_.SetBody(ExtractAlbumArt);
  setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
  setWindowTitle(QStringLiteral("Zelvaro"));
  setWindowIcon(chrome::ApplicationIcon());
  setAttribute(Qt::WA_OpaquePaintEvent);
  setAcceptDrops(true);
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
}

MainWindow::~MainWindow() {
  // Runs after the event loop, when the window may already have closed.
  // A lyrics request still running is left to finish on its own.
  lyricsHook_.Cancel();
  albumArtHook_.Cancel();
  // The panel goes before the model it shows.
  delete playlistWindow_;
  playlistWindow_ = nullptr;
  screenshotMailbox_->Close();
  // The toolbar outlives the generator by a moment: it must not ask it.
  if (toolbar_) toolbar_->SetPreview(false, nullptr);
  thumbnailGenerator_.reset();
  if (graph_) {
    if (videoWindow_) DisconnectSubtitleOverlay(*videoWindow_);
    // Ended without Destroy (the application torn down): the place is kept.
    RememberResumePosition();
    graph_->Close();
    graph_->SetVideoOutput(nullptr);
    graph_.reset();
  }
  chrome::RemoveDarkMenus();
}

void MainWindow::ReadWindowSettings() {
  ReadBool(setting::kRememberWindowPos, &RememberWindowPos);
  if (RememberWindowPos) {
    ReadInt(setting::kWindowX, &WindowX);
    ReadInt(setting::kWindowY, &WindowY);
    ReadInt(setting::kWindowW, &WindowW);
    ReadInt(setting::kWindowH, &WindowH);
    ReadBool(setting::kWindowMaximized, &WindowMaximized);
  }
  ReadBool(setting::kSeekbarThumbnailPreview, &SeekbarThumbnailPreview);
  ReadBool(setting::kGlobalMediaKeys, &GlobalMediaKeys);
  ReadBool(setting::kUnregisterOnDeactivate, &UnregisterOnDeactivate);
  Settings::GetString(setting::kWelcomeMsg, &WelcomeMsg);
}

bool MainWindow::Create() {
  // Before any menu exists.
  chrome::InstallDarkMenus();
  ReadWindowSettings();
  setMinimumSize(Scaled(kMinimumSize.width()), Scaled(kMinimumSize.height()));
  const std::vector<ScreenArea> screens = Screens();
  if (screens.empty()) return false;
  setGeometry(CenteredRect(kDefaultSize, screens.front()));

  titleBar_ = new chrome::TitleBarWindow(this, this);
  videoWindow_ = new VideoRenderer(this);
  toolbar_ = new chrome::ToolbarWindow(this, this);

  // A store that does not open means a player without persistence.
  PlaylistDatabase::Instance().Open();
  recentFiles_.Load();
  if (auto damage = PlaylistDatabase::TakeDamageReport()) {
    // Told once the window is up; the damaged file is kept where it says.
    QMetaObject::invokeMethod(
        this,
        [this, report = *damage] {
          QMessageBox box(QMessageBox::Warning, LanguageManager::GetString(u"App.Error"),
                          FormatKey(u"App.DatabaseDamaged", report.damagedPath, report.keptPath),
                          QMessageBox::Ok, this);
          box.exec();
        },
        Qt::QueuedConnection);
  }
  magnetDistance_ = static_cast<int>(Settings::GetDwordOr(setting::kMagnetDistance, 10));

  graph_ = std::make_unique<GraphManager>(videoWindow_);
  graph_->SetGraphEventSink([this](long eventCode) { OnGraphEvent(eventCode); });
  ConnectSubtitleOverlay(*graph_, *videoWindow_);
  ApplyStoredVolume();
  {
    chrome::ToolbarState state = toolbar_->State();
    state.Volume = std::clamp(static_cast<int>(graph_->Volume() * 100.0f + 0.5f), 0, 100);
    state.Muted = graph_->Muted();
    state.SubtitleEnabled = Settings::GetDwordOr(setting::kSubtitleEnabled, 1) != 0;
    toolbar_->Apply(state);
  }

  CreatePlaylistPanel();

  thumbnailPreview_ = SeekbarThumbnailPreview;
  thumbnailGenerator_ = std::make_unique<ThumbnailGenerator>();
  toolbar_->SetPreview(thumbnailPreview_, thumbnailGenerator_.get());
  // Below the OSD line, which is made after it.
  coverView_ = new AudioCoverView(videoWindow_);
  osdOverlay_ = new OsdOverlay(videoWindow_);
  CreateLyricsPanel();

  connect(&positionTimer_, &QTimer::timeout, this, [this] { OnTimer(1001); });
  connect(&fullscreenBarsTimer_, &QTimer::timeout, this, [this] { OnTimer(1005); });
  connect(&frameTimer_, &QTimer::timeout, this, [this] { OnTimer(1006); });
  connect(&sizeOsdTimer_, &QTimer::timeout, this, [this] { OnTimer(1007); });
  sizeOsdTimer_.setSingleShot(true);
  positionTimer_.start(kPositionPeriodMs);
  frameTimer_.start(kFramePeriodMs);

  RestorePlacement();
  LayoutChildren();
  CreateControlPanel();
  CreateDesktopServices();
  return true;
}

void MainWindow::RestorePlacement() {
  if (!RememberWindowPos || WindowW <= 0 || WindowH <= 0) return;
  const QRect restored = RestoredWindowRect(QRect(WindowX, WindowY, WindowW, WindowH), Screens());
  setGeometry(restored);
  normalGeometry_ = restored;
  if (WindowMaximized) setWindowState(windowState() | Qt::WindowMaximized);
}

MainWindowLayout MainWindow::Layout() const {
  return ComputeMainWindowLayout(size(), fullscreen_, DpiScale);
}

void MainWindow::LayoutChildren() {
  const MainWindowLayout layout = Layout();
  if (fullscreen_) {
    // The bars are the picture's children here, drawn over it on either
    // renderer path; the hover timer shows and hides them.
    if (videoWindow_) {
      videoWindow_->setGeometry(layout.video);
      videoWindow_->lower();
    }
    if (titleBar_) {
      titleBar_->setGeometry(layout.titleBar);
      titleBar_->setVisible(showTitleBar_);
      if (showTitleBar_) titleBar_->raise();
    }
    if (toolbar_) {
      toolbar_->setGeometry(layout.toolbar);
      toolbar_->setVisible(showToolbar_);
      if (showToolbar_) toolbar_->raise();
    }
  } else {
    if (titleBar_) {
      titleBar_->setGeometry(layout.titleBar);
      titleBar_->show();
    }
    if (videoWindow_) videoWindow_->setGeometry(layout.video);
    if (toolbar_) {
      toolbar_->setGeometry(layout.toolbar);
      toolbar_->show();
    }
  }
  update();
}

void MainWindow::DockBars(bool overPicture) {
  QWidget* parent = overPicture && videoWindow_ ? static_cast<QWidget*>(videoWindow_) : this;
  for (QWidget* bar : {static_cast<QWidget*>(titleBar_), static_cast<QWidget*>(toolbar_)}) {
    if (bar == nullptr || bar->parentWidget() == parent) continue;
    bar->hide();
    bar->setParent(parent);
  }
  if (titleBar_) titleBar_->SetFullscreen(overPicture);
  if (toolbar_) {
    chrome::ToolbarState state = toolbar_->State();
    state.Fullscreen = overPicture;
    toolbar_->Apply(state);
    toolbar_->HidePreview();
  }
}

void MainWindow::resizeEvent(QResizeEvent*) {
  if (!fullscreen_ && !(windowState() & Qt::WindowMaximized)) normalGeometry_ = geometry();
  // The maximise button shows the window's state.
  if (titleBar_) titleBar_->update();
  LayoutChildren();
  if (graph_) graph_->RefreshVideoPosition();
  if (fullscreen_ || width() < 1 || height() < 1) return;
  FollowDockedPanels();
  if (sizeOsdArmed_) {
    // The video area, not the window: that is what the user sizes to.
    const QSize area = Layout().video.size();
    ShowOsd(QString::asprintf("%d × %d", area.width(), area.height()), kSizeOsdMs);
  } else {
    // Restarted by every size change, so the settling sizes of start-up
    // show nothing.
    sizeOsdTimer_.start(kSizeOsdArmDelayMs);
  }
}

void MainWindow::paintEvent(QPaintEvent*) {
  if (fullscreen_) return;
  QPainter painter(this);
  const int b = Layout().border;
  const QRect all = rect();
  painter.fillRect(QRect(0, 0, all.width(), b), kBorderColor);
  painter.fillRect(QRect(0, all.height() - b, all.width(), b), kBorderColor);
  painter.fillRect(QRect(0, 0, b, all.height()), kBorderColor);
  painter.fillRect(QRect(all.width() - b, 0, b, all.height()), kBorderColor);
}

Qt::Edges MainWindow::ResizeEdgesAt(const QPoint& position) const {
  if (fullscreen_ || (windowState() & Qt::WindowMaximized)) return {};
  const int band = Scaled(kResizeBand);
  Qt::Edges edges;
  if (position.y() < band) edges |= Qt::TopEdge;
  if (position.y() >= height() - band) edges |= Qt::BottomEdge;
  if (position.x() < band) edges |= Qt::LeftEdge;
  if (position.x() >= width() - band) edges |= Qt::RightEdge;
  return edges;
}

void MainWindow::mouseMoveEvent(QMouseEvent* event) {
  const Qt::Edges edges = ResizeEdgesAt(event->position().toPoint());
  if (edges == (Qt::TopEdge | Qt::LeftEdge) || edges == (Qt::BottomEdge | Qt::RightEdge)) {
    setCursor(Qt::SizeFDiagCursor);
  } else if (edges == (Qt::TopEdge | Qt::RightEdge) || edges == (Qt::BottomEdge | Qt::LeftEdge)) {
    setCursor(Qt::SizeBDiagCursor);
  } else if (edges & (Qt::TopEdge | Qt::BottomEdge)) {
    setCursor(Qt::SizeVerCursor);
  } else if (edges & (Qt::LeftEdge | Qt::RightEdge)) {
    setCursor(Qt::SizeHorCursor);
  } else {
    unsetCursor();
  }
}

void MainWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) {
    if (event->button() == Qt::MiddleButton) ToggleFullscreen();
    return;
  }
  const Qt::Edges edges = ResizeEdgesAt(event->position().toPoint());
  if (edges && windowHandle()) {
    // A panel the user put against the window counts as docked from here on.
    UpdateDockedSnapStates();
    windowHandle()->startSystemResize(edges);
  }
}

void MainWindow::mouseDoubleClickEvent(QMouseEvent* event) {
  // The border is client area: a double click there toggles play and pause.
  if (event->button() == Qt::LeftButton) OnPlayerMessage(WM_PLAYER_PLAY_PAUSE);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  // Closing by the window saves the panels; leaving by the Exit command does not.
  if (!closing_) {
    // A lyrics request in flight is not waited for: its result is dropped.
    lyricsHook_.Cancel();
    SavePanels();
  }
  Destroy();
  event->accept();
}

void MainWindow::Destroy() {
  if (closing_) return;
  closing_ = true;
  if (volumeSaveTimer_.isActive()) SaveWheelVolume();
  SaveWindowAndSettings();
  positionTimer_.stop();
  fullscreenBarsTimer_.stop();
  frameTimer_.stop();
  sizeOsdTimer_.stop();
  // ShowOsd is safe from here on: it finds no overlay.
  delete osdOverlay_;
  osdOverlay_ = nullptr;
  // The screen saver's inhibition and the bus name go back now, not when
  // the window is deleted.
  desktop_.reset();
  if (graph_) {
    RememberResumePosition();
    graph_->Close();
    graph_->SetVideoOutput(nullptr);
  }
  QGuiApplication::quit();
}

void MainWindow::SavePanels() {
  SavePlaylistPanel();
  SaveLyricsPanel();
  SaveControlPanel();
}

void MainWindow::SaveWindowAndSettings() {
  if (RememberWindowPos) {
    WindowMaximized =
        fullscreen_ ? maximizedBeforeFullscreen_ : (windowState() & Qt::WindowMaximized) != 0;
    // A fullscreen or maximized window keeps the last normal rectangle.
    if (!fullscreen_ && !WindowMaximized && normalGeometry_.isValid()) {
      WindowX = normalGeometry_.x();
      WindowY = normalGeometry_.y();
      WindowW = normalGeometry_.width();
      WindowH = normalGeometry_.height();
    }
  }
  Settings::SetDword(setting::kRememberWindowPos, RememberWindowPos ? 1 : 0);
  if (RememberWindowPos) {
    Settings::SetDword(setting::kWindowX, static_cast<uint32_t>(WindowX));
    Settings::SetDword(setting::kWindowY, static_cast<uint32_t>(WindowY));
    Settings::SetDword(setting::kWindowW, static_cast<uint32_t>(WindowW));
    Settings::SetDword(setting::kWindowH, static_cast<uint32_t>(WindowH));
    Settings::SetDword(setting::kWindowMaximized, WindowMaximized ? 1 : 0);
  }
  Settings::SetDword(setting::kSeekbarThumbnailPreview, SeekbarThumbnailPreview ? 1 : 0);
  Settings::SetDword(setting::kGlobalMediaKeys, GlobalMediaKeys ? 1 : 0);
  Settings::SetDword(setting::kUnregisterOnDeactivate, UnregisterOnDeactivate ? 1 : 0);
  Settings::SetString(setting::kWelcomeMsg, WelcomeMsg);
}

void MainWindow::ToggleFullscreen() {
  if (fullscreen_) {
    LeaveFullscreen();
    ShowOsd(LanguageManager::GetString(u"OSD.FullscreenExit"), 1000);
  } else {
    EnterFullscreen();
    ShowOsd(LanguageManager::GetString(u"OSD.FullscreenEnter"), 1000);
  }
}

void MainWindow::EnterFullscreen() {
  if (fullscreen_) return;
  maximizedBeforeFullscreen_ = (windowState() & Qt::WindowMaximized) != 0;
  // A maximized window comes back maximized over the normal rectangle it
  // had, so the next restore still finds it.
  geometryBeforeFullscreen_ =
      maximizedBeforeFullscreen_ && normalGeometry_.isValid() ? normalGeometry_ : geometry();
  fullscreen_ = true;
  showTitleBar_ = false;
  showToolbar_ = false;
  DockBars(true);
  // The whole monitor of the window, not its work area; said outright as
  // well, for a desktop without a window manager to honour the state.
  if (const QScreen* monitor = screen()) setGeometry(monitor->geometry());
  showFullScreen();
  for (const auto& dock : docks_) dock->HideForFullscreen();
  fullscreenBarsTimer_.start(kFullscreenBarsPeriodMs);
  LayoutChildren();
  if (graph_) graph_->RefreshVideoPosition();
}

void MainWindow::LeaveFullscreen() {
  if (!fullscreen_) return;
  fullscreenBarsTimer_.stop();
  fullscreen_ = false;
  showTitleBar_ = true;
  showToolbar_ = true;
  DockBars(false);
  // The rectangle first, then the state: a window manager that takes the
  // state keeps the rectangle as the normal one; one that does not (or none
  // at all) still shows the window where it was.
  showNormal();
  if (geometryBeforeFullscreen_.isValid()) setGeometry(geometryBeforeFullscreen_);
  if (maximizedBeforeFullscreen_) showMaximized();
  LayoutChildren();
  if (graph_) graph_->RefreshVideoPosition();
  for (const auto& dock : docks_) dock->RestoreAfterFullscreen();
  RestoreControlPanelAfterFullscreen();
  // Keys come back to the window, not to a panel shown again. Wayland lets
  // no client take the focus by itself (and says so on every attempt).
  if (ClientPlacesWindows()) activateWindow();
  setFocus();
}

}  // namespace zelvaro
