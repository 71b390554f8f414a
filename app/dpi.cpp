#include "app/dpi.h"

#include <QGuiApplication>
#include <QScreen>

namespace zelvaro {

int DpiValue = 96;
float DpiScale = 1.0f;

void ComputeDpiScale() {
  const QScreen* screen = QGuiApplication::primaryScreen();
  if (screen == nullptr) return;
  DpiValue = static_cast<int>(screen->logicalDotsPerInchX());
  if (DpiValue <= 0) DpiValue = 96;
  DpiScale = static_cast<float>(DpiValue / 96.0);
}

}  // namespace zelvaro
