#pragma once
// Colours the player paints with itself, in one place so a theme changes
// them here and nowhere else. Read on the interface thread only.

#include <QColor>

namespace zelvaro {

// The dark of the main window behind everything.
inline constexpr QColor kWindowBackground{0x10, 0x10, 0x12};

// Around the picture (letterbox bars) and where no picture is shown; the
// window's own dark, so the bars read as part of the frame.
inline constexpr QColor kVideoBackground = kWindowBackground;

}  // namespace zelvaro
