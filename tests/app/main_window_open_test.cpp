// The open and play flow on the real window: the playlist following what is
// opened, the end of a file walking the list, stop and play from idle, the
// recent files, and files dropped on the window.

#include "app/commands.h"
#include "app/osd_formats.h"
#include "app/url_dialog.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "library/playlist_database.h"
#include "library/playlist_model.h"
#include "library/series_files.h"
#include "tests/app/shell_test_support.h"
#include "tests/support/http_test_server.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMimeData>
#include <QUrl>

namespace zelvaro {

namespace {

QStringList ItemPaths(const PlaylistModel& playlist) {
  QStringList paths;
  for (const PlaylistItem& item : playlist.Items()) paths << item.file_path;
  return paths;
}

QStringList ToList(const std::vector<QString>& paths) {
  return QStringList(paths.begin(), paths.end());
}

}  // namespace

class MainWindowOpenTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { QVERIFY(player_.Start()); }
  void cleanup() { player_.Stop(); }

  void openingFollowsTheListOrReplacesItWithTheSeries() {
    const QStringList show =
        test::MakeSeries(*player_.home, QStringLiteral("show"),
                         {QStringLiteral("Show 101.mp4"), QStringLiteral("Show 102.mp4"),
                          QStringLiteral("Show 103.mp4")});
    MainWindow* window = player_.window;
    PlaylistModel* playlist = window->playlist();
    QVERIFY(playlist);

    // Not on the list: the list becomes the file's series, marker on it.
    QVERIFY(window->OpenFile(show[1]));
    QCOMPARE(ItemPaths(*playlist), show);
    QCOMPARE(playlist->CurrentIndex(), 1);
    QCOMPARE(window->windowTitle(), QStringLiteral("Show 102.mp4"));
    QCOMPARE(test::OsdText(), QStringLiteral("Show 102.mp4"));
    QCOMPARE(window->recentFiles().front(), show[1]);

    // On the list: only the marker moves.
    QVERIFY(window->OpenFile(show[0]));
    QCOMPARE(ItemPaths(*playlist), show);
    QCOMPARE(playlist->CurrentIndex(), 0);

    // Another folder's file brings its own series.
    const QString clip = test::PatternClip();
    QVERIFY(window->OpenFile(clip));
    QCOMPARE(ItemPaths(*playlist), ToList(FindSeriesFiles(clip)));
    QCOMPARE(playlist->Items()[static_cast<size_t>(playlist->CurrentIndex())].file_path, clip);
    // The list was saved as it was replaced, and comes back at the next start.
    test::StopPlayer();
    window = test::StartPlayer();
    QVERIFY(window);
    QCOMPARE(ItemPaths(*window->playlist()), ToList(FindSeriesFiles(clip)));
  }

  void theEndOfAFileWalksOnPastOneThatFailsThenStops() {
    const QStringList show =
        test::MakeSeries(*player_.home, QStringLiteral("show"),
                         {QStringLiteral("Show 101.mp4"), QStringLiteral("Show 102.mp4"),
                          QStringLiteral("Show 103.mp4")},
                         {QStringLiteral("Show 102.mp4")});
    MainWindow* window = player_.window;
    GraphManager* graph = window->graph();
    QVERIFY(window->OpenFile(show[0]));
    QCOMPARE(window->playlist()->Items().size(), size_t{3});

    QVERIFY(graph->Seek(4.6, false, 0));
    QTRY_COMPARE_WITH_TIMEOUT(graph->CurrentPath(), show[2], 15000);
    QCOMPARE(window->playlist()->CurrentIndex(), 2);
    QCOMPARE(graph->State(), 2);

    // The last entry ends: stopped at its start, the input kept.
    QVERIFY(graph->Seek(4.6, false, 0));
    QTRY_COMPARE_WITH_TIMEOUT(graph->State(), 0, 10000);
    QCOMPARE(graph->CurrentPath(), show[2]);
    QVERIFY(graph->GetPosition() < 0.5);
    QCOMPARE(window->playlist()->CurrentIndex(), 2);
  }

  void stopKeepsTheInputAndPlayStartsItAgain() {
    MainWindow* window = player_.window;
    GraphManager* graph = window->graph();
    QVERIFY(window->OpenFile(test::PatternClip()));
    QVERIFY(graph->Seek(2.0, false, 0));
    window->OnCommand(ID_STOP);
    QCOMPARE(graph->State(), 0);
    QCOMPARE(graph->CurrentPath(), test::PatternClip());
    QVERIFY(graph->GetPosition() < 0.1);
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.Stop"));

    window->OnCommand(ID_PLAY_PAUSE);
    QCOMPARE(graph->State(), 2);
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.Play"));
    window->OnCommand(ID_PLAY_PAUSE);
    QCOMPARE(graph->State(), 1);
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.Pause"));
  }

  void recentFilesOpenFromIdleAndMissingOnesAreRemoved() {
    const QStringList show =
        test::MakeSeries(*player_.home, QStringLiteral("show"),
                         {QStringLiteral("Show 101.mp4"), QStringLiteral("Show 102.mp4")});
    MainWindow* window = player_.window;
    QVERIFY(ActivateAndPressSpace(window));
    QVERIFY(window->graph()->CurrentPath().isEmpty());  // no recent file: nothing
    QVERIFY(window->OpenFile(show[0]));
    QVERIFY(window->OpenFile(show[1]));
    test::StopPlayer();

    // Space on an idle player opens the newest.
    window = test::StartPlayer();
    QVERIFY(window);
    QCOMPARE(window->recentFiles(), (std::vector<QString>{show[1], show[0]}));
    QVERIFY(ActivateAndPressSpace(window));
    QCOMPARE(window->graph()->CurrentPath(), show[1]);
    QCOMPARE(window->graph()->State(), 2);

    window->OnCommand(ID_STOP);
    QVERIFY(QFile::remove(show[0]));
    test::MessageBoxAnswerer answerer(QMessageBox::Ok);
    window->OnCommand(ID_RECENT_FIRST + 1);
    QCOMPARE(answerer.answered(), 1);
    QCOMPARE(answerer.text(), LanguageManager::GetString(u"OSD.FileNotFoundMessage"));
    QCOMPARE(answerer.title(), LanguageManager::GetString(u"App.Error"));
    QCOMPARE(window->recentFiles(), std::vector<QString>{show[1]});
    QCOMPARE(PlaylistDatabase::Instance().LoadRecentFiles(), std::vector<QString>{show[1]});
    QCOMPARE(window->graph()->CurrentPath(), show[1]);  // nothing opened in its place

    // Clearing empties the list and the table.
    window->OnCommand(ID_RECENT_CLEAR);
    QVERIFY(window->recentFiles().empty());
    QVERIFY(PlaylistDatabase::Instance().LoadRecentFiles().empty());
  }

  void droppedFilesPlayTheFirstWithItsSeriesAndTheRestAfter() {
    const QStringList show =
        test::MakeSeries(*player_.home, QStringLiteral("show"),
                         {QStringLiteral("Show 101.mp4"), QStringLiteral("Show 102.mp4"),
                          QStringLiteral("Show 103.mp4")});
    const QStringList extras =
        test::MakeSeries(*player_.home, QStringLiteral("extras"),
                         {QStringLiteral("Alpha.mp4"), QStringLiteral("Beta.mp4")});
    MainWindow* window = player_.window;

    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(show[1]), QUrl::fromLocalFile(extras[0]),
                  QUrl::fromLocalFile(extras[1])});
    const QPointF at(window->width() / 2.0, window->height() / 2.0);
    QDragEnterEvent enter(at.toPoint(), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window, &drop);

    QCOMPARE(window->graph()->CurrentPath(), show[1]);
    QCOMPARE(ItemPaths(*window->playlist()), show + extras);
    QCOMPARE(window->playlist()->CurrentIndex(), 1);
  }

  void anAddressOnTheClipboardIsOfferedFirst() {
    MainWindow* window = player_.window;
    const QString rtsp = QStringLiteral("rtsp://127.0.0.1:9/none");
    QGuiApplication::clipboard()->setText(rtsp);

    // Cancel: nothing more comes up.
    QStringList seen;
    {
      test::ModalHandler handler([&seen](QWidget* modal) {
        auto* box = qobject_cast<QMessageBox*>(modal);
        seen << (box ? box->text() : modal->metaObject()->className());
        if (box) box->button(QMessageBox::Cancel)->click();
      });
      window->OnCommand(ID_OPEN_URL);
    }
    QCOMPARE(seen, QStringList{LanguageManager::GetString(u"URLDialog.ClipboardPromptFormat")
                                   .replace(QStringLiteral("%s"), rtsp)});

    // No: the dialog, with the address in it and selected.
    seen.clear();
    {
      test::ModalHandler handler([&seen](QWidget* modal) {
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
          box->button(QMessageBox::No)->click();
        } else if (auto* dialog = qobject_cast<UrlDialog*>(modal)) {
          seen << dialog->edit()->text() << dialog->edit()->selectedText() << dialog->windowTitle();
          dialog->reject();
        }
      });
      window->OnCommand(ID_KEY_OPEN_URL);
    }
    QCOMPARE(seen, (QStringList{rtsp, rtsp, LanguageManager::GetString(u"URLDialog.Title")}));

    // Text that is no address opens an empty dialog; typing one that is
    // still none gives the invalid address box.
    QGuiApplication::clipboard()->setText(QStringLiteral("ftp://example.org/a.mp4"));
    seen.clear();
    {
      test::ModalHandler handler([&seen](QWidget* modal) {
        if (auto* dialog = qobject_cast<UrlDialog*>(modal)) {
          seen << dialog->edit()->text();
          QTest::keyClicks(dialog->edit(), QStringLiteral("ftp://example.org/a.mp4"));
          dialog->accept();
        } else if (auto* box = qobject_cast<QMessageBox*>(modal)) {
          seen << box->text();
          box->accept();
        }
      });
      window->OnCommand(ID_OPEN_URL);
    }
    QCOMPARE(seen, (QStringList{QString(), LanguageManager::GetString(u"URLDialog.InvalidURL")}));
    QVERIFY(window->graph()->CurrentPath().isEmpty());
  }

  void aSilentAddressHoldsNeitherTheWindowNorItsClosing() {
    test::HttpTestServer server;
    server.Route("/silent.mkv", {.delayMs = 60'000});  // accepts, never answers
    MainWindow* window = player_.window;
    int ticks = 0;
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
    ticker.start(20);

    // Under way at once; the window's timers run and the OSD counts the wait.
    QVERIFY(window->OpenUrl(server.Url("/silent.mkv")));
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.OpeningUrl"));
    QTRY_VERIFY_WITH_TIMEOUT(ticks >= 10, 5000);
    QTRY_COMPARE_WITH_TIMEOUT(test::OsdText(), FormatKey(u"OSD.OpeningUrlFormat", 1), 5000);
    QVERIFY(window->graph()->IsOpening());

    // An address that fails gets the box, once: it is not asked twice.
    QStringList seen;
    {
      test::ModalHandler handler([&seen](QWidget* modal) {
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
          seen << box->text();
          box->accept();
        }
      });
      QVERIFY(window->OpenUrl(server.Url("/missing.mkv")));
      QTRY_COMPARE_WITH_TIMEOUT(seen.size(), 1, 10000);
    }
    QCOMPARE(seen.front(), LanguageManager::GetString(u"URLDialog.CannotOpen"));

    // Closing while an address is silent does not wait for it.
    QVERIFY(window->OpenUrl(server.Url("/silent.mkv")));
    QTRY_VERIFY_WITH_TIMEOUT(server.RequestCount() == 3, 5000);
    QElapsedTimer wall;
    wall.start();
    test::StopPlayer();
    QVERIFY(wall.elapsed() < 1000);
  }

 private:
  static bool ActivateAndPressSpace(MainWindow* window) {
    if (!test::ActivatePlayer(window)) return false;
    QTest::keyClick(window, Qt::Key_Space);
    return true;
  }

  test::PlayerFixture player_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowOpenTest)
#include "main_window_open_test.moc"
