// The player from start to close: started from a terminal with a relative
// path, a file that does not open, a damaged store, SIGTERM on the real
// program, what the window remembers, and where a reopened file resumes.

#include "app/command_line.h"
#include "app/commands.h"
#include "app/osd_formats.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "library/playlist_database.h"
#include "library/playlist_model.h"
#include "tests/app/shell_test_support.h"
#include "video/video_renderer.h"

#include <QDir>
#include <QProcess>
#include <QScreen>

#include <sqlite3.h>

#include <cmath>
#include <csignal>

namespace zelvaro {
namespace {

constexpr int kWaitMs = 15000;
const QStringList kEpisodes{QStringLiteral("Episode 1.mkv"), QStringLiteral("Episode 2.mkv"),
                            QStringLiteral("Episode 3.mkv")};

// 10 minutes, a keyframe every 2 s.
QString LongClip() {
  return test::FixturePath(QStringLiteral("long_lowres.mp4"));
}

MainWindow* StartWith(const QStringList& arguments) {
  if (!Application::Instance().Initialize(ParseArguments(arguments, QDir::currentPath())))
    return nullptr;
  MainWindow* window = Application::Instance().mainWindow();
  return QTest::qWaitForWindowExposed(window) ? window : nullptr;
}

bool Playing(MainWindow* window, const QString& path) {
  return window->graph()->CurrentPath() == path && window->graph()->State() == 2;
}

// The playlist table's paths in order, read on a connection of our own.
QStringList StoredListPaths(const QString& dbPath) {
  QStringList paths;
  sqlite3* db = nullptr;
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_open_v2(QFile::encodeName(dbPath).constData(), &db, SQLITE_OPEN_READONLY, nullptr) ==
          SQLITE_OK &&
      sqlite3_busy_timeout(db, 2000) == SQLITE_OK &&
      sqlite3_prepare_v2(db, "SELECT file_path FROM playlist ORDER BY sort_order;", -1, &statement,
                         nullptr) == SQLITE_OK) {
    while (sqlite3_step(statement) == SQLITE_ROW)
      paths << QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
  }
  sqlite3_finalize(statement);
  sqlite3_close(db);
  return paths;
}

bool ExecOnStore(const QString& sql) {
  sqlite3* db = nullptr;
  const QByteArray path = QFile::encodeName(PlaylistDatabase::DefaultPath());
  const bool ok =
      sqlite3_open(path.constData(), &db) == SQLITE_OK &&
      sqlite3_exec(db, sql.toUtf8().constData(), nullptr, nullptr, nullptr) == SQLITE_OK;
  sqlite3_close(db);
  return ok;
}

}  // namespace

class MainWindowTest : public QObject {
  Q_OBJECT

 private slots:
  // English texts beside the built program, so a notice reads as its text.
  void initTestCase() {
    QVERIFY(LanguageManager::Instance().Initialize(test::BinDir(), QLocale::English));
  }
  void init() {
    home_ = std::make_unique<test::TempHome>();
    previousDir_ = QDir::currentPath();
  }
  void cleanup() {
    test::StopPlayer();
    QDir::setCurrent(previousDir_);
    home_.reset();
  }

  void aRelativePathStartsFullscreenWithItsSeries() {
    const QStringList paths = test::MakeSeries(*home_, QStringLiteral("show"), kEpisodes);
    QVERIFY(QDir::setCurrent(home_->Root() + QStringLiteral("/show")));
    // The option after the file still counts.
    MainWindow* window =
        StartWith({QStringLiteral("Episode 1.mkv"), QStringLiteral("-FULLSCREEN")});
    QVERIFY(window);
    QCOMPARE(window->graph()->CurrentPath(), paths[0]);
    QCOMPARE(window->graph()->State(), 2);
    QVERIFY(window->fullscreen());
    QTRY_COMPARE_WITH_TIMEOUT(window->geometry(), window->screen()->geometry(), kWaitMs);
    QCOMPARE(window->videoWindow()->geometry(), window->rect());
    QStringList listed;
    for (const PlaylistItem& item : window->playlist()->Items()) listed << item.file_path;
    QCOMPARE(listed, paths);
    QCOMPARE(StoredListPaths(home_->DataHome() + QStringLiteral("/zelvaro/playlist.db")), paths);
    QCOMPARE(QStringList(window->recentFiles().begin(), window->recentFiles().end()),
             QStringList{paths[0]});

    // The quadrant pattern reaches the picture: red at its top left.
    QTRY_VERIFY_WITH_TIMEOUT(!window->videoWindow()->DisplayedImage().isNull(), kWaitMs);
    const QImage shown = window->videoWindow()->DisplayedImage();
    const QColor topLeft = shown.pixelColor(shown.width() / 4, shown.height() / 4);
    QVERIFY2(topLeft.red() > 200 && topLeft.green() < 60 && topLeft.blue() < 60,
             qPrintable(topLeft.name()));
    window->OnCommand(ID_KEY_ESCAPE);
    QVERIFY(!window->fullscreen());

    // Any later opening by a relative path is made absolute at the same door.
    QVERIFY(window->OpenFile(QStringLiteral("./sub/../Episode 3.mkv")));
    QCOMPARE(window->graph()->CurrentPath(), paths[2]);
    QCOMPARE(window->recentFiles().front(), paths[2]);
  }

  void aFileThatDoesNotOpenLeavesAnIdlePlayerThatReopensWhereItClosed() {
    const QString garbage = home_->WriteFile(QStringLiteral("broken.mkv"), QByteArray(4096, 'Z'));
    MainWindow* window = StartWith({garbage});
    QVERIFY(window);
    QVERIFY(window->graph()->CurrentPath().isEmpty());
    window->OnCommand(ID_KEY_PLAY_PAUSE);  // nothing open: nothing happens
    QCOMPARE(window->graph()->State(), 0);

    window->setGeometry(100, 120, 800, 500);
    QTRY_COMPARE(window->geometry(), QRect(100, 120, 800, 500));
    window->close();
    QCOMPARE(Settings::GetDwordOr(setting::kWindowW, 0), 800u);
    test::StopPlayer();
    window = test::StartPlayer();
    QVERIFY(window);
    QCOMPARE(window->geometry(), QRect(100, 120, 800, 500));
  }

  // A store that fails its check: the player starts with an empty list, the
  // damaged file is kept beside the fresh one, and the user is told once.
  void aDamagedStoreIsKeptAsideAndToldOnce() {
    const QByteArray damaged = QByteArray("SQLite format 3").append(4096 * 4, '\x5A');
    const QString dbPath = home_->WriteFile(QStringLiteral("data/zelvaro/playlist.db"), damaged);
    {
      test::MessageBoxAnswerer notice(QMessageBox::Ok);
      MainWindow* window = test::StartPlayer();
      QVERIFY(window != nullptr);
      QTRY_COMPARE(notice.answered(), 1);
      QVERIFY(window->playlist()->Items().empty());
      const QString folder = home_->DataHome() + QStringLiteral("/zelvaro/");
      const QStringList kept = QDir(folder).entryList({QStringLiteral("playlist.db.damaged-*")});
      QCOMPARE(kept.size(), 1);
      QFile keptFile(folder + kept[0]);
      QVERIFY(keptFile.open(QIODevice::ReadOnly));
      QCOMPARE(keptFile.readAll(), damaged);
      QVERIFY2(notice.text().contains(dbPath), qPrintable(notice.text()));
      QVERIFY(notice.text().contains(keptFile.fileName()));
      QCOMPARE(notice.title(), LanguageManager::GetString(u"App.Error"));
    }
    // Nothing more is waiting to be told at the next start.
    test::StopPlayer();
    test::MessageBoxAnswerer again(QMessageBox::Ok);
    QVERIFY(test::StartPlayer() != nullptr);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QCOMPARE(again.answered(), 0);
  }

  // The real program in a terminal: SIGTERM while it plays ends it with 0,
  // after the window's settings and the list were saved.
  void aStopSignalClosesAsTheWindowWould() {
    const QStringList paths = test::MakeSeries(*home_, QStringLiteral("show"), kEpisodes);
    QProcess player;
    player.setWorkingDirectory(home_->Root() + QStringLiteral("/show"));
    player.setProcessChannelMode(QProcess::ForwardedChannels);
    player.start(test::BinDir() + QStringLiteral("/zelvaro"), {QStringLiteral("Episode 2.mkv")});
    QVERIFY(player.waitForStarted(10000));
    const QString dbPath = home_->DataHome() + QStringLiteral("/zelvaro/playlist.db");
    QTRY_COMPARE_WITH_TIMEOUT(StoredListPaths(dbPath), paths, 20000);
    uint32_t width = 0;
    QVERIFY(!Settings::GetDword(setting::kWindowW, &width));  // written at close only

    QCOMPARE(::kill(static_cast<pid_t>(player.processId()), SIGTERM), 0);
    QVERIFY(player.waitForFinished(20000));
    QCOMPARE(player.exitStatus(), QProcess::NormalExit);
    QCOMPARE(player.exitCode(), 0);
    QVERIFY(Settings::GetDword(setting::kWindowW, &width));
    QCOMPARE(StoredListPaths(dbPath), paths);
  }

  void reopenedFileStartsWhereItWasLeft_data() {
    QTest::addColumn<double>("leftAt");
    QTest::addColumn<bool>("resumeSetting");
    QTest::addColumn<QString>("damage");
    QTest::addColumn<double>("expectedStart");
    QTest::newRow("left at 40 s") << 40.0 << true << QString() << 40.0;
    // 580 of 600 s lies in the last 5 %: the file was as good as watched.
    QTest::newRow("left in the last 5 %") << 580.0 << true << QString() << 0.0;
    QTest::newRow("ResumePlayback 0") << 40.0 << false << QString() << 0.0;
    QTest::newRow("a position that is no number")
        << 40.0 << true << "UPDATE resume_positions SET position = '45 s';" << 0.0;
    QTest::newRow("a table of another shape")
        << 40.0 << true
        << "DROP TABLE resume_positions; CREATE TABLE resume_positions (a, b);"
           "INSERT INTO resume_positions VALUES (1, 2);"
        << 0.0;
  }

  void reopenedFileStartsWhereItWasLeft() {
    QFETCH(double, leftAt);
    QFETCH(bool, resumeSetting);
    QFETCH(QString, damage);
    QFETCH(double, expectedStart);
    Settings::SetDword(setting::kResumePlayback, resumeSetting ? 1 : 0);
    const QString clip = LongClip();
    MainWindow* window = StartWith({clip});
    QVERIFY(window);
    QTRY_VERIFY_WITH_TIMEOUT(Playing(window, clip), kWaitMs);
    QVERIFY(window->graph()->Seek(leftAt, false, 0));
    QTRY_VERIFY_WITH_TIMEOUT(window->graph()->GetPosition() >= leftAt, kWaitMs);
    test::StopPlayer();
    if (!damage.isEmpty()) QVERIFY(ExecOnStore(damage));

    window = StartWith({clip});
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
    if (damage.isEmpty()) return;
    // A damaged table is no damaged store, and closing over it breaks nothing.
    QVERIFY(!PlaylistDatabase::TakeDamageReport());
    test::StopPlayer();
    window = test::StartPlayer();
    QVERIFY(window);
    QCOMPARE(window->recentFiles().front(), clip);
  }

 private:
  std::unique_ptr<test::TempHome> home_;
  QString previousDir_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowTest)
#include "main_window_test.moc"
