#pragma once
// Real pointer input through the X server's test extension, for tests where
// what matters is which window the server routes an event to (native windows
// stacked over each other), not what Qt would do with a synthetic event.

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

// A left click at a global point: move, press, release.
inline void XClick(Display* display, QPoint global) {
  XMovePointer(display, global);
  XTestFakeButtonEvent(display, 1, True, CurrentTime);
  XTestFakeButtonEvent(display, 1, False, CurrentTime);
  XFlush(display);
}

}  // namespace zelvaro::test
