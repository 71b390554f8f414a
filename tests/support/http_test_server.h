#pragma once
// A small scripted HTTP/1.1 server on 127.0.0.1 for tests of the lyrics and
// update services and of downloads. Each path answers with a scripted
// response (status, body, delay, size); every request is recorded.
//
// The server runs its own threads from construction to destruction; a
// delayed or long response is cut short when the server is destroyed, so a
// test never waits on it. One response per connection (Connection: close).

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace zelvaro::test {

struct HttpResponse {
  int status = 200;
  QByteArray body;
  QByteArray contentType = "text/plain; charset=utf-8";
  std::vector<std::pair<QByteArray, QByteArray>> headers;
  int delayMs = 0;        // wait this long before answering
  int64_t bodySize = -1;  // >= 0: send this many bytes, repeating `body` (or 'x')
  bool sendContentLength = true;
  bool dropConnection = false;    // close without a reply
  int trickleBytesPerSecond = 0;  // > 0: the body a tenth of this every 100 ms
  int64_t cutAfterBytes = -1;     // >= 0: the connection drops after this much body
  bool rangeRequests = false;     // answer "Range: bytes=N-" with 206 and the rest of `body`
};

struct HttpRequest {
  QByteArray method;
  QByteArray target;  // path and query, as sent
  QByteArray path;    // without the query
  QByteArray query;   // after '?', undecoded
  QByteArray headers;
};

class HttpTestServer {
 public:
  HttpTestServer();
  ~HttpTestServer();
  HttpTestServer(const HttpTestServer&) = delete;
  HttpTestServer& operator=(const HttpTestServer&) = delete;

  uint16_t Port() const { return port_; }
  // "http://127.0.0.1:<port>" followed by `pathAndQuery`.
  QString Url(const QString& pathAndQuery) const;

  // Answers requests for `path` (exact, without query). Unrouted paths get 404.
  void Route(const QByteArray& path, HttpResponse response);

  std::vector<HttpRequest> Requests() const;
  int RequestCount() const;

 private:
  void AcceptLoop();
  void Serve(int client);
  bool WaitForStop(int milliseconds);  // true when stopping

  int listenFd_ = -1;
  int wakePipe_[2] = {-1, -1};
  uint16_t port_ = 0;
  std::atomic<bool> stopping_{false};
  mutable std::mutex mutex_;
  std::map<QByteArray, HttpResponse> routes_;
  std::vector<HttpRequest> requests_;
  std::vector<std::thread> workers_;
  std::thread acceptThread_;
};

}  // namespace zelvaro::test
