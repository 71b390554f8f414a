// The player as a Linux user meets it first: started from a terminal with a
// relative path, stopped by a signal, its window moved, a keyboard's play
// key, and a touchpad's small wheel deltas.

#include "app/command_line.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/playlist_model.h"
#include "tests/app/shell_test_support.h"

#include <QDir>
#include <QProcess>
#include <QWheelEvent>

#include <sqlite3.h>

#include <csignal>

namespace zelvaro {
namespace {

const QStringList kEpisodes{QStringLiteral("Episode 1.mkv"), QStringLiteral("Episode 2.mkv"),
                            QStringLiteral("Episode 3.mkv")};

// The playlist table's paths in order, read on a connection of our own.
QStringList StoredListPaths(const QString& dbPath) {
  QStringList paths;
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(QFile::encodeName(dbPath).constData(), &db, SQLITE_OPEN_READONLY, nullptr) ==
      SQLITE_OK) {
    sqlite3_busy_timeout(db, 2000);
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT file_path FROM playlist ORDER BY sort_order;", -1,
                           &statement, nullptr) == SQLITE_OK) {
      while (sqlite3_step(statement) == SQLITE_ROW) {
        paths << QString::fromUtf8(
            reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
      }
    }
    sqlite3_finalize(statement);
  }
  sqlite3_close(db);
  return paths;
}

void SendWheel(QWidget* window, QPoint angleDelta) {
  const QPointF at(window->width() / 2.0, window->height() / 2.0);
  QWheelEvent event(at, window->mapToGlobal(at), QPoint(), angleDelta, Qt::NoButton, Qt::NoModifier,
                    Qt::NoScrollPhase, false);
  QApplication::sendEvent(window, &event);
}

// QTest's key clicks refuse keys that type nothing; a media key comes as
// the desktop sends it, one press.
void PressKey(QWidget* window, Qt::Key key) {
  QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
  QApplication::sendEvent(window, &press);
}

}  // namespace

class ShellDoorTest : public QObject {
  Q_OBJECT

 private slots:
  // The language files beside the built program, so that a notice's text is
  // its English text rather than its key.
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

  void aRelativePathBringsItsSeriesWithAbsolutePaths() {
    const QStringList paths = test::MakeSeries(*home_, QStringLiteral("show"), kEpisodes);
    QVERIFY(QDir::setCurrent(home_->Root() + QStringLiteral("/show")));
    QVERIFY(Application::Instance().Initialize(
        ParseArguments({QStringLiteral("Episode 1.mkv")}, QDir::currentPath())));
    MainWindow* window = Application::Instance().mainWindow();
    QCOMPARE(window->graph()->CurrentPath(), paths[0]);
    QStringList listed;
    for (const PlaylistItem& item : window->playlist()->Items()) listed << item.file_path;
    QCOMPARE(listed, paths);
    QCOMPARE(StoredListPaths(home_->DataHome() + QStringLiteral("/zelvaro/playlist.db")), paths);
    QCOMPARE(QStringList(window->recentFiles().begin(), window->recentFiles().end()),
             QStringList{paths[0]});
    // Any later opening by a relative path is made absolute at the same door.
    QVERIFY(window->OpenFile(QStringLiteral("./sub/../Episode 3.mkv")));
    QCOMPARE(window->graph()->CurrentPath(), paths[2]);
    QCOMPARE(window->recentFiles().front(), paths[2]);
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
      const QStringList kept = QDir(home_->DataHome() + QStringLiteral("/zelvaro"))
                                   .entryList({QStringLiteral("playlist.db.damaged-*")});
      QCOMPARE(kept.size(), 1);
      const QString keptPath = home_->DataHome() + QStringLiteral("/zelvaro/") + kept[0];
      QFile keptFile(keptPath);
      QVERIFY(keptFile.open(QIODevice::ReadOnly));
      QCOMPARE(keptFile.readAll(), damaged);
      QVERIFY2(notice.text().contains(dbPath), qPrintable(notice.text()));
      QVERIFY(notice.text().contains(keptPath));
      QCOMPARE(notice.title(), LanguageManager::GetString(u"App.Error"));
    }
    // Nothing more is waiting to be told, in this run or the next.
    for (int run = 0; run < 2; ++run) {
      test::MessageBoxAnswerer again(QMessageBox::Ok);
      if (run == 1) {
        test::StopPlayer();
        QVERIFY(test::StartPlayer() != nullptr);
      }
      QCoreApplication::sendPostedEvents();
      QCoreApplication::processEvents();
      QCOMPARE(again.answered(), 0);
    }
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

  void aMovedWindowReopensWhereItWasPut() {
    MainWindow* window = test::StartPlayer();
    QVERIFY(window != nullptr);
    const QSize size = window->size();
    const QPoint target = window->pos() + QPoint(37, 29);
    window->move(target);
    QTRY_COMPARE(window->pos(), target);
    QCOMPARE(window->size(), size);
    window->close();
    test::StopPlayer();

    window = test::StartPlayer();
    QVERIFY(window != nullptr);
    QCOMPARE(window->geometry(), QRect(target, size));
  }

  void theMediaPlayKeyToggles() {
    MainWindow* window = test::StartPlayer();
    QVERIFY(window != nullptr);
    QVERIFY(window->OpenFile(test::PatternClip()));
    QVERIFY(test::ActivatePlayer(window));
    QCOMPARE(window->graph()->State(), 2);
    PressKey(window, Qt::Key_MediaPlay);
    QCOMPARE(window->graph()->State(), 1);
    PressKey(window, Qt::Key_MediaPause);
    QCOMPARE(window->graph()->State(), 2);
  }

  // Eight events of 15 are one notch: one step, saved once the wheel rests.
  void smallWheelDeltasMakeOneStep() {
    QVERIFY(Settings::SetDword(setting::kVolume, 50));
    MainWindow* window = test::StartPlayer();
    QVERIFY(window != nullptr);
    QCOMPARE(qRound(window->graph()->Volume() * 100), 50);
    SendWheel(window, QPoint(120, 0));  // sideways
    for (int i = 0; i < 7; ++i) SendWheel(window, QPoint(0, 15));
    QCOMPARE(qRound(window->graph()->Volume() * 100), 50);
    SendWheel(window, QPoint(0, 15));
    QCOMPARE(qRound(window->graph()->Volume() * 100), 55);
    QCOMPARE(Settings::GetDwordOr(setting::kVolume, 0), 50u);  // not yet
    QTRY_COMPARE(Settings::GetDwordOr(setting::kVolume, 0), 55u);
  }

 private:
  std::unique_ptr<test::TempHome> home_;
  QString previousDir_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::ShellDoorTest)
#include "shell_door_test.moc"
