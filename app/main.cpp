#include "app/application.h"
#include "app/demo_capture.h"
#include "app/main_window.h"
#include "chrome/chrome_paint.h"
#include "engine/gst_ref.h"
#include "foundation/language_manager.h"
#include "foundation/text_conversion.h"

#include <QApplication>
#include <QDir>
#include <QFile>

#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

// --help and --version: the GNU conventions, on standard output, exit 0,
// and no display needed.
int PrintInformation(const zelvaro::CommandLine& commandLine) {
  zelvaro::LanguageManager::Instance().Initialize();
  const QString text = commandLine.help
                           ? zelvaro::LanguageManager::GetString(u"App.Usage")
                           : zelvaro::LanguageManager::GetString(u"App.VersionFormat")
                                 .replace(QStringLiteral("%s"), QStringLiteral(ZELVARO_VERSION));
  const QByteArray bytes = text.toUtf8() + '\n';
  std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
  return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char* argv[]) {
  QStringList words;
  for (int i = 1; i < argc; ++i) words << QFile::decodeName(argv[i]);
  const zelvaro::CommandLine commandLine = zelvaro::ParseArguments(words, QDir::currentPath());
  if (commandLine.help || commandLine.version) return PrintInformation(commandLine);

  if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr &&
      std::getenv("QT_QPA_PLATFORM") == nullptr) {
    std::fprintf(stderr, "Zelvaro needs a graphical display (DISPLAY or WAYLAND_DISPLAY).\n");
    return -1;
  }
  // GStreamer's registry and plugins load beside the toolkit and the
  // window, instead of in front of the first file.
  std::thread warmUp(&zelvaro::WarmUpGStreamer);
  QApplication application(argc, argv);
  // So does the font database, instead of in front of the first window
  // (joined before the application goes).
  std::jthread fontWarmUp(&zelvaro::chrome::WarmUpFontDatabase);
  zelvaro::UseUtf8CLocale();
  QApplication::setApplicationName(QStringLiteral("zelvaro"));
  QApplication::setDesktopFileName(QStringLiteral("zelvaro"));

  zelvaro::Application& player = zelvaro::Application::Instance();
  if (!player.Initialize(commandLine)) {
    warmUp.join();
    return -1;
  }
  zelvaro::ArmDemoCapture(*player.mainWindow());
  const int exitCode = player.Run();
  player.Shutdown();
  warmUp.join();
  return exitCode;
}
