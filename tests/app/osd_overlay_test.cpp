// The OSD line: replacement, the fade's timing, focus, mouse transparency and
// its place over the video area.

#include "app/osd_overlay.h"

#include <QLineEdit>
#include <QTest>
#include <QVBoxLayout>

namespace zelvaro {

class OsdOverlayTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    window_ = std::make_unique<QWidget>();
    auto* layout = new QVBoxLayout(window_.get());
    edit_ = new QLineEdit(window_.get());
    video_ = new QWidget(window_.get());
    video_->setAutoFillBackground(true);
    QPalette palette = video_->palette();
    palette.setColor(QPalette::Window, QColor(20, 40, 160));
    video_->setPalette(palette);
    video_->setMinimumSize(480, 270);
    layout->addWidget(edit_);
    layout->addWidget(video_);
    overlay_ = new OsdOverlay(video_);
    overlay_->SetClockForTesting([this] { return nowMs_; });
    nowMs_ = 1000;
    window_->show();
    QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
  }

  void cleanup() { window_.reset(); }

  void laterMessageReplacesAndKeepsItsOwnTiming() {
    ShowOsd(QStringLiteral("first"), 1000);
    nowMs_ += 100;
    ShowOsd(QStringLiteral("second"), 1000);
    QCOMPARE(overlay_->text(), QStringLiteral("second"));
    QCOMPARE(overlay_->opacity(), 1.0f);
    nowMs_ += 1000 + 150;  // the second's own hold, then half its fade
    overlay_->OsdTick();
    QVERIFY(std::fabs(overlay_->opacity() - 0.5f) < 0.02f);
    nowMs_ += 150;
    overlay_->OsdTick();
    QVERIFY(!overlay_->isShowing());
    QVERIFY(overlay_->isHidden());
  }

  void neverTakesFocusOrMouse() {
    QApplication::setActiveWindow(window_.get());
    edit_->setFocus();
    QTRY_VERIFY(edit_->hasFocus());
    ShowOsd(QStringLiteral("Paused"), 2000);
    QTest::keyClicks(edit_, QStringLiteral("abc"));
    QCOMPARE(edit_->text(), QStringLiteral("abc"));
    QVERIFY(edit_->hasFocus());
    QVERIFY(overlay_->testAttribute(Qt::WA_TransparentForMouseEvents));
    QCOMPARE(window_->childAt(video_->mapTo(window_.get(), QPoint(30, 30))), video_);
  }

  // Its pixels on a real picture are read back in main_window_workers_test.
  void followsTheVideosSize() {
    ShowOsd(QStringLiteral("HHHHHHHH"), 2000);
    window_->resize(window_->width() + 200, window_->height() + 100);
    QTRY_COMPARE(overlay_->geometry(), video_->rect());
  }

 private:
  std::unique_ptr<QWidget> window_;
  QLineEdit* edit_ = nullptr;
  QWidget* video_ = nullptr;
  OsdOverlay* overlay_ = nullptr;
  qint64 nowMs_ = 0;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::OsdOverlayTest)
#include "osd_overlay_test.moc"
