// The toolbar as a user meets it: buttons act on release over themselves,
// the seek bar and the volume slider send what they should, double and right
// clicks off the controls go to the main window, the marks are painted in
// their colours, the preview popup stays on screen, tooltips follow the
// rules. Runs on the offscreen platform unless told otherwise; with the
// argument "golden", compares the painted bar with its golden images.

#include "chrome/toolbar_window.h"
#include "app/commands.h"
#include "app/dpi.h"
#include "chrome/chrome_palette.h"
#include "chrome/thumbnail_popup.h"
#include "chrome/tooltip_window.h"
#include "foundation/language_manager.h"
#include "tests/chrome/chrome_test_support.h"
#include "tests/support/golden_image.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <QApplication>
#include <QMenu>
#include <QTest>

#include <memory>
#include <vector>

namespace zelvaro::chrome {
namespace {

using test::RecordingHost;

ToolbarState KnownState() {
  ToolbarState state;
  state.HasVideo = true;
  state.SubtitlePresent = true;
  state.Duration = 100;
  state.Position = 40;
  state.Progress = 0.4;
  state.VideoText = QStringLiteral("H264");
  state.AudioText = QStringLiteral("AAC");
  state.AudioChannels = 2;
  return state;
}

std::unique_ptr<ToolbarWindow> ShownToolbar(RecordingHost* host, int width,
                                            const ToolbarState& state) {
  auto bar = std::make_unique<ToolbarWindow>(host, nullptr);
  bar->setWindowFlag(Qt::FramelessWindowHint);  // global points without a frame's offset
  bar->resize(width, bar->height());
  bar->Apply(state);
  bar->show();
  if (!QTest::qWaitForWindowExposed(bar.get())) return nullptr;
  return bar;
}

}  // namespace

class ToolbarWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    host_ = std::make_unique<RecordingHost>();
    bar_ = ShownToolbar(host_.get(), 1200, KnownState());
    QVERIFY(bar_);
  }
  void cleanup() { bar_.reset(); }

  void buttonsActOnReleaseOverThemselves_data() {
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("message");
    const int messages[] = {WM_PLAYER_PLAY_PAUSE,
                            WM_PLAYER_STOP,
                            WM_PLAYER_PREV_KEYFRAME,
                            WM_PLAYER_NEXT_KEYFRAME,
                            WM_PLAYER_OPEN_DIALOG,
                            WM_PLAYER_ROTATE_LEFT,
                            WM_PLAYER_ROTATE_RIGHT,
                            WM_PLAYER_FLIP_H,
                            WM_PLAYER_FLIP_V,
                            WM_PLAYER_TOGGLE_PLAYLIST,
                            WM_PLAYER_TOGGLE_CONTROL_PANEL,
                            WM_PLAYER_SUBTITLE_MENU};
    for (int i = 0; i < kToolbarButtonCount; ++i) {
      QTest::addRow("%d", i) << i << messages[i];
    }
  }
  void buttonsActOnReleaseOverThemselves() {
    QFETCH(int, button);
    QFETCH(int, message);
    const ToolbarGeometry& g = bar_->Geometry();
    const QPoint at = g.ButtonRects[button].center();
    QVERIFY(!bar_->SpeedChipRect().contains(at) && !bar_->AudioChipRect().contains(at));

    // Released elsewhere: on the next button, then on the empty row.
    const int other = (button + 1) % kToolbarButtonCount;
    QTest::mousePress(bar_.get(), Qt::LeftButton, {}, at);
    QTest::mouseRelease(bar_.get(), Qt::LeftButton, {}, g.ButtonRects[other].center());
    QTest::mousePress(bar_.get(), Qt::LeftButton, {}, at);
    QTest::mouseRelease(bar_.get(), Qt::LeftButton, {}, QPoint(600, 50));
    QVERIFY(host_->sent.empty());

    QTest::mousePress(bar_.get(), Qt::LeftButton, {}, at);
    QVERIFY(host_->sent.empty());
    QTest::mouseRelease(bar_.get(), Qt::LeftButton, {}, at);
    QCOMPARE(host_->sent.size(), size_t{1});
    QCOMPARE(host_->sent[0].message, message);
    if (button == kButtonSubtitle) {
      const QPoint corner = bar_->mapToGlobal(g.ButtonRects[button].topLeft());
      QCOMPARE(host_->sent[0].wParam, qintptr{corner.x()});
      QCOMPARE(host_->sent[0].lParam, qintptr{corner.y()});
    }
  }

  void volumeClickDragAndMute() {
    const QRect slider = bar_->Geometry().VolumeRect;
    const int y = slider.center().y();
    QTest::mousePress(bar_.get(), Qt::LeftButton, {},
                      QPoint(slider.left() + slider.width() / 4, y));
    QTest::mouseMove(bar_.get(), QPoint(slider.left() + slider.width() * 3 / 4, y));
    QTest::mouseMove(bar_.get(), QPoint(slider.right() + 30, y));
    QTest::mouseRelease(bar_.get(), Qt::LeftButton, {}, QPoint(slider.right() + 30, y));
    QCOMPARE(host_->Params(WM_PLAYER_SET_VOLUME), (std::vector<qintptr>{25, 75, 100, 100}));
    QCOMPARE(bar_->State().Volume, 100);

    const QPoint speaker = bar_->Geometry().SpeakerRect.center();
    QTest::mouseClick(bar_.get(), Qt::LeftButton, {}, speaker);
    QTest::mouseClick(bar_.get(), Qt::LeftButton, {}, speaker);
    QCOMPARE(host_->Params(WM_PLAYER_SET_MUTE), (std::vector<qintptr>{1, 0}));
    QVERIFY(!bar_->State().Muted);
  }

  void seekClickSeeksOnceAndDragsClamp() {
    const ToolbarGeometry& g = bar_->Geometry();
    const int y = g.SeekTop + 3;
    QTest::mousePress(bar_.get(), Qt::LeftButton, {}, QPoint(g.XAt(0.5), y));
    QVERIFY(bar_->SeekDragging());
    QTest::mouseRelease(bar_.get(), Qt::LeftButton, {}, QPoint(g.XAt(0.5), y));
    QCOMPARE(host_->Params(WM_PLAYER_SEEK_FRACTION), (std::vector<qintptr>{5000}));
    QVERIFY(!bar_->SeekDragging());

    host_->sent.clear();
    QTest::mousePress(bar_.get(), Qt::LeftButton, {}, QPoint(g.XAt(0.25), y));
    QTest::mouseMove(bar_.get(), QPoint(g.XAt(0.75), y + 40));  // far below still drags
    QTest::mouseMove(bar_.get(), QPoint(g.SeekRight + 60, y));
    QTest::mouseRelease(bar_.get(), Qt::LeftButton, {}, QPoint(g.SeekRight + 60, y));
    QCOMPARE(host_->Params(WM_PLAYER_SEEK_FRACTION),
             (std::vector<qintptr>{2500, 7500, 10000, 10000}));
    QCOMPARE(bar_->State().Progress, 1.0);

    // The position timer's writes leave a drag alone.
    QTest::mousePress(bar_.get(), Qt::LeftButton, {}, QPoint(g.XAt(0.5), y));
    ToolbarState tick = bar_->State();
    tick.Progress = 0.9;
    bar_->Apply(tick);
    QCOMPARE(bar_->State().Progress, 0.5);
    QTest::mouseRelease(bar_.get(), Qt::LeftButton, {}, QPoint(g.XAt(0.5), y));
  }

  void unseekableOrEmptyBarFallsThrough() {
    const ToolbarGeometry& g = bar_->Geometry();
    const QPoint onBar(g.XAt(0.5), g.SeekTop + 3);
    host_->seekable = 0;
    QTest::mouseClick(bar_.get(), Qt::LeftButton, {}, onBar);
    QCOMPARE(host_->seekableQueries, 1);
    ToolbarState state = bar_->State();
    state.Duration = 0;
    bar_->Apply(state);
    host_->seekable = 1;
    QTest::mouseClick(bar_.get(), Qt::LeftButton, {}, onBar);
    QCOMPARE(host_->seekableQueries, 1);
    QVERIFY(host_->Params(WM_PLAYER_SEEK_FRACTION).empty());
    QVERIFY(!bar_->SeekDragging());
  }

  void doubleRightAndMiddleClicks() {
    const ToolbarGeometry& g = bar_->Geometry();
    const QPoint empty(600, 50);
    QTest::mouseDClick(bar_.get(), Qt::LeftButton, {}, empty);
    QCOMPARE(host_->Params(WM_PLAYER_PLAY_PAUSE).size(), size_t{1});
    // Near the slider, within its 5 px margin: not a play/pause.
    QTest::mouseDClick(bar_.get(), Qt::LeftButton, {},
                       QPoint(g.VolumeRect.center().x(), g.VolumeRect.bottom() + 4));
    QCOMPARE(host_->Params(WM_PLAYER_PLAY_PAUSE).size(), size_t{1});

    QTest::mouseClick(bar_.get(), Qt::RightButton, {}, empty);
    QTest::mouseClick(bar_.get(), Qt::RightButton, {}, g.ButtonRects[kButtonStop].center());
    QCOMPARE(host_->contextMenus, (std::vector<QPoint>{bar_->mapToGlobal(empty)}));
    QTest::mouseClick(bar_.get(), Qt::MiddleButton, {}, empty);
    QCOMPARE(host_->fullscreenToggles, 1);
  }

  void chipsOpenTheirMenus() {
    const QRect audio = bar_->AudioChipRect();
    QVERIFY(!audio.isEmpty());
    QTest::mouseClick(bar_.get(), Qt::LeftButton, {}, audio.center());
    QCOMPARE(host_->sent.size(), size_t{1});
    const QPoint corner = bar_->mapToGlobal(audio.topLeft());
    QCOMPARE(host_->sent[0].message, int{WM_PLAYER_AUDIO_MENU});
    QCOMPARE(host_->sent[0].wParam, qintptr{corner.x()});
    QCOMPARE(host_->sent[0].lParam, qintptr{corner.y()});

    ToolbarState state = bar_->State();
    state.Speed = 1.5;
    bar_->Apply(state);
    QTest::mouseClick(bar_.get(), Qt::LeftButton, {}, bar_->SpeedChipRect().center());
    QTRY_VERIFY(bar_->SpeedMenu() && bar_->SpeedMenu()->isVisible());
    // Its rows come from the speed menu's model; the chip's own part is
    // the check on the current speed and what a choice sends.
    QAction* checked = nullptr;
    for (QAction* action : bar_->SpeedMenu()->actions()) {
      if (action->isChecked()) checked = action;
    }
    QVERIFY(checked);
    QCOMPARE(checked->data().toInt(), ID_SPEED_PRESET_FIRST + 7);
    checked->trigger();
    QCOMPARE(host_->commands, (std::vector<int>{ID_SPEED_PRESET_FIRST + 7}));
    bar_->SpeedMenu()->close();
  }

  void marksRangeAndPlayedPartInTheirColours() {
    const ToolbarGeometry& g = bar_->Geometry();
    const int lineY = g.LineTop;
    const int markY = g.MarkTop + 1;
    bar_->SetABMarks(0.2, 0.6);
    QImage shot = bar_->grab().toImage();
    QCOMPARE(shot.pixelColor(g.XAt(0.2), markY), kSeekMarkA);
    QCOMPARE(shot.pixelColor(g.XAt(0.6), markY), kSeekMarkB);
    QCOMPARE(shot.pixelColor(g.XAt(0.3), markY), kSeekABRange);
    QCOMPARE(shot.pixelColor(g.XAt(0.8), lineY), kSeekTrack);

    // A alone: the played colour starts at A, and not before.
    bar_->SetABMarks(0.3, 1.5);
    shot = bar_->grab().toImage();
    QCOMPARE(shot.pixelColor(g.XAt(0.1), lineY), kSeekTrack);
    QCOMPARE(shot.pixelColor(g.XAt(0.3), markY), kSeekMarkA);
    QCOMPARE(shot.pixelColor(g.XAt(0.35), lineY), kSeekPlayed);
    QCOMPARE(shot.pixelColor(g.XAt(0.6), markY), kToolbarBackground);

    const QPoint thumb = g.SeekThumbRect(0.4).center();
    QCOMPARE(shot.pixelColor(thumb), kSeekThumb);
    ToolbarState live = bar_->State();
    live.IsLive = true;
    bar_->Apply(live);
    QVERIFY(bar_->grab().toImage().pixelColor(thumb) != kSeekThumb);
  }

  void previewStaysInsideTheWorkAreaAndTakesLatePictures() {
    QImage picture(160, 90, QImage::Format_RGB32);
    picture.fill(Qt::red);
    bool decoded = false;
    PreviewFrames frames;
    frames.Ready = [] { return true; };
    frames.GetFrame = [&](double, int* width, int* height) {
      if (!decoded) return QImage();
      *width = picture.width();
      *height = picture.height();
      return picture;
    };
    bar_->SetPreviewFrames(true, frames);
    const ToolbarGeometry& g = bar_->Geometry();
    const QRect work = WorkAreaAt(bar_->mapToGlobal(QPoint(0, 0)));
    const int y = g.SeekTop + 2;

    // The left end, with the bar against the screen's left edge.
    bar_->move(work.left(), work.top() + 300);
    QTRY_COMPARE(bar_->mapToGlobal(QPoint(0, 0)), QPoint(work.left(), work.top() + 300));
    QTest::mouseMove(bar_.get(), QPoint(g.SeekLeft, y));
    QTRY_VERIFY(bar_->Popup() && bar_->Popup()->isVisible());
    ThumbnailPopup* popup = bar_->Popup();
    QVERIFY(popup->Picture().isNull());  // nothing decoded yet: the time alone
    QCOMPARE(popup->geometry().left(), work.left());
    QVERIFY(popup->geometry().bottom() < bar_->mapToGlobal(QPoint(0, g.SeekTop)).y());

    decoded = true;
    bar_->OnPreviewFrameReady();
    QVERIFY(!popup->Picture().isNull());
    const QImage shot = popup->grab().toImage();
    QCOMPARE(shot.pixelColor(0, 0), kPopupFrame);
    QCOMPARE(shot.pixelColor(shot.width() / 2, 2 + 45), QColor(Qt::red));

    // The right end, with the bar's seek end near the screen's right edge.
    decoded = false;
    const QPoint rightEnd(work.right() + 1 - g.SeekRight - 5, work.top() + 300);
    bar_->move(rightEnd);
    QTRY_COMPARE(bar_->mapToGlobal(QPoint(0, 0)), rightEnd);
    QTest::mouseMove(bar_.get(), QPoint(g.SeekRight, y));
    QTRY_COMPARE(popup->geometry().right(), work.right());
    QVERIFY(!popup->Picture().isNull());  // a miss keeps the last picture

    QTest::mouseMove(bar_.get(), QPoint(600, 50));
    QTRY_VERIFY(!popup->isVisible());
  }

  void tooltipOnHoverNeverInFullscreen() {
    // Pointer moves may arrive later than the call on a real display.
    const QPoint stop = bar_->Geometry().ButtonRects[kButtonStop].center();
    QTest::mouseMove(bar_.get(), stop);
    QTRY_VERIFY(bar_->Tooltip()->IsShown());
    QCOMPARE(bar_->Tooltip()->Text(), LanguageManager::GetString(u"Toolbar.Stop"));
    QTest::mouseMove(bar_.get(), QPoint(600, 50));
    QTRY_VERIFY(!bar_->Tooltip()->IsShown());

    ToolbarState state = bar_->State();
    state.Fullscreen = true;
    bar_->Apply(state);
    QTest::mouseMove(bar_.get(), stop);
    QTRY_COMPARE(bar_->HoverButton(), int{kButtonStop});
    QVERIFY(!bar_->Tooltip()->IsShown());
  }

 private:
  std::unique_ptr<RecordingHost> host_;
  std::unique_ptr<ToolbarWindow> bar_;
};

class ToolbarGoldenTest : public QObject {
  Q_OBJECT

 private slots:
  void paintedBar_data() {
    QTest::addColumn<float>("scale");
    QTest::addColumn<QString>("golden");
    QTest::newRow("1x") << 1.0f << QStringLiteral("chrome/golden/toolbar_1x.png");
    QTest::newRow("2x") << 2.0f << QStringLiteral("chrome/golden/toolbar_2x.png");
  }
  void paintedBar() {
    QFETCH(float, scale);
    QFETCH(QString, golden);
    DpiScale = scale;
    RecordingHost host;
    ToolbarState state = KnownState();
    state.IsPlaying = true;
    state.Muted = true;
    state.Volume = 70;
    state.HardwareDecoding = true;
    state.Speed = 1.25;
    state.MarkA = 0.2;
    state.MarkB = 0.7;
    state.Position = 3725;
    state.Duration = 7200;
    state.Progress = 3725.0 / 7200;
    auto bar = std::make_unique<ToolbarWindow>(&host, nullptr);
    bar->resize(static_cast<int>(1200 * scale), bar->height());
    bar->Apply(state);
    const QImage shot = bar->grab().toImage();
    DpiScale = 1.0f;
    QString why;
    QVERIFY2(test::MatchesGolden(shot, golden, &why), qPrintable(why));
  }
};

}  // namespace zelvaro::chrome

int main(int argc, char** argv) {
  // Painting and pointer rules need no real display; golden images stay the
  // same wherever they run.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  zelvaro::test::TempHome home;
  zelvaro::test::LoadEnglish();
  QStringList args = app.arguments();
  if (args.size() > 1 && args[1] == QLatin1String("golden")) {
    args.removeAt(1);
    zelvaro::chrome::ToolbarGoldenTest golden;
    return QTest::qExec(&golden, args);
  }
  zelvaro::chrome::ToolbarWindowTest behaviour;
  return QTest::qExec(&behaviour, args);
}

#include "toolbar_window_test.moc"
