// Resuming where a file was left, through the real player and store: the
// file is played to a point, the player closes, and the same file opens
// again from the command line.

#include "app/command_line.h"
#include "app/osd_formats.h"
#include "engine/graph_manager.h"
#include "library/playlist_database.h"
#include "library/playlist_model.h"
#include "tests/app/shell_test_support.h"

#include <QDir>

#include <sqlite3.h>

#include <cmath>

namespace zelvaro {
namespace {

constexpr int kWaitMs = 15000;

// 10 minutes, a keyframe every 2 s.
QString LongClip() {
  return test::FixturePath(QStringLiteral("long_lowres.mp4"));
}

MainWindow* StartWith(const QString& path) {
  if (!Application::Instance().Initialize(ParseArguments({path}, QDir::currentPath())))
    return nullptr;
  MainWindow* window = Application::Instance().mainWindow();
  if (!QTest::qWaitForWindowExposed(window)) return nullptr;
  return window;
}

bool Playing(MainWindow* window, const QString& path) {
  return window->graph()->CurrentPath() == path && window->graph()->State() == 2;
}

bool ExecOnStore(const char* sql) {
  sqlite3* db = nullptr;
  const QByteArray path = QFile::encodeName(PlaylistDatabase::DefaultPath());
  bool ok = sqlite3_open(path.constData(), &db) == SQLITE_OK &&
            sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
  sqlite3_close(db);
  return ok;
}

}  // namespace

class MainWindowResumeTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { home_ = std::make_unique<test::TempHome>(); }

  void cleanup() {
    test::StopPlayer();
    home_.reset();
  }

  void reopenedFileStartsWhereItWasLeft_data() {
    QTest::addColumn<double>("leftAt");
    QTest::addColumn<bool>("resumeSetting");
    QTest::addColumn<double>("expectedStart");
    QTest::newRow("left at 40 s") << 40.0 << true << 40.0;
    // 580 of 600 s lies in the last 5 %: the file was as good as watched.
    QTest::newRow("left in the last 5 %") << 580.0 << true << 0.0;
    QTest::newRow("ResumePlayback 0") << 40.0 << false << 0.0;
  }

  void reopenedFileStartsWhereItWasLeft() {
    QFETCH(double, leftAt);
    QFETCH(bool, resumeSetting);
    QFETCH(double, expectedStart);
    Settings::SetDword(setting::kResumePlayback, resumeSetting ? 1 : 0);
    const QString clip = LongClip();
    MainWindow* window = StartWith(clip);
    QVERIFY(window);
    QTRY_VERIFY_WITH_TIMEOUT(Playing(window, clip), kWaitMs);
    QVERIFY(window->graph()->Seek(leftAt, false, 0));
    QTRY_VERIFY_WITH_TIMEOUT(window->graph()->GetPosition() >= leftAt, kWaitMs);
    test::StopPlayer();

    window = StartWith(clip);
    QVERIFY(window);
    QTRY_VERIFY_WITH_TIMEOUT(Playing(window, clip), kWaitMs);
    const QString resumeLine = FormatKey(u"OSD.ResumeFormat2", 0, 40);
    if (expectedStart > 0) {
      QTRY_VERIFY_WITH_TIMEOUT(std::abs(window->graph()->GetPosition() - expectedStart) < 1.0,
                               kWaitMs);
      QCOMPARE(test::OsdText(), resumeLine);
    } else {
      // Far below any position left: the file started from the top.
      QVERIFY(window->graph()->GetPosition() < 20.0);
      QVERIFY(test::OsdText() != resumeLine);
    }
  }

  void damagedPositionTableStartsFromTheTopAndKeepsTheStore_data() {
    QTest::addColumn<QString>("damage");
    QTest::newRow("a position that is no number")
        << "UPDATE resume_positions SET position = '45 s';";
    QTest::newRow("a table of another shape")
        << "DROP TABLE resume_positions; CREATE TABLE resume_positions (a, b);"
           "INSERT INTO resume_positions VALUES (1, 2);";
    QTest::newRow("a position past the end") << "UPDATE resume_positions SET position = 1e9;";
  }

  void damagedPositionTableStartsFromTheTopAndKeepsTheStore() {
    QFETCH(QString, damage);
    const QString clip = LongClip();
    MainWindow* window = StartWith(clip);
    QVERIFY(window);
    QTRY_VERIFY_WITH_TIMEOUT(Playing(window, clip), kWaitMs);
    QVERIFY(window->graph()->Seek(40.0, false, 0));
    QTRY_VERIFY_WITH_TIMEOUT(window->graph()->GetPosition() >= 40.0, kWaitMs);
    test::StopPlayer();
    QVERIFY(ExecOnStore(damage.toUtf8().constData()));

    // Started empty: the command line would itself replace the list.
    window = test::StartPlayer();
    QVERIFY(window);
    QVERIFY(!window->recentFiles().empty());
    QCOMPARE(window->recentFiles().front(), clip);
    QVERIFY(window->OpenFile(clip));
    QTRY_VERIFY_WITH_TIMEOUT(Playing(window, clip), kWaitMs);
    QVERIFY(window->graph()->GetPosition() < 20.0);
    QVERIFY(!PlaylistDatabase::TakeDamageReport());
    // Closing over the damaged table writes nothing and breaks nothing.
    test::StopPlayer();
    window = test::StartPlayer();
    QVERIFY(window);
    QCOMPARE(window->recentFiles().front(), clip);
  }

 private:
  std::unique_ptr<test::TempHome> home_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowResumeTest)
#include "main_window_resume_test.moc"
