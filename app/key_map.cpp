#include "app/key_map.h"

#include "app/commands.h"
#include "app/latin_key.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>

#include <array>

namespace zelvaro {
namespace {

constexpr Qt::KeyboardModifiers kNone = Qt::NoModifier;

const std::array<KeyBinding, 44> kKeyMap{{
    {kNone, Qt::Key_Space, ID_KEY_PLAY_PAUSE},
    {kNone, Qt::Key_P, ID_KEY_PLAY_PAUSE},
    {kNone, Qt::Key_W, ID_KEY_ROTATE_RESET},
    {kNone, Qt::Key_D, ID_KEY_ROTATE_90},
    {kNone, Qt::Key_S, ID_KEY_ROTATE_180},
    {kNone, Qt::Key_A, ID_KEY_ROTATE_270},
    {kNone, Qt::Key_Q, ID_KEY_ROTATE_STEP_LEFT},
    {kNone, Qt::Key_E, ID_KEY_ROTATE_STEP_RIGHT},
    {kNone, Qt::Key_R, ID_KEY_ROTATE_STEP_RIGHT},
    {kNone, Qt::Key_H, ID_KEY_FLIP_H},
    {kNone, Qt::Key_V, ID_KEY_FLIP_V},
    {kNone, Qt::Key_M, ID_KEY_MUTE},
    {kNone, Qt::Key_Z, ID_KEY_SPEED_TOGGLE},
    {kNone, Qt::Key_X, ID_KEY_SPEED_DOWN},
    {kNone, Qt::Key_C, ID_KEY_SPEED_UP},
    {kNone, Qt::Key_BracketLeft, ID_KEY_AB_SET_A},
    {kNone, Qt::Key_BracketRight, ID_KEY_AB_SET_B},
    {kNone, Qt::Key_Backslash, ID_KEY_AB_CLEAR},
    // Shift+comma and Shift+period arrive as the signs they type, so the
    // delay keys also work as '<' and '>'.
    {Qt::ShiftModifier, Qt::Key_Less, ID_KEY_SUBTITLE_DELAY_DOWN},
    {kNone, Qt::Key_Comma, ID_KEY_SUBTITLE_DELAY_DOWN},
    {Qt::ShiftModifier, Qt::Key_Greater, ID_KEY_SUBTITLE_DELAY_UP},
    {kNone, Qt::Key_Period, ID_KEY_SUBTITLE_DELAY_UP},
    {kNone, Qt::Key_Slash, ID_KEY_SUBTITLE_DELAY_RESET},
    {kNone, Qt::Key_O, ID_KEY_OPEN},
    {Qt::ControlModifier, Qt::Key_U, ID_KEY_OPEN_URL},
    {kNone, Qt::Key_F, ID_KEY_FULLSCREEN},
    {kNone, Qt::Key_Return, ID_KEY_FULLSCREEN},
    {kNone, Qt::Key_Escape, ID_KEY_ESCAPE},
    {kNone, Qt::Key_1, ID_KEY_FIT_25},
    {kNone, Qt::Key_2, ID_KEY_FIT_50},
    {kNone, Qt::Key_3, ID_KEY_FIT_75},
    {kNone, Qt::Key_4, ID_KEY_FIT_100},
    {kNone, Qt::Key_5, ID_KEY_FIT_150},
    {kNone, Qt::Key_6, ID_KEY_FIT_200},
    {kNone, Qt::Key_7, ID_KEY_MAXIMIZE},
    {kNone, Qt::Key_8, ID_KEY_FULLSCREEN},
    {Qt::ControlModifier, Qt::Key_B, ID_KEY_FAVORITE_ADD},
    {Qt::ControlModifier, Qt::Key_P, ID_KEY_SCREENSHOT},
    {kNone, Qt::Key_PageUp, ID_MEDIA_PREV},
    {kNone, Qt::Key_PageDown, ID_MEDIA_NEXT},
    {kNone, Qt::Key_MediaTogglePlayPause, ID_MEDIA_PLAY_PAUSE},
    {kNone, Qt::Key_MediaStop, ID_MEDIA_STOP},
    {kNone, Qt::Key_MediaNext, ID_MEDIA_NEXT},
    {kNone, Qt::Key_MediaPrevious, ID_MEDIA_PREV},
}};

bool IsArrow(int key) {
  return key == Qt::Key_Left || key == Qt::Key_Up || key == Qt::Key_Right || key == Qt::Key_Down;
}

bool IsTextBox(const QWidget* widget) {
  if (widget == nullptr) return false;
  if (qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QTextEdit*>(widget) ||
      qobject_cast<const QPlainTextEdit*>(widget) ||
      qobject_cast<const QAbstractSpinBox*>(widget)) {
    return true;
  }
  const auto* combo = qobject_cast<const QComboBox*>(widget);
  return combo != nullptr && combo->isEditable();
}

}  // namespace

std::span<const KeyBinding> KeyMap() {
  return kKeyMap;
}

std::optional<int> CommandForKey(int key, Qt::KeyboardModifiers modifiers) {
  // The keypad's Enter is Return; its digits are not the digit keys.
  if (key == Qt::Key_Enter) key = Qt::Key_Return;
  // Keyboards with separate play and pause keys: each toggles, as the one
  // play/pause key does.
  if (key == Qt::Key_MediaPlay || key == Qt::Key_MediaPause) key = Qt::Key_MediaTogglePlayPause;
  if (key < Qt::Key_0 || key > Qt::Key_9) modifiers &= ~Qt::KeypadModifier;
  modifiers &= Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier |
               Qt::KeypadModifier;
  for (const KeyBinding& binding : kKeyMap) {
    if (binding.key == key && binding.modifiers == modifiers) {
      return binding.command;
    }
  }
  return std::nullopt;
}

KeyCommandFilter::KeyCommandFilter(QWidget* mainWindow, std::function<void(int)> onCommand,
                                   QObject* parent)
    : QObject(parent), mainWindow_(mainWindow), onCommand_(std::move(onCommand)) {}

bool KeyCommandFilter::IsOwnedByMainWindow(const QWidget* window) const {
  for (const QWidget* owner = window ? window->parentWidget() : nullptr; owner != nullptr;
       owner = owner->parentWidget()) {
    if (owner->window() == mainWindow_) return true;
  }
  return false;
}

bool KeyCommandFilter::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress || mainWindow_ == nullptr) {
    return QObject::eventFilter(watched, event);
  }
  const auto* keyEvent = static_cast<QKeyEvent*>(event);
  const int key = keyEvent->key();
  const QWidget* active = QApplication::activeWindow();
  // An open popup menu keeps its keys: Return chooses, Escape closes.
  if (QApplication::activePopupWidget() != nullptr) return false;
  // A modal dialog keeps its keys, as its owner is disabled while it runs.
  if (active == nullptr || IsArrow(key) || QApplication::activeModalWidget() != nullptr)
    return false;
  if (active != mainWindow_) {
    if (!IsOwnedByMainWindow(active)) return false;  // keys typed elsewhere are never commands
    if (IsTextBox(QApplication::focusWidget())) return false;
    const bool ctrlA = key == Qt::Key_A && (keyEvent->modifiers() & Qt::ControlModifier);
    if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Escape ||
        key == Qt::Key_Delete || ctrlA) {
      return false;
    }
  }
  std::optional<int> command = CommandForKey(key, keyEvent->modifiers());
  // A letter of a non-Latin layout: the command of the Latin key in its place.
  if (!command && key > 0x7E && key < Qt::Key_Escape) {
    if (const int latin = LatinKeyOf(*keyEvent); latin != 0) {
      command = CommandForKey(latin, keyEvent->modifiers());
    }
  }
  if (!command) return false;
  onCommand_(*command);
  return true;
}

}  // namespace zelvaro
