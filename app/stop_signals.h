#pragma once
// StopSignals: SIGTERM, SIGINT and SIGHUP (a logout, Ctrl+C in the terminal,
// the terminal closing) end the player the way closing its window does: the
// list, the window and the settings are saved and the exit code is 0.
//
// The handlers do nothing but write the signal's number into a pipe; a
// QSocketNotifier reads it on the interface thread and runs `onStop` there.
// After the first signal the default actions come back, so a second one ends
// a player that hangs on its way out. One instance at a time; interface
// thread only.

#include <QObject>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace zelvaro {

class StopSignals : public QObject {
  Q_OBJECT
 public:
  explicit StopSignals(std::function<void()> onStop, QObject* parent = nullptr);
  // Puts the default actions back.
  ~StopSignals() override;

 private:
  void OnSignal();

  std::function<void()> onStop_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace zelvaro
