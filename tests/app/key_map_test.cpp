// When a key press is a player command: the main window, the tool windows it
// owns, text boxes, the four keys owned windows keep, and other windows.

#include "app/key_map.h"
#include "app/commands.h"

#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QTest>

namespace zelvaro {

class KeyMapTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    mainWindow_ = std::make_unique<QWidget>();
    mainWindow_->resize(400, 300);
    // An owned tool window with a list (like the playlist) and a text box.
    toolWindow_ = new QWidget(mainWindow_.get(), Qt::Tool);
    list_ = new QListWidget(toolWindow_);
    edit_ = new QLineEdit(toolWindow_);
    edit_->move(0, 150);
    stranger_ = std::make_unique<QWidget>();
    commands_.clear();
    filter_ = std::make_unique<KeyCommandFilter>(mainWindow_.get(),
                                                 [this](int id) { commands_.push_back(id); });
    qApp->installEventFilter(filter_.get());
    for (QWidget* window : {mainWindow_.get(), toolWindow_, stranger_.get()}) {
      window->show();
      QVERIFY(QTest::qWaitForWindowExposed(window));
    }
  }

  void cleanup() {
    qApp->removeEventFilter(filter_.get());
    filter_.reset();
    stranger_.reset();
    mainWindow_.reset();
  }

  void mapMatchesModifiersExactly() {
    QCOMPARE(CommandForKey(Qt::Key_Space, Qt::NoModifier).value_or(0), int{ID_KEY_PLAY_PAUSE});
    QCOMPARE(CommandForKey(Qt::Key_P, Qt::ControlModifier).value_or(0), int{ID_KEY_SCREENSHOT});
    QCOMPARE(CommandForKey(Qt::Key_Greater, Qt::ShiftModifier).value_or(0),
             int{ID_KEY_SUBTITLE_DELAY_UP});
    QCOMPARE(CommandForKey(Qt::Key_Enter, Qt::KeypadModifier).value_or(0), int{ID_KEY_FULLSCREEN});
    QVERIFY(!CommandForKey(Qt::Key_Space, Qt::ControlModifier));
    QVERIFY(!CommandForKey(Qt::Key_Q, Qt::ShiftModifier));
    QVERIFY(!CommandForKey(Qt::Key_1, Qt::KeypadModifier));  // keypad digits are not the digit keys
    QVERIFY(!CommandForKey(Qt::Key_Left, Qt::NoModifier));
    for (Qt::Key media : {Qt::Key_MediaPlay, Qt::Key_MediaPause, Qt::Key_MediaTogglePlayPause}) {
      QCOMPARE(CommandForKey(media, Qt::NoModifier).value_or(0), int{ID_MEDIA_PLAY_PAUSE});
    }
  }

  // The key in P's place with a Russian layout active types "з"; its X
  // keycode (33 on the pc105 keyboard Xvfb has) still runs P's command, and
  // with Ctrl, Ctrl+P's.
  void aNonLatinLetterRunsTheLatinKeysCommand() {
    Activate(mainWindow_.get(), mainWindow_.get());
    constexpr quint32 kKeycodeOfP = 33;
    constexpr quint32 kKeysymCyrillicZe = 0x6c7;
    for (Qt::KeyboardModifiers modifiers :
         {Qt::KeyboardModifiers(), Qt::KeyboardModifiers(Qt::ControlModifier)}) {
      QKeyEvent press(QEvent::KeyPress, 0x0417, modifiers, kKeycodeOfP, kKeysymCyrillicZe, 0,
                      QStringLiteral("з"));
      QApplication::sendEvent(mainWindow_.get(), &press);
    }
    // A key that is no letter anywhere stays nothing.
    QKeyEvent stray(QEvent::KeyPress, 0x0417, Qt::NoModifier, 0, 0, 0, QStringLiteral("з"));
    QApplication::sendEvent(mainWindow_.get(), &stray);
    QCOMPARE(commands_, (std::vector<int>{ID_KEY_PLAY_PAUSE, ID_KEY_SCREENSHOT}));
  }

  void mainWindowKeysAreCommands() {
    Activate(mainWindow_.get(), mainWindow_.get());
    QTest::keyClick(mainWindow_.get(), Qt::Key_Q);
    QTest::keyClick(mainWindow_.get(), Qt::Key_Return);
    QTest::keyClick(mainWindow_.get(), Qt::Key_Left);  // arrows never pass
    QCOMPARE(commands_, (std::vector<int>{ID_KEY_ROTATE_STEP_LEFT, ID_KEY_FULLSCREEN}));
  }

  void ownedWindowPassesPlayerKeysButKeepsItsOwn() {
    Activate(toolWindow_, list_);
    QTest::keyClick(list_, Qt::Key_Q);  // rotates the video while the playlist has the focus
    QTest::keyClick(list_, Qt::Key_Return);
    QTest::keyClick(list_, Qt::Key_Delete);
    QTest::keyClick(list_, Qt::Key_Escape);
    QTest::keyClick(list_, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(list_, Qt::Key_Down);
    QCOMPARE(commands_, std::vector<int>{ID_KEY_ROTATE_STEP_LEFT});
  }

  void textBoxesAndOtherWindowsKeepEveryKey() {
    Activate(toolWindow_, edit_);
    QTest::keyClicks(edit_, QStringLiteral("q p"));
    QCOMPARE(edit_->text(), QStringLiteral("q p"));
    Activate(stranger_.get(), stranger_.get());
    QTest::keyClick(stranger_.get(), Qt::Key_Space);
    QVERIFY(commands_.empty());
  }

 private:
  // Xvfb has no window manager to activate windows; tell Qt directly.
  static void Activate(QWidget* window, QWidget* focus) {
    QApplication::setActiveWindow(window);
    focus->setFocus();
    QTRY_COMPARE(QApplication::activeWindow(), window);
  }

  std::unique_ptr<QWidget> mainWindow_;
  QWidget* toolWindow_ = nullptr;
  QListWidget* list_ = nullptr;
  QLineEdit* edit_ = nullptr;
  std::unique_ptr<QWidget> stranger_;
  std::unique_ptr<KeyCommandFilter> filter_;
  std::vector<int> commands_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::KeyMapTest)
#include "key_map_test.moc"
