// The file information command on the real player, one start for all the
// cases, in order: no file, a report, no library.

#include "app/file_info_window.h"
#include "app/commands.h"
#include "app/dpi.h"
#include "foundation/language_manager.h"
#include "foundation/media_info_library.h"
#include "tests/app/shell_test_support.h"

#include <QClipboard>
#include <QPlainTextEdit>
#include <QPushButton>

namespace zelvaro {

class FileInfoWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QVERIFY(LanguageManager::Instance().Initialize(test::SourceDir(), QLocale::English));
    QVERIFY(p_.Start());
    window_ = p_.window;
  }
  void cleanup() { MediaInfoLibrary::SetLibraryNameForTesting(nullptr); }
  void cleanupTestCase() { p_.Stop(); }

  void withoutAFileTheCommandSaysSo() {
    window_->OnCommand(ID_FILE_INFO);
    QCOMPARE(test::OsdText(), QStringLiteral("No file is open"));
    QVERIFY(!window_->fileInfoWindow());
  }

  void theReportOfAGeneratedClipFillsTheWindow() {
    QVERIFY(window_->OpenFile(test::FixturePath(QStringLiteral("pattern_h264_aac.mkv"))));
    window_->OnCommand(ID_FILE_INFO);
    // The command returns before the report exists: it is made on a worker.
    QVERIFY(window_->FileAnalysisRunning());
    QVERIFY(!window_->fileInfoWindow());
    QTRY_VERIFY_WITH_TIMEOUT(window_->fileInfoWindow(), 20000);
    FileInfoWindow* info = window_->fileInfoWindow();
    QVERIFY(QTest::qWaitForWindowExposed(info));
    const QString report = info->reportView()->toPlainText();
    for (const char* expected :
         {"Matroska", "AVC", "320 pixels", "240 pixels", "Duration", "AAC"}) {
      QVERIFY2(report.contains(QString::fromLatin1(expected)), expected);
    }
    QCOMPARE(info->windowTitle(), QStringLiteral("Media Information"));
    QCOMPARE(info->size(), QSize(Scaled(700), Scaled(750)));
    const FileInfoWindow::Layout layout = FileInfoWindow::LayoutFor(info->size());
    QCOMPARE(info->reportView()->geometry(), layout.report);
    QCOMPARE(info->copyButton()->geometry(), layout.copy);
    QCOMPARE(info->locationButton()->geometry(), layout.location);
    QVERIFY(info->reportView()->font().fixedPitch() ||
            info->reportView()->font().styleHint() == QFont::Monospace);

    info->copyButton()->click();
    QCOMPARE(QGuiApplication::clipboard()->text(), report);

    // The next analysis replaces the window.
    QPointer<FileInfoWindow> first = info;
    window_->OnCommand(ID_FILE_INFO);
    QTRY_VERIFY_WITH_TIMEOUT(!first, 20000);
    QTRY_VERIFY_WITH_TIMEOUT(window_->fileInfoWindow(), 20000);
    QCOMPARE(window_->findChildren<FileInfoWindow*>().size(), 1);

    QTest::keyClick(window_->fileInfoWindow(), Qt::Key_Escape);
    QTRY_VERIFY(!window_->fileInfoWindow());
  }

  void withoutTheLibraryTheCommandSaysSoAndTriesAgainNextTime() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    MediaInfoLibrary::SetLibraryNameForTesting("libzelvaro-no-such-mediainfo.so");
    window_->OnCommand(ID_FILE_INFO);
    QTRY_COMPARE_WITH_TIMEOUT(test::OsdText(),
                              QStringLiteral("The MediaInfo library is not available"), 20000);
    QVERIFY(!window_->fileInfoWindow());

    MediaInfoLibrary::SetLibraryNameForTesting(nullptr);
    window_->OnCommand(ID_FILE_INFO);
    QTRY_VERIFY_WITH_TIMEOUT(window_->fileInfoWindow(), 20000);
  }

 private:
  test::PlayerFixture p_;
  MainWindow* window_ = nullptr;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::FileInfoWindowTest)
#include "file_info_window_test.moc"
