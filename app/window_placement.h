#pragma once
// Where the main window reopens: the stored rectangle, pulled back onto a
// screen when it hangs off one, or centred when its screen is gone. Pure
// geometry, so the rules can be checked without real monitors.

#include <QRect>

#include <vector>

namespace zelvaro {

struct ScreenArea {
  QRect geometry;  // the whole screen
  QRect workArea;  // without panels and docks
};

// `screens` is non-empty; the first one is the primary screen.
QRect RestoredWindowRect(const QRect& stored, const std::vector<ScreenArea>& screens);

// The first-run placement: the default size centred on the primary screen.
QRect CenteredRect(const QSize& size, const ScreenArea& primary);

}  // namespace zelvaro
