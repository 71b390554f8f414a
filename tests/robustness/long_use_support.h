#pragma once
// Long use of the real main window, shared by the short test and the full
// benchmark: what the process holds (descriptors, threads, resident memory)
// read from /proc, and one open/close cycle over a file or an address.
// Everything here runs on the interface thread; the waits pump its events.

#include "app/main_window.h"
#include "engine/graph_manager.h"
#include "tests/support/http_test_server.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <unistd.h>

namespace zelvaro::test {

struct ProcessCounts {
  int fds = 0;
  int threads = 0;
  qint64 rssKb = 0;
};

inline ProcessCounts ReadProcessCounts() {
  ProcessCounts counts;
  // The listing holds one descriptor of its own while it reads.
  counts.fds = static_cast<int>(QDir(QStringLiteral("/proc/self/fd"))
                                    .entryList(QDir::AllEntries | QDir::NoDotAndDotDot)
                                    .size()) -
               1;
  QFile status(QStringLiteral("/proc/self/status"));
  if (status.open(QIODevice::ReadOnly)) {
    for (const QByteArray& line : status.readAll().split('\n')) {
      if (line.startsWith("Threads:")) counts.threads = line.mid(8).trimmed().toInt();
      if (line.startsWith("VmRSS:"))
        counts.rssKb = line.mid(6).trimmed().split(' ').value(0).toLongLong();
    }
  }
  return counts;
}

// Opens `input` (a path or an address), waits until it plays past its first
// tenth of a second, then closes it. False when it never played.
inline bool OpenPlayClose(MainWindow* window, const QString& input, int timeoutMs = 15000) {
  GraphManager* graph = window->graph();
  const bool url = input.startsWith(QStringLiteral("http"));
  if (!(url ? window->OpenUrl(input) : window->OpenFile(input))) return false;
  const bool played = QTest::qWaitFor(
      [&] {
        return graph->CurrentPath() == input && graph->State() == 2 && graph->GetPosition() > 0.1;
      },
      timeoutMs);
  graph->Close();
  return played;
}

// Waits up to five seconds for the threads and descriptors a finished
// pipeline held to go, to no more than `start`; the counts at the end.
inline ProcessCounts WaitForSettledCounts(const ProcessCounts& start) {
  ProcessCounts end;
  (void)QTest::qWaitFor(
      [&] {
        end = ReadProcessCounts();
        return end.fds <= start.fds && end.threads <= start.threads;
      },
      5000);
  return end;
}

// Serves `path` at /clip on `server`, seekable; the address.
inline QString ServeClip(HttpTestServer& server, const QString& path,
                         const QByteArray& contentType) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return {};
  HttpResponse response;
  response.body = file.readAll();
  response.contentType = contentType;
  response.rangeRequests = true;
  server.Route("/clip", response);
  return server.Url(QStringLiteral("/clip"));
}

}  // namespace zelvaro::test
