#include "app/application.h"
#include "app/demo_capture.h"
#include "app/main_window.h"
#include "engine/gst_ref.h"

#include <QApplication>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

int main(int argc, char* argv[]) {
  // Non-ASCII paths need the user's locale, not "C", in the C libraries we use.
  const char* locale = std::setlocale(LC_ALL, "");
  if (locale == nullptr || std::strcmp(locale, "C") == 0 || std::strcmp(locale, "POSIX") == 0) {
    std::setlocale(LC_ALL, "C.UTF-8");
  }
  if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr &&
      std::getenv("QT_QPA_PLATFORM") == nullptr) {
    std::fprintf(stderr, "Zelvaro needs a graphical display (DISPLAY or WAYLAND_DISPLAY).\n");
    return -1;
  }
  // GStreamer's registry and plugins load beside the toolkit and the
  // window, instead of in front of the first file.
  std::thread warmUp(&zelvaro::WarmUpGStreamer);
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("zelvaro"));
  QApplication::setDesktopFileName(QStringLiteral("zelvaro"));

  zelvaro::Application& player = zelvaro::Application::Instance();
  if (!player.Initialize(zelvaro::JoinArguments(QApplication::arguments().mid(1)))) {
    warmUp.join();
    return -1;
  }
  zelvaro::ArmDemoCapture(*player.mainWindow());
  const int exitCode = player.Run();
  player.Shutdown();
  warmUp.join();
  return exitCode;
}
