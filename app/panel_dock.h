#pragma once
// PanelDock: one tool window the main window owns (the playlist, the control
// panel, the lyrics panel), seen from the main window: whether it is docked
// to a side of the window and follows it, and what fullscreen hides and
// gives back (its visibility, rectangle and docking). The geometry is in
// window_sizing.h; this class only reads and moves the window.
//
// Where the window system lets a client place its windows (X11, and the
// test platforms), panels are moved as designed; where it does not
// (Wayland), nothing is forced: a docked panel does not follow, a panel
// coming back from fullscreen shows where the compositor puts it, and
// nothing fails.
//
// Interface thread only. The panel is not owned; a panel that is destroyed
// leaves an inert dock.

#include <QPointer>
#include <QRect>
#include <QStringView>
#include <QWidget>

namespace zelvaro {

// False on Wayland: a client cannot place its own top-level windows there.
bool ClientPlacesWindows();

// The settings a panel's placement is written to when fullscreen hides it;
// an empty name is not written. `visible` is written 0.
struct PanelSettingNames {
  QStringView x, y, w, h, snapped, snapSide, visible;
};

class PanelDock {
 public:
  // `follows`: the panel docks and moves with the window (the playlist);
  // the others only hide in fullscreen.
  PanelDock(QWidget* panel, bool follows, PanelSettingNames names = {});

  QWidget* panel() const { return panel_; }
  bool follows() const { return follows_; }
  bool IsShown() const { return panel_ && panel_->isVisible(); }
  // The panel's outer rectangle, its frame included.
  QRect Rect() const;
  void Place(const QRect& rect);

  // Docked beside the main window, and on which side (1 right, 2 left).
  bool Snapped = false;
  int SnapSide = 0;

  // Docked or not, from where the panel stands beside `mainRect` now.
  void UpdateSnapState(const QRect& mainRect, float scale);
  // A visible docked panel put beside the main window at `mainRect`.
  void Follow(const QRect& mainRect, bool heightSync);
  // A visible docked panel shifted with the main window's move.
  void ShiftBy(QPoint delta);

  // Fullscreen: remember, write the settings and hide; then give back.
  void HideForFullscreen();
  void RestoreAfterFullscreen();
  bool wasVisible() const { return wasVisible_; }

 private:
  QPointer<QWidget> panel_;
  bool follows_ = false;
  PanelSettingNames names_;
  bool wasVisible_ = false;
  QRect savedRect_;
  bool savedSnapped_ = false;
  int savedSnapSide_ = 0;
};

}  // namespace zelvaro
