// An audio file in the running player: its cover on the blurred copy, the
// spectrum moving with the sound and at rest in silence, and the geometry
// the bars are painted and measured by.

#include "app/audio_cover_view.h"
#include "app/dpi.h"
#include "engine/graph_manager.h"
#include "tests/app/shell_test_support.h"

#include <QtTest>

namespace zelvaro {

class AudioCoverViewTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { home_ = std::make_unique<test::TempHome>(); }
  void cleanup() {
    test::StopPlayer();
    home_.reset();
  }

  void bandsFitEveryWidth_data() {
    QTest::addColumn<QSize>("client");
    QTest::newRow("wide") << QSize(1920, 1080);
    QTest::newRow("narrow") << QSize(40, 300);
  }
  void bandsFitEveryWidth() {
    QFETCH(QSize, client);
    const CoverGeometry g = ComputeCoverGeometry(client, QSize(300, 300));
    QVERIFY(g.bandWidth >= 2);
    QCOMPARE(g.cover.size(), QSize(int(0.7 * std::min(client.width(), client.height())),
                                   int(0.7 * std::min(client.width(), client.height()))));
    QVERIFY(g.bands.contains(g.Bar(0, 1.0f)) && g.bands.contains(g.Bar(31, 0.5f)));
    QVERIFY(g.Bar(5, 0.004f).isEmpty());
    QCOMPARE(g.Bar(5, 0.006f).height(), 1);
  }

  void aCoverAndAMovingSpectrum() {
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("cover_noise.mp3"))));
    AudioCoverView* view = window->audioCoverView();
    QVERIFY(view && view->isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(!view->AlbumArt().isNull(), kWaitMs);
    const CoverGeometry g = ComputeCoverGeometry(view->size(), view->AlbumArt().size());
    // The cover in the middle: testsrc2's picture, not the background.
    QVERIFY(view->grab(g.cover).toImage().pixelColor(g.cover.width() / 2, 4) !=
            view->grab(QRect(0, 0, 4, 4)).toImage().pixelColor(1, 1));
    QTRY_VERIFY_WITH_TIMEOUT(view->BarsActive(), kWaitMs);
    const QImage first = view->grab(g.bands).toImage();
    QTRY_VERIFY_WITH_TIMEOUT(view->grab(g.bands).toImage() != first, kWaitMs);
  }

  void silenceLeavesTheBandsAtRest() {
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("cover_silence.mp3"))));
    AudioCoverView* view = window->audioCoverView();
    QVERIFY(view);
    QTRY_VERIFY_WITH_TIMEOUT(!view->AlbumArt().isNull() && view->BarsActive(), kWaitMs);
    const CoverGeometry g = ComputeCoverGeometry(view->size(), view->AlbumArt().size());
    const QImage atRest = view->grab(g.bands).toImage();
    const double from = window->graph()->GetPosition();
    QTRY_VERIFY_WITH_TIMEOUT(window->graph()->GetPosition() > from + 0.5, kWaitMs);
    QCOMPARE(view->grab(g.bands).toImage(), atRest);
  }

  void videoHidesTheCover() {
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    QVERIFY(window->OpenFile(test::FixturePath(QStringLiteral("cover_noise.mp3"))));
    QVERIFY(window->audioCoverView()->isVisible());
    QVERIFY(window->OpenFile(test::PatternClip()));
    QVERIFY(!window->audioCoverView()->isVisible());
  }

 private:
  static constexpr int kWaitMs = 15000;
  std::unique_ptr<test::TempHome> home_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::AudioCoverViewTest)
#include "audio_cover_view_test.moc"
