// Commands, keys and the wheel on the real window playing a real clip: the
// speed rules, volume, fine and snapped seeking, A-B repeat, rotation and
// favourites, each with the feedback the user sees.

#include "app/commands.h"
#include "app/favorite_menu_ids.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/favorites_database.h"
#include "library/playlist_model.h"
#include "tests/app/shell_test_support.h"

#include <QWheelEvent>

#include <cmath>

namespace zelvaro {

namespace {

constexpr double k100nsPerSecond = 10'000'000.0;

bool Near(double actual, double expected, double tolerance) {
  return std::fabs(actual - expected) <= tolerance;
}

void Wheel(QWidget* window, int delta, bool sideways = false) {
  const QPointF at(window->width() / 2.0, window->height() / 2.0);
  const QPoint angle = sideways ? QPoint(delta, 0) : QPoint(0, delta);
  QWheelEvent event(at, window->mapToGlobal(at), QPoint(), angle, Qt::NoButton, Qt::NoModifier,
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

class MainWindowCommandsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { QVERIFY(player_.Start()); }
  void cleanup() { player_.Stop(); }

  void speedKeysRoundToTenthsAndTheMenuStepsExactly() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    QVERIFY(test::ActivatePlayer(window_));
    // Nothing to return to: the toggle shows 1.00x and changes nothing.
    window_->OnCommand(ID_KEY_SPEED_TOGGLE);
    QCOMPARE(graph_->Speed(), 1.0);
    QCOMPARE(test::OsdText(), QStringLiteral("1.00x"));
    // The desktop's media keys reach the player as its own.
    PressKey(window_, Qt::Key_MediaPlay);
    QCOMPARE(graph_->State(), 1);
    PressKey(window_, Qt::Key_MediaPause);
    QCOMPARE(graph_->State(), 2);

    // Each step from a set speed (or from the last step's, at 0): the keys
    // round to tenths, the menu steps exactly, the toggle goes to 1.0
    // remembering the speed and back, the top stays the top and says so.
    const struct {
      double from;
      int command;
      double speed;
      const char* osd;
    } steps[] = {
        {1.37, ID_KEY_SPEED_DOWN, 1.3, "1.3x"},    {1.37, ID_SPEED_DOWN, 1.27, nullptr},
        {0, ID_KEY_SPEED_TOGGLE, 1.0, "1.00x"},    {0, ID_KEY_SPEED_TOGGLE, 1.27, "1.27x"},
        {4.0, ID_KEY_SPEED_UP, 4.0, "4.0x"},       {0, ID_SPEED_PRESET_FIRST + 1, 0.5, "0.50x"},
        {0, ID_SPEED_FPS_FIRST + 4, 1.2, "1.20x"},  // 25 fps played as 30
    };
    for (const auto& step : steps) {
      if (step.from > 0) QVERIFY(graph_->SetSpeed(step.from));
      window_->OnCommand(step.command);
      QVERIFY2(Near(graph_->Speed(), step.speed, 1e-9), qPrintable(QString::number(step.command)));
      if (step.osd != nullptr) QCOMPARE(test::OsdText(), QString::fromUtf8(step.osd));
    }
  }

  void volumeKeysTheWheelAndTheStoredVolume() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    graph_->SetVolume(0.5f);
    QTest::keyClick(window_, Qt::Key_Up);
    QCOMPARE(graph_->Volume(), 0.51f);
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.VolumeFormat")
                                  .replace(QStringLiteral("%d%%"), QStringLiteral("51%")));
    QTest::keyClick(window_, Qt::Key_Down);
    QTest::keyClick(window_, Qt::Key_Down);
    QVERIFY(Near(graph_->Volume(), 0.49, 1e-6));
    // The window does not take Alt+Up as its own.
    QTest::keyClick(window_, Qt::Key_Up, Qt::AltModifier);
    QVERIFY(Near(graph_->Volume(), 0.49, 1e-6));

    Wheel(window_, 120, true);  // sideways is no volume step
    Wheel(window_, 120);
    QVERIFY(Near(graph_->Volume(), 0.54, 1e-6));
    // A notch is a step: a fast spin of six takes six, an empty delta none.
    Wheel(window_, 0);
    Wheel(window_, -720);
    QVERIFY(Near(graph_->Volume(), 0.24, 1e-6));
    QTRY_COMPARE(Settings::GetDwordOr(setting::kVolume, 0), 24u);

    graph_->SetVolume(0.98f);
    Wheel(window_, 120);
    QCOMPARE(graph_->Volume(), 1.0f);

    window_->OnCommand(ID_KEY_MUTE);
    QVERIFY(graph_->Muted());
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.Mute"));
    window_->OnCommand(ID_KEY_MUTE);
    QVERIFY(!graph_->Muted());
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.MuteOff"));

    // What is stored reaches the engine at the next start.
    Settings::SetDword(setting::kVolume, 23);
    Settings::SetDword(setting::kMuted, 1);
    test::StopPlayer();
    window_ = test::StartPlayer();
    QVERIFY(window_);
    QVERIFY(Near(window_->graph()->Volume(), 0.23, 1e-6));
    QVERIFY(window_->graph()->Muted());
  }

  void ctrlArrowStepsATenthWithoutSnappingOtherArrowsSnap() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    window_->OnCommand(ID_KEY_PLAY_PAUSE);
    QCOMPARE(graph_->State(), 1);
    QVERIFY(graph_->Seek(2.5, false, 0));
    QTRY_VERIFY(Near(graph_->GetPosition(), 2.5, 0.02));

    QTest::keyClick(window_, Qt::Key_Left, Qt::ControlModifier);
    QTRY_VERIFY(Near(graph_->GetPosition(), 2.4, 0.02));
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.PrevFrame"));
    // Ctrl wins over Shift: still a tenth.
    QTest::keyClick(window_, Qt::Key_Right, Qt::ControlModifier | Qt::ShiftModifier);
    QTRY_VERIFY(Near(graph_->GetPosition(), 2.5, 0.02));

    // Alt+Right is half a second, snapped onto the next keyframe (one a second)
    // once the table, scanned in the background, is there.
    QTRY_VERIFY(!graph_->Keyframes().empty());
    QTest::keyClick(window_, Qt::Key_Right, Qt::AltModifier);
    QTRY_VERIFY(Near(graph_->GetPosition(), 3.0, 0.1));
    const double onKeyframe = graph_->GetPosition();
    QCOMPARE(test::OsdText(), QStringLiteral("00:03"));

    // With keyframe seeking off, the same step is exact.
    Settings::SetDword(setting::kKeyframeSeek, 0);
    QTest::keyClick(window_, Qt::Key_Left, Qt::AltModifier);
    QTRY_VERIFY(Near(graph_->GetPosition(), onKeyframe - 0.5, 0.02));
  }

  // A loop jumps back from B to A within a tick; with A alone, the end of
  // the file jumps back to A.
  void abRepeatJumpsBackToA() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    window_->OnCommand(ID_KEY_PLAY_PAUSE);
    QVERIFY(graph_->Seek(1.0, false, 0));
    QTRY_VERIFY(Near(graph_->GetPosition(), 1.0, 0.02));
    window_->OnCommand(ID_AB_SET_A);
    QVERIFY(graph_->Seek(2.5, false, 0));
    QTRY_VERIFY(Near(graph_->GetPosition(), 2.5, 0.02));
    window_->OnCommand(ID_KEY_AB_SET_B);
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.ABRepeatBSet"));
    const double markA = graph_->MarkA() / k100nsPerSecond;
    const double markB = graph_->MarkB() / k100nsPerSecond;
    QVERIFY(Near(markA, 1.0, 0.02) && Near(markB, 2.5, 0.02));

    QVERIFY(graph_->Seek(2.0, false, 0));
    window_->OnCommand(ID_KEY_PLAY_PAUSE);
    double highest = 0;
    bool jumped = false;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
          const double position = graph_->GetPosition();
          if (position >= 2.0 && !jumped) highest = std::max(highest, position);
          if (highest > 2.2 && position < 2.0) jumped = true;
          return jumped;
        }(),
        5000);
    // Polled every 100 ms and closed 0.05 s early; the margin is for a busy machine.
    QVERIFY2(highest < markB + 0.25, qPrintable(QString::number(highest)));
    QVERIFY2(graph_->GetPosition() >= markA - 0.02,
             qPrintable(QString::number(graph_->GetPosition())));

    window_->OnCommand(ID_KEY_AB_CLEAR);
    QCOMPARE(graph_->MarkA(), 0);
    QCOMPARE(graph_->MarkB(), 0);
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.ABRepeatClear"));

    window_->OnCommand(ID_KEY_PLAY_PAUSE);
    QVERIFY(graph_->Seek(2.0, false, 0));
    QTRY_VERIFY(Near(graph_->GetPosition(), 2.0, 0.02));
    window_->OnCommand(ID_KEY_AB_SET_A);
    QVERIFY(graph_->MarkA() >= 1);
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.ABRepeatASet"));
    window_->OnCommand(ID_KEY_PLAY_PAUSE);
    QVERIFY(graph_->Seek(4.6, false, 0));
    QTRY_COMPARE_WITH_TIMEOUT(test::OsdText(), QStringLiteral("A → 끝 반복"), 10000);
    QCOMPARE(graph_->State(), 2);
    QVERIFY2(Near(graph_->GetPosition(), 2.0, 0.5),
             qPrintable(QString::number(graph_->GetPosition())));
    QCOMPARE(graph_->CurrentPath(), test::PatternClip());
  }

  void rotationAndFlipsSayWhatTheyDid() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    QVERIFY(test::ActivatePlayer(window_));
    QTest::keyClick(window_, Qt::Key_Q);
    QCOMPARE(graph_->Rotation(), 270);
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.RotateFormat")
                                  .replace(QStringLiteral("%d"), QStringLiteral("270")));
    window_->OnCommand(ID_ROTATE_STEP_RIGHT);
    QCOMPARE(graph_->Rotation(), 0);
    QTest::keyClick(window_, Qt::Key_H);
    QVERIFY(graph_->FlipHorizontal());
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.FlipH"));
    window_->OnCommand(ID_ROTATE_90);
    QCOMPARE(graph_->Rotation(), 90);
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.Rotate90"));
    window_->OnCommand(ID_ROTATE_RESET);
    QCOMPARE(graph_->Rotation(), 0);
    QVERIFY(!graph_->FlipHorizontal());
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.Rotate0"));
  }

  // The only test of this program that touches the favourites store, which
  // is a process-wide instance bound to the first home that uses it.
  void favouritesAddPlayRunAndClearInTheirOwnIdentifiers() {
    const QStringList show =
        test::MakeSeries(*player_.home, QStringLiteral("show"),
                         {QStringLiteral("Show 101.mp4"), QStringLiteral("Show 102.mp4"),
                          QStringLiteral("Show 103.mp4")});
    FavoritesDatabase& favorites = FavoritesDatabase::Instance();
    for (const QString& name : {QStringLiteral("B"), QStringLiteral("C"), QStringLiteral("D")})
      QVERIFY(favorites.AddGroup(name));
    QCOMPARE(favorites.Groups().size(), size_t{4});
    const QString group0 = favorites.Groups()[0].name;

    // Adding stops at the group choice when the choice is cancelled.
    QVERIFY(window_->OpenFile(show[0]));
    window_->SetFavoriteGroupPicker([] { return std::optional<int>(); });
    window_->OnCommand(ID_FAVORITE_ADD);
    QVERIFY(favorites.Groups()[0].items.empty());

    window_->SetFavoriteGroupPicker([] { return std::optional<int>(0); });
    window_->OnCommand(ID_KEY_FAVORITE_ADD);  // at the start: no time shown
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.FavoritesAddedFormat")
                                  .replace(QStringLiteral("%s"), group0));
    QVERIFY(window_->OpenFile(show[2]));
    window_->OnCommand(ID_KEY_PLAY_PAUSE);
    QVERIFY(graph_->Seek(2.0, false, 0));
    QTRY_VERIFY(Near(graph_->GetPosition(), 2.0, 0.02));
    window_->OnCommand(ID_KEY_FAVORITE_ADD);
    QCOMPARE(favorites.Groups()[0].items.size(), size_t{2});

    // An item of the fourth group: the favourite plays, nothing is emptied.
    QVERIFY(favorites.AddItem(3, show[1], 0.0));
    window_->OnCommand(FavoriteItemId(3, 0));
    QCOMPARE(graph_->CurrentPath(), show[1]);
    QCOMPARE(test::OsdText(), QStringLiteral("Show 102.mp4"));
    QCOMPARE(favorites.Groups()[0].items.size(), size_t{2});

    // A favourite with a position opens there and says so.
    window_->OnCommand(FavoriteItemId(0, 1));
    QCOMPARE(graph_->CurrentPath(), show[2]);
    QTRY_VERIFY(Near(graph_->GetPosition(), 2.0, 0.3));
    QCOMPARE(test::OsdText(), QStringLiteral("Show 103.mp4 [00:02]"));

    // A run through group 0: the end of the first item plays the second at
    // its position; the end of the last ends the run and stops.
    window_->favoriteRun().Start(0, 0);
    QVERIFY(window_->OpenFile(show[0]));
    QVERIFY(graph_->Seek(4.6, false, 0));
    QTRY_COMPARE_WITH_TIMEOUT(graph_->CurrentPath(), show[2], 10000);
    QCOMPARE(window_->favoriteRun().Row(), 1);
    QTRY_VERIFY(graph_->GetPosition() >= 1.9);
    QVERIFY(graph_->Seek(4.6, false, 0));
    QTRY_COMPARE_WITH_TIMEOUT(graph_->State(), 0, 10000);
    QVERIFY(!window_->favoriteRun().Active());
    QCOMPARE(graph_->CurrentPath(), show[2]);

    // A favourite whose file is gone is removed with an OSD line, no box.
    QVERIFY(QFile::remove(show[1]));
    window_->OnCommand(FavoriteItemId(3, 0));
    QVERIFY(favorites.Groups()[3].items.empty());
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.FileNotFound"));

    window_->OnCommand(FavoriteGroupClearId(0));
    QVERIFY(favorites.Groups()[0].items.empty());
    QCOMPARE(test::OsdText(), LanguageManager::GetString(u"OSD.FavoritesGroupClear"));
    favorites.Load();
    QVERIFY(favorites.Groups()[0].items.empty());
  }

 private:
  test::PlayerFixture player_;
  MainWindow*& window_ = player_.window;
  GraphManager*& graph_ = player_.graph;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowCommandsTest)
#include "main_window_commands_test.moc"
