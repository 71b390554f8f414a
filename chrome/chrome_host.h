#pragma once
// ChromeHost: what the painted bars may ask of the window they sit in. The
// bars hold no playback logic; they report what the user did through the
// player's messages (app/messages.h) and commands (app/commands.h), which the
// main window answers synchronously, and hand it the few window gestures that
// are its own. Interface thread only.

#include <QPoint>
#include <QWidget>
#include <QWindow>
#include <QtGlobal>

namespace zelvaro::chrome {

class ChromeHost {
 public:
  virtual ~ChromeHost() = default;
  // A player message, answered at once with its result.
  virtual qintptr SendPlayerMessage(int message, qintptr wParam = 0, qintptr lParam = 0) = 0;
  // A command id, as a menu choice or a key would give it.
  virtual void SendCommand(int id) = 0;
  // A right click released on an empty part of a bar, at a global point.
  virtual void ShowContextMenuAt(QPoint globalPos) = 0;
  // The middle button's gesture, and the title bar's full screen button.
  virtual void ToggleFullscreen() = 0;
  // The left button went down on an empty part of `bar` at `globalCursor`
  // and the window is to follow the pointer until it comes up. The host may
  // move the window itself (to pull it to the screen's edges); without one,
  // the window system moves it.
  virtual void BeginWindowMove(QWidget* bar, QPoint globalCursor) {
    Q_UNUSED(globalCursor);
    if (QWindow* handle = bar->window()->windowHandle()) handle->startSystemMove();
  }
};

}  // namespace zelvaro::chrome
