#pragma once
// For `make demo` on a machine without a display: when ZELVARO_DEMO_SCREENSHOT
// names a PNG path, the window is captured after ZELVARO_DEMO_SECONDS
// (default 4) and the program quits. Does nothing otherwise.

class QWidget;

namespace zelvaro {
void ArmDemoCapture(QWidget& window);
}  // namespace zelvaro
