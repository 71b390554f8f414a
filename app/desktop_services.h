#pragma once
// DesktopServices: what makes the player a citizen of a Linux desktop,
// gathered for MainWindow: the MPRIS service, the screen saver inhibition
// and the media keys. The window builds it once it has its engine, calls
// Sync after everything that changes what it shows (with the toolbar), and
// drops it when it is destroyed, which releases what the desktop lent.
//
// Interface thread only. Borrows the window, which outlives it.

#include "app/media_hot_keys.h"
#include "app/mpris_service.h"
#include "app/screen_saver_inhibitor.h"

namespace zelvaro {

class MainWindow;

class DesktopServices {
 public:
  explicit DesktopServices(MainWindow& window);

  void Sync();

  MprisService& mpris() { return mpris_; }
  ScreenSaverInhibitor& inhibitor() { return inhibitor_; }
  MediaHotKeys& mediaHotKeys() { return mediaHotKeys_; }

 private:
  MainWindow& window_;
  MprisService mpris_;
  ScreenSaverInhibitor inhibitor_;
  MediaHotKeys mediaHotKeys_;
};

}  // namespace zelvaro
