#pragma once
// The player's one-key commands: the key map (what each key means) and the
// application-wide filter that decides when a key is a command.
//
// A key is a command only while the main window or one of the tool windows it
// owns is the active window; arrows never are (the focused window gets them);
// in an owned window a text box keeps every key, and Return, Escape, Delete
// and Ctrl+A belong to that window. So the player's keys work while the
// playlist has the focus, but never while the user types. With a non-Latin
// layout active, a letter falls back to the Latin key in its place.
//
// Interface thread only.

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <optional>
#include <span>

namespace zelvaro {

struct KeyBinding {
  Qt::KeyboardModifiers modifiers;
  Qt::Key key;
  int command;
};

// The 44 entries, in table order.
std::span<const KeyBinding> KeyMap();

// The command bound to a key press, with the modifiers matched exactly (a
// key with Ctrl held does not fire the plain key's command). Separate media
// play and pause keys count as the play/pause key.
std::optional<int> CommandForKey(int key, Qt::KeyboardModifiers modifiers);

class KeyCommandFilter : public QObject {
  Q_OBJECT
 public:
  // `onCommand` runs for every key press that is a command; the key press is
  // then consumed.
  KeyCommandFilter(QWidget* mainWindow, std::function<void(int)> onCommand,
                   QObject* parent = nullptr);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool IsOwnedByMainWindow(const QWidget* window) const;

  QPointer<QWidget> mainWindow_;
  std::function<void(int)> onCommand_;
};

}  // namespace zelvaro
