#pragma once
// The Latin key at the position of a pressed key, for keyboards whose active
// layout is not Latin: with a Russian layout the key that types "з" is the
// one that types "p" in the Latin layout, and the player's "P" command should
// run from it as it does from the key code on the design's keyboards.
//
// X11 only (the X keycode comes in the event's native scan code and the
// server's keymap says what each layout group puts on it); elsewhere there is
// no fallback. Interface thread only.

#include <QKeyEvent>

namespace zelvaro {

// The Qt key (Qt::Key_A..Key_Z, digits, ASCII punctuation) of the first
// layout group that puts a Latin character on the event's key, at the level
// Shift selects; 0 when no group does or the keymap cannot be asked.
int LatinKeyOf(const QKeyEvent& event);

}  // namespace zelvaro
