// The control panel on the real player playing real clips under Xvfb: each
// control driven as the user drives it, its effect checked where the user
// meets it (the engine, the heard rate, the picture, the settings after a
// restart), and a golden image of each tab.

#include "app/commands.h"
#include "app/dpi.h"
#include "app/messages.h"
#include "chrome/toolbar_window.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "panels/control_panel_controls.h"
#include "panels/control_panel_window.h"
#include "subtitles/subtitle_manager.h"
#include "tests/app/shell_test_support.h"
#include "tests/app/x_pointer.h"
#include "tests/engine/audio_capture.h"
#include "tests/support/golden_image.h"
#include "video/video_renderer.h"

#include <QLabel>
#include <QLineEdit>

#include <cmath>

namespace zelvaro {

namespace {

using panels::ControlPanelWindow;
constexpr int kWaitMs = 15000;
constexpr int64_t k100nsPerSecond = 10'000'000;

uint32_t Stored(QStringView name) {
  return Settings::GetDwordOr(name, 0xFFFFFFFFu);
}

// The box and the count of pixels of a subtitle picture whose colour passes `test`.
struct Ink {
  QRect box;
  int pixels = 0;
};
template <typename Test>
Ink InkOf(const QImage& image, Test test) {
  Ink ink;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (!test(image.pixelColor(x, y))) continue;
      ink.box = ink.box.united(QRect(x, y, 1, 1));
      ++ink.pixels;
    }
  }
  return ink;
}

// The mean grey of the picture on screen; -1 without one.
double MeanGrey(const QImage& shown) {
  if (shown.isNull()) return -1;
  const QImage image = shown.convertToFormat(QImage::Format_Grayscale8);
  double sum = 0;
  for (int y = 0; y < image.height(); ++y) {
    const uchar* line = image.constScanLine(y);
    for (int x = 0; x < image.width(); ++x) sum += line[x];
  }
  return sum / (static_cast<double>(image.width()) * image.height());
}

bool IsWhite(const QColor& c) {
  return c.alpha() > 200 && c.red() > 200 && c.green() > 200 && c.blue() > 200;
}
bool IsYellow(const QColor& c) {
  return c.alpha() > 200 && c.red() > 200 && c.green() > 200 && c.blue() < 60;
}

}  // namespace

class ControlPanelTest : public QObject {
  Q_OBJECT

 private slots:
  // Real texts, in the panel and its golden images.
  void initTestCase() {
    QVERIFY(LanguageManager::Instance().Initialize(test::SourceDir(), QLocale::English));
  }

  void init() {
    QVERIFY(p_.Start());
    Bind();
  }
  void cleanup() { p_.Stop(); }

  void speedButtonsSetTheEngineAndTheHeardRate() {
    test::AudioCapture capture(true);
    graph_->SetAudioRendererFactory(capture.Factory());
    QVERIFY(window_->OpenFile(test::PatternClip()));
    graph_->Pause();
    panel_->Show(true);
    for (int i = 0; i < 10; ++i) Click(9061);
    QCOMPARE(graph_->Speed(), 2.0);
    QCOMPARE(Text(9063), QStringLiteral("2.0x"));
    QVERIFY(graph_->Play());
    QVERIFY(QTest::qWaitFor([&] { return capture.EndOfStream(); }, kWaitMs));
    // Stream time moves twice as fast as the sound that comes out.
    const int64_t from = capture.FrameAtStreamTime(1.0);
    const int64_t to = capture.FrameAtStreamTime(3.0);
    QVERIFY(to > from);
    const double streamSeconds = capture.StreamTimeAt(to) - capture.StreamTimeAt(from);
    const double soundSeconds = static_cast<double>(to - from) / capture.SampleRate();
    QVERIFY2(std::fabs(streamSeconds / soundSeconds - 2.0) < 0.05,
             qPrintable(QString::number(streamSeconds / soundSeconds)));

    Click(9060);
    Click(9060);
    QCOMPARE(graph_->Speed(), 1.8);
    Click(9062);
    QCOMPARE(graph_->Speed(), 1.0);
    QCOMPARE(Text(9063), QStringLiteral("1.0x"));
  }

  void audioControlsReachTheEngineAndOutliveARestart() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    panel_->Show(true);
    panel_->SelectTab(2);
    // A drag is heard as it goes and written once, when it lets go.
    QWidget* volume = panel_->Control(9010);
    const uint32_t storedVolume = Stored(setting::kVolume);
    QTest::mousePress(volume, Qt::LeftButton, {}, QPoint(1, volume->height() / 2));
    QCOMPARE(Value(9010), 0);
    QCOMPARE(graph_->Volume(), 0.0f);
    QCOMPARE(Stored(setting::kVolume), storedVolume);
    QTest::mouseRelease(volume, Qt::LeftButton, {}, QPoint(1, volume->height() / 2));
    QCOMPARE(Stored(setting::kVolume), 0u);
    Slide(9010, 57);
    Click(9070);  // normalise on
    Slide(9072, 300);
    Slide(9074, 100);
    QCOMPARE(Text(9011), QStringLiteral("57%"));
    QCOMPARE(Text(9073), QStringLiteral("3.0x"));
    QCOMPARE(Text(9075), QStringLiteral("2.0x"));
    QCOMPARE(graph_->Volume(), 0.57f);
    QVERIFY(graph_->NormalizeEnabled());
    QCOMPARE(graph_->MaxNormFactor(), 3.0f);
    QCOMPARE(graph_->BoostFactor(), 2.0f);
    Slide(9074, 0);
    QCOMPARE(Text(9075), LanguageManager::GetString(u"ControlPanel.AudioBoostNone"));
    Slide(9074, 150);
    // Unchecking waits the two dependent controls out, values kept.
    Click(9070);
    QVERIFY(!graph_->NormalizeEnabled());
    QVERIFY(!panel_->Control(9071)->isEnabled());
    QVERIFY(!panel_->Control(9072)->isEnabled());
    QCOMPARE(Value(9072), 300);

    Restart();
    QVERIFY(window_->OpenFile(test::PatternClip()));
    QCOMPARE(graph_->Volume(), 0.57f);
    QVERIFY(!graph_->NormalizeEnabled());
    QCOMPARE(graph_->MaxNormFactor(), 3.0f);
    QCOMPARE(graph_->BoostFactor(), 2.5f);
    panel_->Show(true);
    QCOMPARE(Value(9010), 57);
    QCOMPARE(Value(9072), 300);
    QCOMPARE(Value(9074), 150);
    QCOMPARE(Text(9075), QStringLiteral("2.5x"));
    QVERIFY(!qobject_cast<QCheckBox*>(panel_->Control(9070))->isChecked());
  }

  // The A-B buttons mark the seek bar and the edits; changes made elsewhere
  // (a key, the menu, the toolbar) show in the open panel; keys typed into
  // an edit stay there.
  void abButtonsAndChangesFromOutside() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    graph_->Pause();
    panel_->Show(true);
    const double duration = graph_->GetDuration();
    QVERIFY(duration > 4.0);
    QVERIFY(graph_->Seek(1.0, false, 0));
    Click(9065);
    QVERIFY(graph_->Seek(3.0, false, 0));
    Click(9067);
    const chrome::ToolbarState& seekBar = window_->toolbar()->State();
    QVERIFY(std::fabs(seekBar.MarkA - 1.0 / duration) < 0.02);
    QVERIFY(std::fabs(seekBar.MarkB - 3.0 / duration) < 0.02);
    QCOMPARE(Text(9064), QStringLiteral("00:00:01"));
    QCOMPARE(Text(9066), QStringLiteral("00:00:03"));
    Click(9068);
    QCOMPARE(seekBar.MarkA, 0.0);
    QCOMPARE(seekBar.MarkB, 0.0);
    QCOMPARE(Text(9064), QStringLiteral("--:--:--"));
    QCOMPARE(Text(9066), QStringLiteral("--:--:--"));

    QVERIFY(test::ActivatePlayer(window_));
    QTest::keyClick(window_, Qt::Key_C);  // a key: speed up
    QCOMPARE(Text(9063), QStringLiteral("1.1x"));
    QVERIFY(graph_->Seek(2.0, false, 0));
    window_->OnCommand(ID_AB_SET_A);  // the menu
    QCOMPARE(Text(9064), QStringLiteral("00:00:02"));
    // The toolbar's volume reaches the panel within a position tick.
    window_->OnPlayerMessage(WM_PLAYER_SET_VOLUME, 23);
    QTRY_COMPARE_WITH_TIMEOUT(Value(9010), 23, 1000);
    QCOMPARE(Text(9011), QStringLiteral("23%"));

    QApplication::setActiveWindow(panel_);
    QVERIFY(QTest::qWaitFor([&] { return QApplication::activeWindow() == panel_; }, 5000));
    QWidget* edit = panel_->Control(9064);
    edit->setFocus();
    QTest::keyClick(edit, Qt::Key_C);
    QCOMPARE(graph_->Speed(), 1.1);
    // The same key elsewhere in the panel is the player's; arrows stay the slider's.
    panel_->SelectTab(2);
    QWidget* slider = panel_->Control(9010);
    slider->setFocus();
    QTest::keyClick(slider, Qt::Key_C);
    QCOMPARE(graph_->Speed(), 1.2);
    QTest::keyClick(slider, Qt::Key_Left);
    QCOMPARE(Value(9010), 22);
  }

  void togglesTabsCloseFullscreenAndRestart() {
    Display* display = test::XTestDisplay();
    if (display == nullptr) QSKIP("needs X11 with XTEST");
    window_->OnCommand(ID_CONTROL_PANEL);
    QVERIFY(QTest::qWaitForWindowExposed(panel_));
    QCOMPARE(Stored(setting::kControlPanelVisible), 1u);
    panel_->move(40, 40);
    QTRY_COMPARE_WITH_TIMEOUT(panel_->pos(), QPoint(40, 40), 2000);

    // A tab takes the press where the server routes it: to the tool window.
    test::XClick(display, panel_->mapToGlobal(panel_->Layout().tabs[3].center()));
    QTRY_COMPARE_WITH_TIMEOUT(panel_->CurrentTab(), 3, 2000);
    QCOMPARE(Stored(setting::kControlPanelTab), 3u);
    QVERIFY(panel_->Control(9040)->isVisible());
    QVERIFY(!panel_->Control(9061)->isVisible());
    test::XClick(display, panel_->mapToGlobal(panel_->Layout().closeButton.center()));
    QTRY_VERIFY_WITH_TIMEOUT(!panel_->isVisible(), 2000);
    QCOMPARE(Stored(setting::kControlPanelX), 40u);
    QCOMPARE(Stored(setting::kControlPanelY), 40u);

    struct Toggle {
      const char* how;
      std::function<void()> act;
    };
    const Toggle toggles[] = {
        {"toolbar", [&] { window_->OnPlayerMessage(WM_PLAYER_TOGGLE_CONTROL_PANEL); }},
        {"key command", [&] { window_->OnCommand(ID_KEY_CONTROL_PANEL); }},
        {"F10", [&] { QTest::keyClick(window_, Qt::Key_F10); }},
        {"menu", [&] { window_->OnCommand(ID_CONTROL_PANEL); }},
    };
    for (const Toggle& toggle : toggles) {
      const bool was = panel_->isVisible();
      toggle.act();
      QVERIFY2(panel_->isVisible() != was, toggle.how);
      QCOMPARE(Stored(setting::kControlPanelVisible), was ? 0u : 1u);
    }
    QVERIFY(!panel_->isVisible());
    window_->OnPlayerMessage(WM_PLAYER_TOGGLE_CONTROL_PANEL);
    QCOMPARE(panel_->CurrentTab(), 3);  // the stored tab

    // Fullscreen puts it away and brings it back.
    window_->ToggleFullscreen();
    QVERIFY(!panel_->isVisible());
    QCOMPARE(Stored(setting::kControlPanelVisible), 0u);
    window_->ToggleFullscreen();
    QVERIFY(panel_->isVisible());

    // Escape in the panel hides it; a stored tab of 7 opens the first.
    QTest::keyClick(panel_, Qt::Key_Escape);
    QVERIFY(!panel_->isVisible());
    Settings::SetDword(setting::kControlPanelTab, 7);
    panel_->Show(true);
    QCOMPARE(panel_->CurrentTab(), 0);
    // Shown at the close, it comes back at its place with the next start.
    Restart();
    QVERIFY(QTest::qWaitForWindowExposed(panel_));
    QCOMPARE(panel_->pos(), QPoint(40, 40));
  }

  void subtitleStyleShowsInTheRenderedSubtitle() {
    const QString clip = p_.home->Root() + QStringLiteral("/styled.mp4");
    QVERIFY(QFile::copy(test::PatternClip(), clip));
    p_.home->WriteFile(QStringLiteral("styled.srt"),
                       "1\r\n00:00:00,000 --> 00:00:05,000\r\nHELLO\r\n");
    Settings::SetString(setting::kSubFontName, QStringLiteral("sans-serif"));
    QVERIFY(window_->OpenFile(clip));
    graph_->Pause();
    SubtitleManager* subtitles = graph_->Subtitles();
    QVERIFY(subtitles);
    QVERIFY(QTest::qWaitFor([&] { return subtitles->HasSubtitle() && !subtitles->IsLoading(); },
                            kWaitMs));
    const auto inkNow = [&](auto test) {
      const auto picture = subtitles->GetSubPic(2 * k100nsPerSecond);
      return picture ? InkOf(picture->Image(), test) : Ink{};
    };
    const Ink before = inkNow(IsWhite);
    QVERIFY(before.pixels > 0);

    // A yellow primary colour (the options write it) and a larger face
    // from the font dialog reach the picture without reopening the file.
    Settings::SetDword(setting::kSubPrimaryColor, 0x00FFFF00);
    panel_->Show(true);
    panel_->SelectTab(3);
    panel_->ApplySubtitleFont(QStringLiteral("sans-serif"), 48, true, false);
    QCOMPARE(Text(9041), QStringLiteral("sans-serif, 48pt"));
    QTRY_VERIFY_WITH_TIMEOUT(inkNow(IsYellow).pixels > 0, kWaitMs);
    const Ink larger = inkNow(IsYellow);
    QCOMPARE(inkNow(IsWhite).pixels, 0);
    QVERIFY2(
        larger.box.height() > before.box.height() * 3 / 2,
        qPrintable(QStringLiteral("%1 -> %2").arg(before.box.height()).arg(larger.box.height())));

    // ▲ lifts it.
    Click(9043);
    QCOMPARE(Stored(setting::kSubMarginBottom), 30u);
    QTRY_VERIFY_WITH_TIMEOUT(inkNow(IsYellow).box.bottom() < larger.box.bottom(), kWaitMs);

    // The delay buttons move the provider's delay and show it.
    Click(9048);
    QCOMPARE(graph_->GetSubtitleDelay(), 500);
    QCOMPARE(Text(9050), QStringLiteral("0.5s"));
    Click(9047);
    Click(9047);
    QCOMPARE(Text(9050), QStringLiteral("-0.5s"));
    Click(9049);
    QCOMPARE(graph_->GetSubtitleDelay(), 0);
  }

  void pictureSlidersStoreTheirValueAndResetToTheMiddle() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    graph_->Pause();
    panel_->Show(true);
    panel_->SelectTab(1);
    // Brightness: the paused picture on screen darkens, then comes back.
    const auto grey = [&] { return MeanGrey(window_->videoWindow()->DisplayedImage()); };
    QTRY_VERIFY_WITH_TIMEOUT(grey() >= 0, kWaitMs);
    const double plain = grey();
    Slide(9020, 50);
    QCOMPARE(graph_->Brightness(), -50);
    QCOMPARE(Text(9021), QStringLiteral("-50"));
    QTRY_VERIFY_WITH_TIMEOUT(grey() < plain - 30, kWaitMs);
    Click(9022);
    QCOMPARE(graph_->Brightness(), 0);
    QTRY_VERIFY_WITH_TIMEOUT(std::fabs(grey() - plain) < 2, kWaitMs);

    struct Row {
      int slider, label, reset, position;
      const char* shown;
    };
    const Row rows[] = {{9020, 9021, 9022, 150, "50"},
                        {9023, 9024, 9025, 20, "-80"},
                        {9026, 9027, 9028, 200, "100"},
                        {9029, 9030, 9031, 0, "-100"}};
    for (const Row& row : rows) {
      Slide(row.slider, row.position);
      QCOMPARE(Text(row.label), QString::fromLatin1(row.shown));
      panel_->Refresh();  // reads back what the engine keeps
      QCOMPARE(Value(row.slider), row.position);
      Click(row.reset);
      QCOMPARE(Value(row.slider), 100);
      QCOMPARE(Text(row.label), QStringLiteral("0"));
      panel_->Refresh();
      QCOMPARE(Value(row.slider), 100);
    }
  }

  void goldenTabs() {
    panel_->move(0, 0);
    panel_->Show(true);
    QVERIFY(QTest::qWaitForWindowExposed(panel_));
    for (int tab = 0; tab < panels::kControlPanelTabCount; ++tab) {
      panel_->SelectTab(tab);
      QString why;
      QVERIFY2(test::MatchesGolden(
                   panel_->grab().toImage(),
                   QStringLiteral("panels/golden/control_panel_tab%1_1x.png").arg(tab), &why),
               qPrintable(why));
    }
    // At twice the scale every length doubles; one tab says so. The scale
    // is the process's, fixed for a run: it stays for the paint.
    DpiScale = 2.0f;
    QImage doubledImage;
    {
      ControlPanelWindow doubled(nullptr);
      if (doubled.Create(nullptr) && doubled.size() == QSize(680, 560)) {
        doubled.SelectTab(2);
        doubledImage = doubled.grab().toImage();
      }
    }
    DpiScale = 1.0f;
    QVERIFY(!doubledImage.isNull());
    QString why;
    QVERIFY2(test::MatchesGolden(doubledImage,
                                 QStringLiteral("panels/golden/control_panel_tab2_2x.png"), &why),
             qPrintable(why));
  }

 private:
  void Bind() {
    window_ = p_.window;
    graph_ = p_.graph;
    panel_ = window_->controlPanel();
    QVERIFY(panel_);
  }
  // A new start in the same home: what was stored comes back.
  void Restart() {
    test::StopPlayer();
    p_.window = test::StartPlayer();
    QVERIFY(p_.window);
    p_.graph = p_.window->graph();
    Bind();
  }

  void Click(int id) {
    QWidget* control = panel_->Control(id);
    QVERIFY(control);
    QTest::mouseClick(control, Qt::LeftButton, {}, control->rect().center());
  }

  // Moves a slider as a drag would: the value changes and the change acts.
  void Slide(int id, int position) {
    auto* slider = qobject_cast<QAbstractSlider*>(panel_->Control(id));
    QVERIFY(slider);
    slider->setValue(position);
  }

  int Value(int id) const {
    auto* slider = qobject_cast<QAbstractSlider*>(panel_->Control(id));
    return slider ? slider->value() : -1;
  }

  QString Text(int id) const {
    QWidget* control = panel_->Control(id);
    if (auto* label = qobject_cast<QLabel*>(control)) return label->text();
    if (auto* edit = qobject_cast<QLineEdit*>(control)) return edit->text();
    return QString();
  }

  test::PlayerFixture p_;
  MainWindow* window_ = nullptr;
  GraphManager* graph_ = nullptr;
  ControlPanelWindow* panel_ = nullptr;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::ControlPanelTest)
#include "control_panel_test.moc"
