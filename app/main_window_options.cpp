// MainWindow: the options dialog and the language switch as the main window
// sees them.

#include "app/file_info_window.h"
#include "app/main_window.h"
#include "chrome/title_bar_window.h"
#include "chrome/toolbar_window.h"
#include "lyrics/lyrics_window.h"
#include "panels/file_assoc_options.h"
#include "panels/general_options.h"
#include "panels/options_dialog.h"
#include "panels/playlist_window.h"

#include <QEvent>

namespace zelvaro {

void MainWindow::ShowOptions() {
  std::vector<std::unique_ptr<OptionsPage>> pages;
  pages.push_back(std::make_unique<GeneralOptions>());
  pages.push_back(std::make_unique<OtherOptions>());
  pages.push_back(std::make_unique<FileAssocOptions>());
  {
    OptionsDialog dialog(pages, this);
    dialog.exec();
  }
  // Saved or not, the program follows what is stored now.
  ApplySettings();
}

void MainWindow::RefreshTexts() {
  if (titleBar_) titleBar_->RefreshTexts();
  if (toolbar_) toolbar_->RefreshTexts();
  if (fileInfoWindow_) fileInfoWindow_->RefreshTexts();
  if (lyricsWindow_) lyricsWindow_->RefreshFonts();
  // The playlist panel reads its texts as it paints.
  if (playlistWindow_) playlistWindow_->update();
  update();
}

void MainWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::LanguageChange) RefreshTexts();
}

}  // namespace zelvaro
