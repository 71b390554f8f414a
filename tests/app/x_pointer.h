#pragma once
// Real pointer and key input through the X server's test extension, for
// tests where what matters is which window the server routes an event to
// (native windows stacked over each other, popups grabbing the input), not
// what Qt would do with a synthetic event.

#include <QGuiApplication>
#include <QPoint>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace zelvaro::test {

// The display when it is X11 with XTEST; null otherwise (the caller skips).
inline Display* XTestDisplay() {
  auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
  if (x11 == nullptr) return nullptr;
  int eventBase = 0, errorBase = 0, major = 0, minor = 0;
  if (!XTestQueryExtension(x11->display(), &eventBase, &errorBase, &major, &minor)) return nullptr;
  return x11->display();
}

inline void XMovePointer(Display* display, QPoint global) {
  XTestFakeMotionEvent(display, -1, global.x(), global.y(), CurrentTime);
  XFlush(display);
}

// A click at a global point: move, press, release (1 left, 3 right).
inline void XClick(Display* display, QPoint global, unsigned button = 1) {
  XMovePointer(display, global);
  XTestFakeButtonEvent(display, button, True, CurrentTime);
  XTestFakeButtonEvent(display, button, False, CurrentTime);
  XFlush(display);
}

inline void XKey(Display* display, KeySym symbol) {
  const KeyCode code = XKeysymToKeycode(display, symbol);
  XTestFakeKeyEvent(display, code, True, CurrentTime);
  XTestFakeKeyEvent(display, code, False, CurrentTime);
  XFlush(display);
}

}  // namespace zelvaro::test
