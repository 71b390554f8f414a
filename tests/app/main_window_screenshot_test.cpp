// The screenshot command in the running player: a generated frame written
// to a private XDG pictures directory and read back, and the fall-back when
// that directory cannot be made.

#include "app/commands.h"
#include "foundation/language_manager.h"
#include "tests/app/shell_test_support.h"

#include <QDir>
#include <QImage>
#include <QtTest>

namespace zelvaro {
namespace {

constexpr int kWaitMs = 15000;

bool Near(const QColor& actual, const QColor& expected) {
  return std::abs(actual.red() - expected.red()) <= 16 &&
         std::abs(actual.green() - expected.green()) <= 16 &&
         std::abs(actual.blue() - expected.blue()) <= 16;
}

QStringList Shots(const QString& folder) {
  return QDir(folder).entryList({QStringLiteral("pattern_h264_aac_*.png")}, QDir::Files);
}

}  // namespace

class MainWindowScreenshotTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { home_ = std::make_unique<test::TempHome>(); }
  void cleanup() {
    test::StopPlayer();
    home_.reset();
  }

  void theFrameLandsInThePicturesFolder() {
    const QString pictures = home_->Root() + QStringLiteral("/Pictures");
    home_->WriteFile(QStringLiteral("config/user-dirs.dirs"),
                     "XDG_PICTURES_DIR=\"" + pictures.toUtf8() + "\"\n");
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    QVERIFY(window->OpenFile(test::PatternClip()));

    window->OnCommand(ID_SCREENSHOT);
    const QString folder = pictures + QStringLiteral("/Zelvaro");
    QTRY_COMPARE_WITH_TIMEOUT(Shots(folder).size(), 1, kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(test::OsdText(), LanguageManager::GetString(u"OSD.ScreenshotSaved"),
                              kWaitMs);
    const QImage shot(folder + u'/' + Shots(folder).first());
    QCOMPARE(shot.size(), QSize(320, 240));
    // The fixture's quadrants: red, lime, blue, white.
    const QColor expected[] = {Qt::red, Qt::green, Qt::blue, Qt::white};
    const QPoint centres[] = {{80, 60}, {240, 60}, {80, 180}, {240, 180}};
    for (int i = 0; i < 4; ++i)
      QVERIFY2(Near(shot.pixelColor(centres[i]), expected[i]),
               qPrintable(shot.pixelColor(centres[i]).name()));
  }

  void anUnmakeableFolderFallsBackToTheProgramDirectory() {
    const QString blocker = home_->WriteFile(QStringLiteral("blocker"), "x");
    home_->WriteFile(QStringLiteral("config/user-dirs.dirs"),
                     "XDG_PICTURES_DIR=\"" + blocker.toUtf8() + "/Pictures\"\n");
    const QString programDir = QCoreApplication::applicationDirPath();
    for (const QString& old : Shots(programDir)) QFile::remove(programDir + u'/' + old);
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    QVERIFY(window->OpenFile(test::PatternClip()));
    window->OnCommand(ID_KEY_SCREENSHOT);
    QTRY_COMPARE_WITH_TIMEOUT(Shots(programDir).size(), 1, kWaitMs);
    for (const QString& shot : Shots(programDir)) QFile::remove(programDir + u'/' + shot);
  }

 private:
  std::unique_ptr<test::TempHome> home_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowScreenshotTest)
#include "main_window_screenshot_test.moc"
