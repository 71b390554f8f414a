// The player's lyrics flow, with the real main window and a real lyrics
// service on 127.0.0.1: a side .lrc shows the panel and marks the line of the
// position, a click seeks; a timed service reply also becomes the subtitle;
// bad replies end quietly with no panel; a hanging request never holds an
// open or the closing of the player.

#include "engine/graph_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "lyrics/lyrics_window.h"
#include "subtitles/subtitle_manager.h"
#include "tests/app/shell_test_support.h"
#include "tests/support/http_test_server.h"

#include <QDir>
#include <QProcess>

namespace zelvaro {

namespace {

// A six-second tone under `home`, with `lyrics` in its lyrics tag when given.
QString MakeTone(const test::TempHome& home, const QString& name, const QString& lyrics = {}) {
  const QString path = home.Root() + u'/' + name;
  QStringList args{QStringLiteral("-nostdin"), QStringLiteral("-loglevel"),
                   QStringLiteral("error"),    QStringLiteral("-y"),
                   QStringLiteral("-f"),       QStringLiteral("lavfi"),
                   QStringLiteral("-i"),       QStringLiteral("sine=frequency=440:duration=6")};
  if (!lyrics.isEmpty()) args << QStringLiteral("-metadata") << QStringLiteral("lyrics=") + lyrics;
  QProcess ffmpeg;
  ffmpeg.start(QStringLiteral("ffmpeg"), args << path);
  if (!ffmpeg.waitForFinished(30000) || ffmpeg.exitCode() != 0) return {};
  return path;
}

}  // namespace

class LyricsPlayerTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<test::TempHome>();
    server_ = std::make_unique<test::HttpTestServer>();
    Settings::SetString(setting::kLyricsEndpoint, server_->Url(QString()));
  }

  void cleanup() {
    test::StopPlayer();
    server_.reset();
    home_.reset();
  }

  void aSideFileShowsThePanelAndALineClickSeeks() {
    const QString song = MakeTone(*home_, QStringLiteral("song.mp3"));
    QVERIFY(!song.isEmpty());
    home_->WriteFile(QStringLiteral("song.lrc"),
                     "[ti:Song]\n[00:01.00]first\n[00:03.00]second\n[00:04.50]third\n");
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    QVERIFY(window->OpenFile(song));
    LyricsWindow* panel = window->lyricsWindow();
    QTRY_VERIFY_WITH_TIMEOUT(panel->isVisible() && panel->Data().lines.size() == 3, 10000);
    QVERIFY(window->HasLyrics());
    QCOMPARE(server_->RequestCount(), 0);

    window->PlayPause();
    QVERIFY(window->graph()->Seek(2.0, false, 0));
    QTRY_COMPARE_WITH_TIMEOUT(panel->CurrentLine(), 0, 5000);
    QCOMPARE(panel->Data().lines[0].text, QStringLiteral("first"));

    QTest::mouseClick(panel, Qt::LeftButton, {}, LyricsLineRect(panel->Layout(), 2).center());
    QTRY_VERIFY_WITH_TIMEOUT(window->graph()->GetPosition() >= 4.4, 5000);
    QTRY_COMPARE_WITH_TIMEOUT(panel->CurrentLine(), 2, 5000);

    // Timed lyrics of a file without subtitles are its subtitle, from a file
    // that starts with a byte-order mark.
    QTRY_VERIFY_WITH_TIMEOUT(
        window->graph()->Subtitles() && window->graph()->Subtitles()->HasSubtitle(), 5000);
    QFile srt(QDir::tempPath() + QStringLiteral("/zelvaro_lyrics.srt"));
    QVERIFY(srt.open(QIODevice::ReadOnly));
    QVERIFY(
        srt.readAll().startsWith("\xEF\xBB\xBF"
                                 "1\r\n00:00:01,000 --> 00:00:03,000\r\nfirst"));

    // The lyrics tag of a file without a side file.
    const QString tagged =
        MakeTone(*home_, QStringLiteral("tagged.mp3"), QStringLiteral("[00:02.00]from the tag"));
    QVERIFY(window->OpenFile(tagged));
    QTRY_VERIFY_WITH_TIMEOUT(!panel->Data().lines.empty(), 10000);
    QCOMPARE(panel->Data().lines[0].text, QStringLiteral("from the tag"));
  }

  void theServiceAnswersAndBadRepliesEndQuietly() {
    const QString found = MakeTone(*home_, QStringLiteral("found.mp3"));
    const QString missing = MakeTone(*home_, QStringLiteral("missing.mp3"));
    const QString garbage = MakeTone(*home_, QStringLiteral("garbage.mp3"));
    QVERIFY(!found.isEmpty() && !missing.isEmpty() && !garbage.isEmpty());
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    LyricsWindow* panel = window->lyricsWindow();

    server_->Route("/api/get", {.body = R"({"syncedLyrics":"[00:00.50]from the service"})"});
    QVERIFY(window->OpenFile(found));
    QTRY_VERIFY_WITH_TIMEOUT(panel->isVisible() && !panel->Data().lines.empty(), 10000);
    QCOMPARE(panel->Data().lines[0].text, QStringLiteral("from the service"));
    QVERIFY(server_->Requests().back().query.startsWith("track_name=found"));
    QTRY_VERIFY_WITH_TIMEOUT(
        window->graph()->Subtitles() && window->graph()->Subtitles()->HasSubtitle(), 5000);

    // Nothing found: the panel says so while asking, then goes away.
    server_->Route("/api/get", {.status = 404});
    QVERIFY(window->OpenFile(missing));
    QVERIFY(panel->Data().lines.empty());
    QTRY_VERIFY_WITH_TIMEOUT(!panel->isVisible(), 10000);
    QVERIFY(!window->HasLyrics());
    QVERIFY(!panel->Searching());

    server_->Route("/api/get", {.body = "{\"syncedLyrics\":"});
    ToggleLyrics(window);
    QVERIFY(panel->isVisible());
    QVERIFY(window->OpenFile(garbage));
    QTRY_VERIFY_WITH_TIMEOUT(!panel->isVisible(), 10000);
    QVERIFY(!window->HasLyrics());
  }

  void aHangingRequestHoldsNeitherTheNextOpenNorTheClose() {
    const QString hanging = MakeTone(*home_, QStringLiteral("hanging.mp3"));
    const QString next = MakeTone(*home_, QStringLiteral("next.mp3"));
    QVERIFY(!hanging.isEmpty() && !next.isEmpty());
    home_->WriteFile(QStringLiteral("next.lrc"), "[00:01.00]next song\n");
    server_->Route("/api/get", {.body = "{}", .delayMs = 600000});
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);

    QVERIFY(window->OpenFile(hanging));
    QTRY_COMPARE_WITH_TIMEOUT(server_->RequestCount(), 1, 10000);
    QVERIFY(window->OpenFile(next));
    QTRY_VERIFY_WITH_TIMEOUT(window->HasLyrics(), 10000);
    QCOMPARE(window->lyricsWindow()->Data().lines[0].text, QStringLiteral("next song"));

    QVERIFY(window->OpenFile(hanging));
    QTRY_COMPARE_WITH_TIMEOUT(server_->RequestCount(), 2, 10000);
    // The request would hang for minutes; the player goes at once.
    test::StopPlayer();
    QVERIFY(Application::Instance().mainWindow() == nullptr);
  }

 private:
  static void ToggleLyrics(MainWindow* window) { window->OnCommand(5027); }

  std::unique_ptr<test::TempHome> home_;
  std::unique_ptr<test::HttpTestServer> server_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::LyricsPlayerTest)
#include "lyrics_player_test.moc"
