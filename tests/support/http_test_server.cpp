#include "tests/support/http_test_server.h"

#include <QList>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace zelvaro::test {
namespace {

constexpr size_t kMaxRequestHeaderBytes = 64 * 1024;

QByteArray ReasonPhrase(int status) {
  static const std::map<int, QByteArray> kPhrases = {{200, "OK"},
                                                     {204, "No Content"},
                                                     {206, "Partial Content"},
                                                     {301, "Moved Permanently"},
                                                     {302, "Found"},
                                                     {400, "Bad Request"},
                                                     {404, "Not Found"},
                                                     {500, "Internal Server Error"},
                                                     {503, "Service Unavailable"}};
  const auto it = kPhrases.find(status);
  return it == kPhrases.end() ? QByteArray("Status") : it->second;
}

}  // namespace

HttpTestServer::HttpTestServer() {
  if (::pipe2(wakePipe_, O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
  listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listenFd_ < 0) throw std::runtime_error("socket failed");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = 0;
  if (::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      ::listen(listenFd_, 64) != 0) {
    throw std::runtime_error("bind/listen on 127.0.0.1 failed");
  }
  socklen_t length = sizeof(address);
  ::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &length);
  port_ = ntohs(address.sin_port);
  acceptThread_ = std::thread([this] { AcceptLoop(); });
}

HttpTestServer::~HttpTestServer() {
  stopping_ = true;
  [[maybe_unused]] ssize_t n = ::write(wakePipe_[1], "x", 1);
  acceptThread_.join();
  std::vector<std::thread> workers;
  {
    std::lock_guard lock(mutex_);
    workers.swap(workers_);
  }
  for (std::thread& worker : workers) worker.join();
  ::close(listenFd_);
  ::close(wakePipe_[0]);
  ::close(wakePipe_[1]);
}

QString HttpTestServer::Url(const QString& pathAndQuery) const {
  return QStringLiteral("http://127.0.0.1:%1").arg(port_) + pathAndQuery;
}

void HttpTestServer::Route(const QByteArray& path, HttpResponse response) {
  std::lock_guard lock(mutex_);
  routes_[path] = std::move(response);
}

std::vector<HttpRequest> HttpTestServer::Requests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

int HttpTestServer::RequestCount() const {
  std::lock_guard lock(mutex_);
  return static_cast<int>(requests_.size());
}

bool HttpTestServer::WaitForStop(int milliseconds) {
  pollfd wake{wakePipe_[0], POLLIN, 0};
  ::poll(&wake, 1, milliseconds);
  return stopping_;
}

void HttpTestServer::AcceptLoop() {
  while (!stopping_) {
    pollfd fds[2] = {{listenFd_, POLLIN, 0}, {wakePipe_[0], POLLIN, 0}};
    if (::poll(fds, 2, -1) < 0 && errno != EINTR) return;
    if (stopping_) return;
    if ((fds[0].revents & POLLIN) == 0) continue;
    int client = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;
    std::lock_guard lock(mutex_);
    workers_.emplace_back([this, client] {
      Serve(client);
      ::close(client);
    });
  }
}

void HttpTestServer::Serve(int client) {
  QByteArray received;
  char buffer[4096];
  while (!received.contains("\r\n\r\n")) {
    pollfd fds[2] = {{client, POLLIN, 0}, {wakePipe_[0], POLLIN, 0}};
    if (::poll(fds, 2, 10000) <= 0 || stopping_) return;
    ssize_t n = ::recv(client, buffer, sizeof(buffer), 0);
    if (n <= 0) return;
    received.append(buffer, n);
    if (static_cast<size_t>(received.size()) > kMaxRequestHeaderBytes) return;
  }

  HttpRequest request;
  const QByteArray head = received.left(received.indexOf("\r\n\r\n"));
  const QByteArray requestLine = head.left(head.indexOf("\r\n"));
  const QList<QByteArray> parts = requestLine.split(' ');
  if (parts.size() < 2) return;
  request.method = parts[0];
  request.target = parts[1];
  const qsizetype question = request.target.indexOf('?');
  request.path = question < 0 ? request.target : request.target.left(question);
  request.query = question < 0 ? QByteArray() : request.target.mid(question + 1);
  request.headers = head.mid(requestLine.size() + 2);

  HttpResponse response;
  {
    std::lock_guard lock(mutex_);
    requests_.push_back(request);
    auto it = routes_.find(request.path);
    if (it != routes_.end()) {
      response = it->second;
    } else {
      response.status = 404;
      response.body = "not found";
    }
  }
  // A scripted body answers "Range: bytes=N-" as a real server does, so a
  // client can seek in it.
  if (response.rangeRequests && response.status == 200 && response.bodySize < 0) {
    const QByteArray lower = request.headers.toLower();
    const qsizetype at = lower.indexOf("range: bytes=");
    const qsizetype size = response.body.size();
    bool ok = false;
    const qsizetype from =
        at < 0 ? 0 : lower.mid(at + 13, lower.indexOf('-', at) - at - 13).trimmed().toLongLong(&ok);
    if (ok && from > 0 && from < size) {
      response.status = 206;
      response.headers.emplace_back("Content-Range", "bytes " + QByteArray::number(from) + '-' +
                                                         QByteArray::number(size - 1) + '/' +
                                                         QByteArray::number(size));
      response.body = response.body.mid(from);
    }
    response.headers.emplace_back("Accept-Ranges", "bytes");
  }
  if (response.delayMs > 0 && WaitForStop(response.delayMs)) return;
  if (response.dropConnection) return;

  const QByteArray filler = response.body.isEmpty() ? QByteArray("x") : response.body;
  const int64_t total = response.bodySize >= 0 ? response.bodySize : response.body.size();
  QByteArray header = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' +
                      ReasonPhrase(response.status) +
                      "\r\nConnection: close\r\nContent-Type: " + response.contentType + "\r\n";
  if (response.sendContentLength) header += "Content-Length: " + QByteArray::number(total) + "\r\n";
  for (const auto& [name, value] : response.headers) header += name + ": " + value + "\r\n";
  header += "\r\n";

  auto sendAll = [&](const char* data, int64_t size) {
    while (size > 0) {
      if (stopping_) return false;
      ssize_t n = ::send(client, data, static_cast<size_t>(size), MSG_NOSIGNAL);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return false;
      data += n;
      size -= n;
    }
    return true;
  };
  if (!sendAll(header.constData(), header.size())) return;
  if (request.method == "HEAD") return;
  int64_t sent = 0;
  QByteArray chunk;
  while (sent < total) {
    if (response.bodySize < 0) {
      chunk = response.body.mid(static_cast<qsizetype>(sent));
    } else {
      chunk = filler.repeated(std::max<qsizetype>(1, 65536 / filler.size()));
      chunk.truncate(static_cast<qsizetype>(std::min<int64_t>(chunk.size(), total - sent)));
    }
    if (response.trickleBytesPerSecond > 0) {
      const int64_t slice = std::max(1, response.trickleBytesPerSecond / 10);
      chunk = chunk.mid(0, static_cast<qsizetype>(std::min<int64_t>(slice, chunk.size())));
      if (sent > 0 && WaitForStop(100)) return;
    }
    if (response.cutAfterBytes >= 0) {
      if (sent >= response.cutAfterBytes) return;
      chunk.truncate(
          static_cast<qsizetype>(std::min<int64_t>(chunk.size(), response.cutAfterBytes - sent)));
    }
    if (!sendAll(chunk.constData(), chunk.size())) return;
    sent += chunk.size();
  }
  ::shutdown(client, SHUT_WR);
}

}  // namespace zelvaro::test
