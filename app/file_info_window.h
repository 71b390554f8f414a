#pragma once
// FileInfoWindow: the media information report of one file in a read-only,
// monospace text view, with two buttons: copy the report to the clipboard,
// show the file in the file manager. A fixed-size tool window owned by the
// main window, modeless, centred on it when it opens; it stays until closed
// (Escape or the close button) and deletes itself then. The next analysis
// replaces it (MainWindow::ShowFileInfo).
//
// Interface thread only. The report comes in finished: the analysis ran on
// a worker (file_analysis.h).

#include <QRect>
#include <QSize>
#include <QString>
#include <QWidget>

class QPlainTextEdit;
class QPushButton;

namespace zelvaro {

class FileInfoWindow : public QWidget {
  Q_OBJECT
 public:
  // Lengths at 96 DPI, scaled where used.
  static constexpr QSize kDesignSize{700, 750};
  static constexpr int kMargin = 10;
  static constexpr int kButtonHeight = 28;
  static constexpr int kCopyWidth = 150;
  static constexpr int kLocationWidth = 130;
  static constexpr int kReportFontPixels = 15;
  static constexpr int kButtonFontPixels = 14;

  struct Layout {
    QRect report;
    QRect copy;
    QRect location;
  };
  // Where each control stands in a client area of `client`.
  static Layout LayoutFor(QSize client);

  // `report` with "\n" line ends; `path` is what the location button shows.
  FileInfoWindow(QWidget* owner, const QString& report, const QString& path);

  void RefreshTexts();

  QString report() const { return report_; }
  QString path() const { return path_; }
  QPlainTextEdit* reportView() const { return view_; }
  QPushButton* copyButton() const { return copy_; }
  QPushButton* locationButton() const { return location_; }

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void CopyToClipboard();

  QString report_;
  QString path_;
  QPlainTextEdit* view_;
  QPushButton* copy_;
  QPushButton* location_;
};

}  // namespace zelvaro
