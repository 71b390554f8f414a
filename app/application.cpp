#include "app/application.h"

#include "app/dpi.h"
#include "app/key_map.h"
#include "app/main_window.h"
#include "app/stop_signals.h"
#include "foundation/language_manager.h"
#include "foundation/shell_paths.h"
#include "library/favorites_database.h"
#include "library/playlist_database.h"
#include "panels/favorites_dialog.h"
#include "update/update_checker.h"
#include "update/update_prompts.h"

#include <QApplication>
#include <QMessageBox>

namespace zelvaro {
namespace {

void ShowStartupError(QStringView textKey) {
  QMessageBox::critical(nullptr, LanguageManager::GetString(u"App.Error"),
                        LanguageManager::GetString(textKey));
}

}  // namespace

Application& Application::Instance() {
  static Application instance;
  return instance;
}

Application::~Application() = default;

bool Application::Initialize(const QString& commandLine) {
  CommandLine parsed = ParseCommandLine(commandLine);
  parsed.file = AbsoluteInputPath(parsed.file);
  return Initialize(parsed);
}

bool Application::Initialize(const CommandLine& commandLine) {
  startupFile_ = commandLine.file;
  startFullscreen_ = commandLine.fullscreen;
  ComputeDpiScale();
  // Before any visible text.
  LanguageManager::Instance().Initialize();

  mainWindow_ = std::make_unique<MainWindow>();
  if (!mainWindow_->Create()) {
    ShowStartupError(u"App.ErrorMainWindow");
    mainWindow_.reset();
    return false;
  }
  mainWindow_->SetFavoriteGroupPicker([window = mainWindow_.get()] {
    return panels::FavoritesDialog::Choose(FavoritesDatabase::Instance(), window);
  });
  accelerators_ = std::make_unique<KeyCommandFilter>(
      mainWindow_.get(), [window = mainWindow_.get()](int id) { window->OnCommand(id); });
  qApp->installEventFilter(accelerators_.get());
  // A signal to stop closes the window, which saves everything on its way out.
  stopSignals_ = std::make_unique<StopSignals>([window = mainWindow_.get()] { window->close(); });

  mainWindow_->show();
  UpdateChecker::Instance().SetUi(MessageBoxUpdateUi::Create(mainWindow_.get()));
  // A build for a distribution has no endpoint: its package manager updates it.
  if (UpdateChecker::IsConfigured()) UpdateChecker::Instance().StartCheck(/*silent=*/true);
  if (!startupFile_.isEmpty()) mainWindow_->OpenFile(startupFile_);
  // Fullscreen comes after the file, so the window already knows the video.
  if (startFullscreen_) mainWindow_->ToggleFullscreen();
  return true;
}

int Application::Run() {
  return QApplication::exec();
}

void Application::Shutdown() {
  // A check still on the network is left behind, never waited for.
  UpdateChecker::Instance().Shutdown();
  if (accelerators_) qApp->removeEventFilter(accelerators_.get());
  accelerators_.reset();
  stopSignals_.reset();
  mainWindow_.reset();
  // The window opened the store; the next start opens it afresh.
  PlaylistDatabase::Instance().Close();
}

}  // namespace zelvaro
