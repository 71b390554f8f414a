#pragma once
// PanelHost: what an owned panel may ask of the main window. Panels never
// call each other or the main window's methods; they send or post the
// player's messages (app/messages.h) and commands (app/commands.h).
// Interface thread only.

#include <QtGlobal>

namespace zelvaro::panels {

class PanelHost {
 public:
  virtual ~PanelHost() = default;
  // Answered at once with the message's result.
  virtual qintptr SendPlayerMessage(int message, qintptr wParam = 0, qintptr lParam = 0) = 0;
  // Delivered later on the interface thread, as a posted message is.
  virtual void PostPlayerMessage(int message, qintptr wParam = 0, qintptr lParam = 0) = 0;
};

}  // namespace zelvaro::panels
