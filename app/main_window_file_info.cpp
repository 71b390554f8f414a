// MainWindow: the file information command. The analysis runs on a worker;
// the outcome comes back to the interface thread as an OSD line or a new
// FileInfoWindow in place of the old one.

#include "app/file_info_window.h"
#include "app/main_window.h"
#include "app/osd_overlay.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"

namespace zelvaro {

void MainWindow::ShowFileInfo() {
  if (!graph_) return;
  const QString path = graph_->CurrentPath();
  if (path.isEmpty()) {
    ShowOsd(LanguageManager::GetString(u"OSD.NoOpenFile"), kOsdMs);
    return;
  }
  fileAnalysis_.Start(path, [this](FileAnalysisResult result) { OnFileAnalysis(result); });
}

void MainWindow::OnFileAnalysis(const FileAnalysisResult& result) {
  using MediaInfoLibrary::AnalysisError;
  if (result.error == AnalysisError::LibraryMissing) {
    ShowOsd(LanguageManager::GetString(u"OSD.AnalysisError1"), kOsdMs);
    return;
  }
  if (result.error == AnalysisError::OpenFailed) {
    ShowOsd(LanguageManager::GetString(u"OSD.AnalysisError2"), kOsdMs);
    return;
  }
  if (fileInfoWindow_) fileInfoWindow_->close();  // deletes itself
  fileInfoWindow_ = new FileInfoWindow(this, result.report, result.path);
  fileInfoWindow_->show();
}

}  // namespace zelvaro
