// The player's lyrics flow, with the real main window and a real lyrics
// service on 127.0.0.1; where lyrics come from is lyrics_acquisition_test's.

#include "app/commands.h"
#include "engine/graph_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "lyrics/lyrics_window.h"
#include "subtitles/subtitle_manager.h"
#include "tests/app/shell_test_support.h"
#include "tests/lyrics/lyrics_test_support.h"
#include "tests/support/http_test_server.h"

#include <QDir>

namespace zelvaro {

class LyricsPlayerTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<test::TempHome>();
    server_ = std::make_unique<test::HttpTestServer>();
    Settings::SetString(setting::kLyricsEndpoint, server_->Url(QString()));
    window_ = test::StartPlayer();
    QVERIFY(window_);
  }

  void cleanup() {
    test::StopPlayer();
    server_.reset();
    home_.reset();
  }

  void aSideFileShowsThePanelAndALineClickSeeks() {
    const QString song = Tone("song.mp3");
    home_->WriteFile(QStringLiteral("song.lrc"),
                     "[ti:Song]\n[00:01.00]first\n[00:03.00]second\n[00:04.50]third\n");
    QVERIFY(window_->OpenFile(song));
    LyricsWindow* panel = window_->lyricsWindow();
    QTRY_VERIFY_WITH_TIMEOUT(panel->isVisible() && panel->Data().lines.size() == 3, 10000);
    QVERIFY(window_->HasLyrics());
    QCOMPARE(server_->RequestCount(), 0);

    window_->PlayPause();
    QVERIFY(window_->graph()->Seek(2.0, false, 0));
    QTRY_COMPARE_WITH_TIMEOUT(panel->CurrentLine(), 0, 5000);
    QCOMPARE(panel->Data().lines[0].text, QStringLiteral("first"));

    QTest::mouseClick(panel, Qt::LeftButton, {}, LyricsLineRect(panel->Layout(), 2).center());
    QTRY_VERIFY_WITH_TIMEOUT(window_->graph()->GetPosition() >= 4.4, 5000);
    QTRY_COMPARE_WITH_TIMEOUT(panel->CurrentLine(), 2, 5000);

    // Timed lyrics of a file without subtitles are its subtitle, from a file
    // that starts with a byte-order mark.
    QVERIFY(WaitForSubtitle());
    QFile srt(QDir::tempPath() + QStringLiteral("/zelvaro_lyrics.srt"));
    QVERIFY(srt.open(QIODevice::ReadOnly));
    QVERIFY(
        srt.readAll().startsWith("\xEF\xBB\xBF"
                                 "1\r\n00:00:01,000 --> 00:00:03,000\r\nfirst"));
  }

  void theServiceAnswersAndBadRepliesEndQuietly() {
    LyricsWindow* panel = window_->lyricsWindow();
    server_->Route("/api/get", {.body = R"({"syncedLyrics":"[00:00.50]from the service"})"});
    QVERIFY(window_->OpenFile(Tone("found.mp3")));
    QTRY_VERIFY_WITH_TIMEOUT(panel->isVisible() && !panel->Data().lines.empty(), 10000);
    QCOMPARE(panel->Data().lines[0].text, QStringLiteral("from the service"));
    QVERIFY(server_->Requests().back().query.startsWith("track_name=found"));
    QVERIFY(WaitForSubtitle());

    // Nothing found: the panel says so while asking, then goes away.
    server_->Route("/api/get", {.status = 404});
    QVERIFY(window_->OpenFile(Tone("missing.mp3")));
    QVERIFY(panel->Data().lines.empty());
    QTRY_VERIFY_WITH_TIMEOUT(!panel->isVisible(), 10000);
    QVERIFY(!window_->HasLyrics());
    QVERIFY(!panel->Searching());

    server_->Route("/api/get", {.body = "{\"syncedLyrics\":"});
    window_->OnCommand(ID_LYRICS_PANEL);
    QVERIFY(panel->isVisible());
    QVERIFY(window_->OpenFile(Tone("garbage.mp3")));
    QTRY_VERIFY_WITH_TIMEOUT(!panel->isVisible(), 10000);
    QVERIFY(!window_->HasLyrics());
  }

  void aHangingRequestHoldsNeitherTheNextOpenNorTheClose() {
    const QString hanging = Tone("hanging.mp3");
    home_->WriteFile(QStringLiteral("next.lrc"), "[00:01.00]next song\n");
    server_->Route("/api/get", {.body = "{}", .delayMs = 600000});
    QVERIFY(window_->OpenFile(hanging));
    QTRY_COMPARE_WITH_TIMEOUT(server_->RequestCount(), 1, 10000);
    QVERIFY(window_->OpenFile(Tone("next.mp3")));
    QTRY_VERIFY_WITH_TIMEOUT(window_->HasLyrics(), 10000);
    QCOMPARE(window_->lyricsWindow()->Data().lines[0].text, QStringLiteral("next song"));

    QVERIFY(window_->OpenFile(hanging));
    QTRY_COMPARE_WITH_TIMEOUT(server_->RequestCount(), 2, 10000);
    // The request would hang for minutes; the player goes at once.
    test::StopPlayer();
    QVERIFY(Application::Instance().mainWindow() == nullptr);
  }

 private:
  // A six-second tone in the home, named for the service's query.
  QString Tone(const char* name) const {
    return test::MakeTone(home_->Root() + u'/' + QString::fromLatin1(name), 6);
  }
  bool WaitForSubtitle() const {
    return QTest::qWaitFor(
        [this] {
          return window_->graph()->Subtitles() && window_->graph()->Subtitles()->HasSubtitle();
        },
        5000);
  }

  std::unique_ptr<test::TempHome> home_;
  std::unique_ptr<test::HttpTestServer> server_;
  MainWindow* window_ = nullptr;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::LyricsPlayerTest)
#include "lyrics_player_test.moc"
