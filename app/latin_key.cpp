#include "app/latin_key.h"

#include <QtGui/qguiapplication_platform.h>
#include <QGuiApplication>

// Last: Xlib's macros (None, KeyPress, Bool...) must not meet Qt's headers.
#include <X11/XKBlib.h>
#include <X11/keysym.h>

namespace zelvaro {
namespace {

// XKB allows at most four groups on a key.
constexpr int kMaxLayoutGroups = 4;

}  // namespace

int LatinKeyOf(const QKeyEvent& event) {
  const auto* x11 =
      qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
  Display* display = x11 ? x11->display() : nullptr;
  const quint32 keycode = event.nativeScanCode();
  // X keycodes run from 8 to 255.
  if (display == nullptr || keycode < 8 || keycode > 255) return 0;
  const unsigned level = (event.modifiers() & Qt::ShiftModifier) ? 1 : 0;
  for (int group = 0; group < kMaxLayoutGroups; ++group) {
    const KeySym symbol = XkbKeycodeToKeysym(display, static_cast<KeyCode>(keycode), group, level);
    // Latin-1 keysyms from space to tilde are their ASCII codes, and Qt's
    // keys for them are the same codes with letters in upper case.
    if (symbol > XK_space && symbol <= XK_asciitilde) {
      return symbol >= XK_a && symbol <= XK_z ? static_cast<int>(symbol - XK_a + Qt::Key_A)
                                              : static_cast<int>(symbol);
    }
  }
  return 0;
}

}  // namespace zelvaro
