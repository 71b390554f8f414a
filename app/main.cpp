#include "app/demo_capture.h"
#include "app/main_window.h"
#include "foundation/language_manager.h"

#include <QApplication>

#include <clocale>

int main(int argc, char* argv[]) {
  // Non-ASCII paths need the user's locale, not "C", in the C libraries we use.
  std::setlocale(LC_ALL, "");
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("zelvaro"));
  zelvaro::LanguageManager::Instance().Initialize();

  zelvaro::MainWindow window;
  window.show();
  zelvaro::ArmDemoCapture(window);
  return application.exec();
}
