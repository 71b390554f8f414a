#pragma once
// One blocking HTTPS download into a file, for the update thread.
//
// Only https URLs are fetched, and plain http only from loopback addresses
// (tests run their servers there); redirects may go to https only. Gives up
// after 10 s without a connection, 120 s in all, or past `maxBytes`. The
// HTTP status is not looked at: an error page from the server counts as a
// download, so the caller checks what it received. A failed transfer leaves
// the partial file behind for the caller to delete.
//
// Never call it on the interface thread.

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstdint>

namespace zelvaro {

inline constexpr int64_t kDefaultDownloadLimitBytes = 512ll * 1024 * 1024;

bool DownloadToFile(const QString& url, const QString& targetPath, const char* userAgent,
                    int64_t maxBytes = kDefaultDownloadLimitBytes,
                    const std::atomic<bool>* cancel = nullptr);

// Limits of a request whose reply is kept in memory.
struct HttpGetLimits {
  int connectTimeoutMs = 5000;
  int totalTimeoutMs = 15000;
  int64_t maxBytes = 1024 * 1024;
};

// One blocking GET under the same address rules as DownloadToFile. The body
// of a 200 reply; empty for any other status, a refused address, a time-out,
// a body over the limit or a cancel (checked at least once a second).
QByteArray HttpGet(const QString& url, const char* userAgent, const HttpGetLimits& limits = {},
                   const std::atomic<bool>* cancel = nullptr);

// True for https URLs, and for http URLs whose host is 127.0.0.0/8,
// "localhost" or [::1].
bool IsAllowedDownloadUrl(const QString& url);

}  // namespace zelvaro
