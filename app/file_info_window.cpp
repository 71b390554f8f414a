#include "app/file_info_window.h"

#include "app/dpi.h"
#include "foundation/language_manager.h"
#include "foundation/shell_paths.h"
#include "panels/dark_dialog.h"

#include <QClipboard>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QPushButton>

namespace zelvaro {

FileInfoWindow::Layout FileInfoWindow::LayoutFor(QSize client) {
  const int m = Scaled(kMargin);
  const int h = Scaled(kButtonHeight);
  const int cw = client.width();
  const int ch = client.height();
  Layout layout;
  layout.report = QRect(m, m, cw - 2 * m, ch - 3 * m - h);
  layout.copy = QRect(m, ch - h - m, Scaled(kCopyWidth), h);
  layout.location = QRect(m + Scaled(kCopyWidth) + m, ch - h - m, Scaled(kLocationWidth), h);
  return layout;
}

FileInfoWindow::FileInfoWindow(QWidget* owner, const QString& report, const QString& path)
    : QWidget(owner,
              Qt::Tool | Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::CustomizeWindowHint),
      report_(report),
      path_(path) {
  setObjectName(QStringLiteral("FileInfoWindow"));
  setAttribute(Qt::WA_DeleteOnClose);
  ApplyDarkDialogStyle(this);

  QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  mono.setStyleHint(QFont::Monospace);
  mono.setPixelSize(Scaled(kReportFontPixels));
  view_ = new QPlainTextEdit(this);
  view_->setReadOnly(true);
  view_->setLineWrapMode(QPlainTextEdit::NoWrap);
  view_->setFont(mono);
  view_->setPlainText(report_);

  QFont ui(LanguageManager::GetString(u"App.FontName"));
  ui.setPixelSize(Scaled(kButtonFontPixels));
  copy_ = new QPushButton(this);
  location_ = new QPushButton(this);
  copy_->setFont(ui);
  location_->setFont(ui);
  connect(copy_, &QPushButton::clicked, this, &FileInfoWindow::CopyToClipboard);
  connect(location_, &QPushButton::clicked, this, [this] { ShowInExplorer(path_); });
  RefreshTexts();

  setFixedSize(Scaled(kDesignSize.width()), Scaled(kDesignSize.height()));
  if (owner) {
    const QRect around = owner->frameGeometry();
    move(around.center() - QPoint(width() / 2, height() / 2));
  }
}

void FileInfoWindow::RefreshTexts() {
  setWindowTitle(LanguageManager::GetString(u"FileInfo.WindowTitle"));
  copy_->setText(LanguageManager::GetString(u"FileInfo.CopyToClipboard"));
  location_->setText(LanguageManager::GetString(u"FileInfo.OpenFileLocation"));
}

void FileInfoWindow::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  const Layout layout = LayoutFor(size());
  view_->setGeometry(layout.report);
  copy_->setGeometry(layout.copy);
  location_->setGeometry(layout.location);
}

void FileInfoWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    close();
    return;
  }
  QWidget::keyPressEvent(event);
}

void FileInfoWindow::CopyToClipboard() {
  QGuiApplication::clipboard()->setText(report_);
}

}  // namespace zelvaro
