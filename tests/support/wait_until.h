#pragma once
// A condition wait for tests without QtTest's qWaitFor: the event loop runs
// so that queued deliveries and the test's own servers get their turn.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

namespace zelvaro::test {

// Pumps events until `condition` holds; false after `timeoutMs`.
template <typename Condition>
bool WaitUntil(Condition&& condition, int timeoutMs = 10000) {
  QDeadlineTimer deadline(timeoutMs);
  while (!condition()) {
    if (deadline.hasExpired()) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    QThread::msleep(1);
  }
  return true;
}

}  // namespace zelvaro::test
