// The window's background work and its feedback: a slow lyrics request
// never holds the interface, a late result is dropped, closing does not wait
// on the network; album art arrives as an owned picture; the OSD line lands
// on the video picture and is driven by the window's own timers; a
// screenshot is written to disk; an audio file's cover and spectrum.

#include "app/audio_cover_view.h"
#include "app/commands.h"
#include "engine/graph_manager.h"
#include "foundation/download.h"
#include "foundation/language_manager.h"
#include "tests/app/shell_test_support.h"
#include "tests/support/http_test_server.h"
#include "video/video_renderer.h"

#include <QDir>
#include <QFile>
#include <QScreen>

#include <atomic>

namespace zelvaro {

namespace {

constexpr int kSlowReplyMs = 5000;
constexpr int kWaitMs = 15000;

// A lyrics lookup that really asks the test server: "/slow" for the file
// named Show 101, "/quick" for any other. The reply's body is the one line
// found. Counts finished requests in `finished`, which outlives the window.
LyricsHook::Body ServerLookup(const QString& slowUrl, const QString& quickUrl,
                              const QString& folder, std::shared_ptr<std::atomic<int>> finished) {
  return [=](const LyricsRequest& request, const std::atomic<bool>&) {
    const bool slow = request.title == QStringLiteral("Show 101");
    const QString target = folder + u'/' + request.title + QStringLiteral(".reply");
    // The cancel flag is not passed on: a cancelled request runs to its end,
    // and only its result is dropped.
    const bool ok = DownloadToFile(slow ? slowUrl : quickUrl, target, "Zelvaro/1.0");
    ++*finished;
    QFile reply(target);
    if (!ok || !reply.open(QIODevice::ReadOnly)) return std::unique_ptr<LyricsResult>();
    auto result = std::make_unique<LyricsResult>();
    result->synced = true;
    result->lines.push_back({1000, QString::fromUtf8(reply.readAll())});
    return result;
  };
}

bool HasWhite(const QImage& image, const QRect& area) {
  for (int y = area.top(); y <= area.bottom(); ++y) {
    for (int x = area.left(); x <= area.right(); ++x) {
      const QColor c = image.pixelColor(x, y);
      if (c.red() > 230 && c.green() > 230 && c.blue() > 230) return true;
    }
  }
  return false;
}

}  // namespace

class MainWindowWorkersTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { QVERIFY(player_.Start()); }
  void cleanup() { player_.Stop(); }

  void aSlowLyricsRequestNeverHoldsTheWindow() {
    test::HttpTestServer server;
    server.Route("/slow", {.body = "first file's line", .delayMs = kSlowReplyMs});
    server.Route("/quick", {.body = "second file's line"});
    const QStringList show =
        test::MakeSeries(*player_.home, QStringLiteral("show"),
                         {QStringLiteral("Show 101.mp4"), QStringLiteral("Show 102.mp4")});
    auto finished = std::make_shared<std::atomic<int>>(0);
    MainWindow* window = player_.window;
    window->lyricsHook().SetBody(ServerLookup(server.Url(QStringLiteral("/slow")),
                                              server.Url(QStringLiteral("/quick")),
                                              player_.home->Root(), finished));

    QVERIFY(window->OpenFile(show[0]));
    QTRY_COMPARE_WITH_TIMEOUT(server.RequestCount(), 1, 5000);
    // The second open neither waits for the first request nor sees its answer.
    QVERIFY(window->OpenFile(show[1]));
    QCOMPARE(finished->load(), 0);
    bool answered = false;
    QMetaObject::invokeMethod(
        window, [&answered] { answered = true; }, Qt::QueuedConnection);
    QTRY_VERIFY_WITH_TIMEOUT(answered, 1000);
    QCOMPARE(finished->load(), 0);
    QVERIFY(!window->HasLyrics());

    // The first request ends, its result is dropped; then the second's comes.
    QTRY_COMPARE_WITH_TIMEOUT(window->lyricsHook().DroppedCount(), 1, kSlowReplyMs + 10000);
    QTRY_VERIFY_WITH_TIMEOUT(window->HasLyrics(), 5000);
    QCOMPARE(window->lyrics()->lines.front().text, QStringLiteral("second file's line"));
    QCOMPARE(server.RequestCount(), 2);

    // Closing while a request runs returns at once; the request is left to end.
    QVERIFY(window->OpenFile(show[0]));
    QVERIFY(!window->HasLyrics());
    QTRY_COMPARE_WITH_TIMEOUT(server.RequestCount(), 3, 5000);
    test::StopPlayer();
    QCOMPARE(finished->load(), 2);
  }

  void albumArtOfAnAudioFileArrivesAsAnOwnedPicture() {
    QImage cover(64, 48, QImage::Format_RGB32);
    cover.fill(QColor(48, 96, 160));
    const QString coverPath = player_.home->Root() + QStringLiteral("/cover.png");
    QVERIFY(cover.save(coverPath));
    MainWindow* window = player_.window;
    auto asked = std::make_shared<std::atomic<int>>(0);
    window->albumArtHook().SetBody([coverPath, asked](const QString&) {
      ++*asked;
      return coverPath;
    });

    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("cover_art.mp3"))));
    QVERIFY(!window->graph()->VideoConnected());
    QTRY_VERIFY_WITH_TIMEOUT(!window->albumArt().isNull(), 5000);
    QCOMPARE(window->albumArt().size(), QSize(64, 48));
    QCOMPARE(window->albumArt().pixelColor(10, 10), QColor(48, 96, 160));

    // A file with a picture of its own has no art, and asks for none.
    QVERIFY(window->OpenFile(test::PatternClip()));
    QVERIFY(window->albumArt().isNull());
    QCOMPARE(asked->load(), 1);
  }

  void theOsdLineLandsOnThePictureAndFadesByTheWindowsTimer() {
    MainWindow* window = player_.window;
    // A 4:3 video area, so the picture fills it and the line lies on red.
    const QSize chrome = window->size() - window->videoWindow()->size();
    window->resize(QSize(640, 480) + chrome);
    QTRY_COMPARE(window->videoWindow()->size(), QSize(640, 480));
    QVERIFY(window->OpenFile(test::PatternClip()));
    window->PlayPause();
    QTRY_VERIFY_WITH_TIMEOUT(!window->videoWindow()->DisplayedImage().isNull(), 10000);
    // The file's name and "Pause" go first.
    QTRY_VERIFY_WITH_TIMEOUT(!CurrentOsdOverlay()->isShowing(), 5000);

    const QRect textArea(15, 10, 200, 40);
    auto grabVideo = [window] {
      QWidget* video = window->videoWindow();
      const QPoint origin = video->mapTo(window, QPoint(0, 0));
      return window->screen()
          ->grabWindow(window->winId(), origin.x(), origin.y(), video->width(), video->height())
          .toImage()
          .convertToFormat(QImage::Format_RGB32);
    };
    // The screen catches up with the renderer a paint or two after the frame.
    auto redUnderText = [&] {
      const QColor picture = grabVideo().pixelColor(textArea.center());
      return picture.red() > 200 && picture.green() < 60;
    };
    QTRY_VERIFY_WITH_TIMEOUT(redUnderText(), 5000);
    QVERIFY(!HasWhite(grabVideo(), textArea));

    ShowOsd(QStringLiteral("HHHHHHHH"), 60000);
    QTRY_VERIFY_WITH_TIMEOUT(HasWhite(grabVideo(), textArea), 5000);
    // The picture stays visible around the line: no panel behind the text.
    const QColor beside = grabVideo().pixelColor(300, textArea.center().y());
    QVERIFY2(beside.red() > 200 && beside.green() < 60, qPrintable(beside.name()));

    // The window's 16 ms timer runs the fade to its end.
    ShowOsd(QStringLiteral("HHHHHHHH"), 100);
    QTRY_VERIFY_WITH_TIMEOUT(!CurrentOsdOverlay()->isShowing(), 3000);
    QTRY_VERIFY_WITH_TIMEOUT(!HasWhite(grabVideo(), textArea), 3000);
  }

  void theSizeLineWaitsForStartUpToSettle() {
    MainWindow* window = player_.window;
    QVERIFY(test::OsdText().isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(window->sizeOsdArmed(), 3000);
    window->resize(window->width() - 100, window->height() - 50);
    const QSize area = window->videoWindow()->size();
    QTRY_COMPARE(test::OsdText(), QStringLiteral("%1 × %2").arg(area.width()).arg(area.height()));
  }

  void aScreenshotLandsInThePicturesFolder() {
    const QString pictures = player_.home->Root() + QStringLiteral("/Pictures");
    player_.home->WriteFile(QStringLiteral("config/user-dirs.dirs"),
                            "XDG_PICTURES_DIR=\"" + pictures.toUtf8() + "\"\n");
    MainWindow* window = player_.window;
    QVERIFY(window->OpenFile(test::PatternClip()));
    window->OnCommand(ID_SCREENSHOT);
    const QDir folder(pictures + QStringLiteral("/Zelvaro"));
    const QStringList pattern{QStringLiteral("pattern_h264_aac_*.png")};
    QTRY_COMPARE_WITH_TIMEOUT(folder.entryList(pattern).size(), 1, kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(test::OsdText(), LanguageManager::GetString(u"OSD.ScreenshotSaved"),
                              kWaitMs);
    const QImage shot(folder.filePath(folder.entryList(pattern).first()));
    QCOMPARE(shot.size(), QSize(320, 240));
    // The fixture's quadrants: red, lime, blue, white.
    const QColor expected[] = {Qt::red, Qt::green, Qt::blue, Qt::white};
    const QPoint centres[] = {{80, 60}, {240, 60}, {80, 180}, {240, 180}};
    for (int i = 0; i < 4; ++i) {
      const QColor c = shot.pixelColor(centres[i]);
      QVERIFY2(std::abs(c.red() - expected[i].red()) <= 16 &&
                   std::abs(c.green() - expected[i].green()) <= 16 &&
                   std::abs(c.blue() - expected[i].blue()) <= 16,
               qPrintable(c.name()));
    }
  }

  // An audio file: its cover on the blurred copy, the spectrum at rest in
  // silence and moving with sound; a video hides it all.
  void anAudioFileShowsItsCoverAndSpectrum() {
    MainWindow* window = player_.window;
    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("cover_silence.mp3"))));
    AudioCoverView* view = window->audioCoverView();
    QVERIFY(view && view->isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(!view->AlbumArt().isNull() && view->BarsActive(), kWaitMs);
    CoverGeometry g = ComputeCoverGeometry(view->size(), view->AlbumArt().size());
    const QImage atRest = view->grab(g.bands).toImage();
    const double from = window->graph()->GetPosition();
    QTRY_VERIFY_WITH_TIMEOUT(window->graph()->GetPosition() > from + 0.5, kWaitMs);
    QCOMPARE(view->grab(g.bands).toImage(), atRest);

    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("cover_noise.mp3"))));
    QTRY_VERIFY_WITH_TIMEOUT(!view->AlbumArt().isNull() && view->BarsActive(), kWaitMs);
    g = ComputeCoverGeometry(view->size(), view->AlbumArt().size());
    // The cover in the middle: testsrc2's picture, not the background.
    QVERIFY(view->grab(g.cover).toImage().pixelColor(g.cover.width() / 2, 4) !=
            view->grab(QRect(0, 0, 4, 4)).toImage().pixelColor(1, 1));
    const QImage first = view->grab(g.bands).toImage();
    QTRY_VERIFY_WITH_TIMEOUT(view->grab(g.bands).toImage() != first, kWaitMs);

    QVERIFY(window->OpenFile(test::PatternClip()));
    QVERIFY(!view->isVisible());

    // The bars fit a wide and a very narrow view; the faintest level draws none.
    for (const QSize client : {QSize(1920, 1080), QSize(40, 300)}) {
      const CoverGeometry fit = ComputeCoverGeometry(client, QSize(300, 300));
      const int side = int(0.7 * std::min(client.width(), client.height()));
      QVERIFY(fit.bandWidth >= 2);
      QCOMPARE(fit.cover.size(), QSize(side, side));
      QVERIFY(fit.bands.contains(fit.Bar(0, 1.0f)) && fit.bands.contains(fit.Bar(31, 0.5f)));
      QVERIFY(fit.Bar(5, 0.004f).isEmpty());
      QCOMPARE(fit.Bar(5, 0.006f).height(), 1);
    }
  }

 private:
  test::PlayerFixture player_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowWorkersTest)
#include "main_window_workers_test.moc"
