// The lyrics panel alone: the marked line follows the position and stays in
// the middle, a click on a line seeks there, the offset buttons shift the
// lines, the wheel stops and resumes the following, a stored place off every
// screen falls back beside the owner; and one golden image of its look.

#include "lyrics/lyrics_window.h"
#include "app/dpi.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/support/golden_image.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <QTest>

#include <memory>
#include <vector>

namespace zelvaro {
namespace {

// `count` lines, one a second from 1 s: "Line 1", "Line 2", ...
LyricsData Numbered(int count, bool synced = true) {
  LyricsData data;
  data.synced = synced;
  for (int i = 1; i <= count; ++i)
    data.lines.push_back({i * 1000, QStringLiteral("Line %1").arg(i)});
  return data;
}

}  // namespace

class LyricsWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { LanguageManager::Instance().Initialize(test::BinDir(), QLocale::English); }

  void init() {
    home_ = std::make_unique<test::TempHome>();
    owner_ = std::make_unique<QWidget>();
    owner_->setGeometry(100, 100, 400, 300);
    seeks_.clear();
    panel_ = new LyricsWindow(owner_.get(), [this](double seconds) { seeks_.push_back(seconds); });
  }

  void cleanup() {
    owner_.reset();
    home_.reset();
  }

  void theMarkedLineFollowsThePositionInTheMiddle() {
    panel_->SetData(Numbered(80));
    panel_->Show(true);
    QVERIFY(QTest::qWaitForWindowExposed(panel_));
    QVERIFY(!panel_->SetPosition(500));
    QCOMPARE(panel_->CurrentLine(), -1);
    QVERIFY(panel_->SetPosition(2000));
    QCOMPARE(panel_->CurrentLine(), 1);
    QVERIFY(!panel_->SetPosition(2900));

    panel_->SetPosition(30500);
    QCOMPARE(panel_->CurrentLine(), 29);
    const LyricsPanelLayout layout = panel_->Layout();
    QVERIFY(layout.hasScrollBar);
    const QRect row = LyricsLineRect(layout, 29);
    QVERIFY(std::abs(row.center().y() - layout.list.center().y()) <= layout.lineHeight);
    QCOMPARE(panel_->LineAt(row.center()), 29);

    // The wheel stops the following; a click resumes it.
    const int followed = panel_->ScrollY();
    const QPoint at = layout.list.center();
    QWheelEvent wheel(at, panel_->mapToGlobal(at), QPoint(), QPoint(0, 360), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(panel_, &wheel);
    QVERIFY(!panel_->AutoScroll());
    QVERIFY(panel_->ScrollY() < followed);
    panel_->SetPosition(41000);
    QVERIFY(panel_->ScrollY() < followed);
    QTest::mouseClick(panel_, Qt::LeftButton, {}, at);
    QVERIFY(panel_->AutoScroll());
  }

  void aClickOnALineSeeksToItPlusTheOffset() {
    panel_->SetData(Numbered(5));
    panel_->Show(true);
    QVERIFY(QTest::qWaitForWindowExposed(panel_));
    QVERIFY(!panel_->Layout().hasScrollBar);
    QCOMPARE(panel_->ScrollY(), 0);

    QTest::mouseClick(panel_, Qt::LeftButton, {}, LyricsLineRect(panel_->Layout(), 3).center());
    QCOMPARE(seeks_, std::vector<double>{4.0});

    QTest::mouseClick(panel_, Qt::LeftButton, {}, panel_->Layout().plus.center());
    QCOMPARE(panel_->UserOffsetMs(), 500);
    QVERIFY(panel_->OffsetText().endsWith(QStringLiteral(": +0.5s")));
    // The lines come later by the offset.
    panel_->SetPosition(2200);
    QCOMPARE(panel_->CurrentLine(), 0);
    QTest::mouseClick(panel_, Qt::LeftButton, {}, LyricsLineRect(panel_->Layout(), 1).center());
    QCOMPARE(seeks_.back(), 2.5);

    // The offset outlives new lyrics until it is reset.
    panel_->SetData(Numbered(3));
    QCOMPARE(panel_->UserOffsetMs(), 500);
    QTest::mouseClick(panel_, Qt::LeftButton, {}, panel_->Layout().minus.center());
    QTest::mouseClick(panel_, Qt::LeftButton, {}, panel_->Layout().minus.center());
    QCOMPARE(panel_->UserOffsetMs(), -500);
    QTest::mouseClick(panel_, Qt::LeftButton, {}, panel_->Layout().reset.center());
    QCOMPARE(panel_->UserOffsetMs(), 0);

    // Untimed lyrics mark nothing and do not seek.
    panel_->SetData(Numbered(3, false));
    panel_->SetPosition(2500);
    QCOMPARE(panel_->CurrentLine(), -1);
    const size_t seeks = seeks_.size();
    QTest::mouseClick(panel_, Qt::LeftButton, {}, LyricsLineRect(panel_->Layout(), 1).center());
    QCOMPARE(seeks_.size(), seeks);
  }

  void aPlaceOffEveryScreenFallsBackBesideTheOwner() {
    Settings::SetDword(setting::kLyricsX, static_cast<uint32_t>(-50000));
    Settings::SetDword(setting::kLyricsY, 20);
    Settings::SetDword(setting::kLyricsW, 320);
    Settings::SetDword(setting::kLyricsH, 400);
    const QRect beside = panel_->PlacementRect();
    QCOMPARE(beside.topLeft(),
             QPoint(owner_->frameGeometry().right() + 1, owner_->frameGeometry().top()));
    QCOMPARE(beside.size(),
             QSize(Scaled(LyricsWindow::kDesignWidth), Scaled(LyricsWindow::kDesignHeight)));

    Settings::SetDword(setting::kLyricsX, 30);
    QCOMPARE(panel_->PlacementRect(), QRect(30, 20, 320, 400));
    // Closing it by its button keeps the place and the choice.
    panel_->Show(true);
    QVERIFY(QTest::qWaitForWindowExposed(panel_));
    QTest::mouseClick(panel_, Qt::LeftButton, {}, panel_->Layout().close.center());
    QVERIFY(!panel_->isVisible());
    QCOMPARE(Settings::GetDwordOr(setting::kLyricsVisible, 1), 0u);
    QCOMPARE(Settings::GetDwordOr(setting::kLyricsW, 0), static_cast<uint32_t>(panel_->width()));
  }

  void golden() {
    panel_->SetData(Numbered(12));
    panel_->resize(Scaled(LyricsWindow::kDesignWidth), Scaled(LyricsWindow::kDesignHeight));
    panel_->SetPosition(3000);
    QString why;
    QVERIFY2(test::MatchesGolden(panel_->grab().toImage(),
                                 QStringLiteral("lyrics/golden/lyrics_panel_1x.png"), &why),
             qPrintable(why));
  }

 private:
  std::unique_ptr<test::TempHome> home_;
  std::unique_ptr<QWidget> owner_;
  LyricsWindow* panel_ = nullptr;
  std::vector<double> seeks_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::LyricsWindowTest)
#include "lyrics_window_test.moc"
