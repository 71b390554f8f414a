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

void Wheel(QWidget* window, int delta) {
  const QPointF at(window->width() / 2.0, window->height() / 2.0);
  QWheelEvent event(at, window->mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton,
                    Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(window, &event);
}

}  // namespace

class MainWindowCommandsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<test::TempHome>();
    window_ = test::StartPlayer();
    QVERIFY(window_);
    graph_ = window_->graph();
  }

  void cleanup() {
    test::StopPlayer();
    home_.reset();
  }

  void speedKeysRoundToTenthsAndTheMenuStepsExactly() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    QVERIFY(test::ActivatePlayer(window_));

    QVERIFY(graph_->SetSpeed(1.37));
    QTest::keyClick(window_, Qt::Key_X);
    QCOMPARE(graph_->Speed(), 1.3);
    QCOMPARE(test::OsdText(), QStringLiteral("1.3x"));

    QVERIFY(graph_->SetSpeed(1.37));
    window_->OnCommand(ID_SPEED_DOWN);
    QVERIFY(Near(graph_->Speed(), 1.27, 1e-9));

    // Z goes to 1.0 remembering the speed, and back again.
    QTest::keyClick(window_, Qt::Key_Z);
    QCOMPARE(graph_->Speed(), 1.0);
    QCOMPARE(test::OsdText(), QStringLiteral("1.00x"));
    QTest::keyClick(window_, Qt::Key_Z);
    QVERIFY(Near(graph_->Speed(), 1.27, 1e-9));
    QCOMPARE(test::OsdText(), QStringLiteral("1.27x"));

    // The top stays the top, and says so.
    QVERIFY(graph_->SetSpeed(4.0));
    QTest::keyClick(window_, Qt::Key_C);
    QCOMPARE(graph_->Speed(), 4.0);
    QCOMPARE(test::OsdText(), QStringLiteral("4.0x"));

    window_->OnCommand(ID_SPEED_PRESET_FIRST + 1);
    QCOMPARE(graph_->Speed(), 0.5);
    QCOMPARE(test::OsdText(), QStringLiteral("0.50x"));
    // 25 fps played as 30.
    window_->OnCommand(ID_SPEED_FPS_FIRST + 4);
    QVERIFY(Near(graph_->Speed(), 1.2, 1e-9));
    QCOMPARE(test::OsdText(), QStringLiteral("1.20x"));
  }

  void speedToggleWithNothingToReturnTo() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
    // The key shows 1.00x and changes nothing; the menu entry does nothing.
    window_->OnCommand(ID_KEY_SPEED_TOGGLE);
    QCOMPARE(graph_->Speed(), 1.0);
    QCOMPARE(test::OsdText(), QStringLiteral("1.00x"));
    window_->OnCommand(ID_SPEED_RESET);
    QCOMPARE(graph_->Speed(), 1.0);
    QCOMPARE(window_->lastSpeed(), 1.0);
  }

  void volumeKeysAndTheWheel() {
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
  }

  void storedVolumeAndMuteReachTheEngineAtStart() {
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

  void aMarkWithoutBRepeatsFromAAtTheEnd() {
    QVERIFY(window_->OpenFile(test::PatternClip()));
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

  void anABLoopJumpsBackToAWithinATick() {
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
        test::MakeSeries(*home_, QStringLiteral("show"),
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
  std::unique_ptr<test::TempHome> home_;
  MainWindow* window_ = nullptr;
  GraphManager* graph_ = nullptr;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowCommandsTest)
#include "main_window_commands_test.moc"
