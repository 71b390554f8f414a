#include "app/stop_signals.h"

#include "foundation/trace.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>

namespace zelvaro {
namespace {

constexpr int kStopSignals[] = {SIGTERM, SIGINT, SIGHUP};

// Written from the handler: plain ints, set before the handlers go in.
int signalPipe[2] = {-1, -1};

extern "C" void OnStopSignal(int number) {
  const int savedErrno = errno;
  const char byte = static_cast<char>(number);
  // A full pipe already holds a wake-up; nothing is lost by dropping this one.
  [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
  errno = savedErrno;
}

void SetHandlers(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (int number : kStopSignals) ::sigaction(number, &action, nullptr);
}

}  // namespace

StopSignals::StopSignals(std::function<void()> onStop, QObject* parent)
    : QObject(parent), onStop_(std::move(onStop)) {
  if (signalPipe[0] < 0 && ::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
    Trace("stop signals: no pipe (%d); they end the process at once", errno);
    return;
  }
  notifier_ = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
  connect(notifier_.get(), &QSocketNotifier::activated, this, &StopSignals::OnSignal);
  SetHandlers(&OnStopSignal);
}

StopSignals::~StopSignals() {
  if (notifier_) SetHandlers(SIG_DFL);
}

void StopSignals::OnSignal() {
  char bytes[16];
  ssize_t count = 0;
  while ((count = ::read(signalPipe[0], bytes, sizeof(bytes))) > 0) {
    Trace("signal %d: closing as the window would", bytes[count - 1]);
  }
  SetHandlers(SIG_DFL);
  notifier_->setEnabled(false);
  if (onStop_) onStop_();
}

}  // namespace zelvaro
