#pragma once
// Application: the process. Parses the command line, brings the process-wide
// services up in a fixed order, owns the main window, runs the event loop and
// takes everything down again in the reverse order.
//
// No single-instance guard: every start is an independent player. Interface
// thread only. Exit codes: 0 for a normal run, -1 when start-up fails (the
// user has been told why).

#include "app/command_line.h"

#include <memory>

namespace zelvaro {

class KeyCommandFilter;
class MainWindow;
class StopSignals;

class Application {
 public:
  static Application& Instance();

  // Needs the QApplication to exist. False when the player cannot start.
  bool Initialize(const CommandLine& commandLine);
  // The same from one command-line string with its quotes (ParseCommandLine);
  // a relative path is taken against the working directory.
  bool Initialize(const QString& commandLine);
  // The event loop; returns the exit code the loop ended with.
  int Run();
  void Shutdown();

  MainWindow* mainWindow() const { return mainWindow_.get(); }

 private:
  Application() = default;
  ~Application();

  std::unique_ptr<MainWindow> mainWindow_;
  std::unique_ptr<KeyCommandFilter> accelerators_;
  std::unique_ptr<StopSignals> stopSignals_;
  QString startupFile_;
  bool startFullscreen_ = false;
};

}  // namespace zelvaro
