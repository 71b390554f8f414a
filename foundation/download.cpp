#include "foundation/download.h"

#include "foundation/c_handle.h"
#include "foundation/text_conversion.h"
#include "foundation/trace.h"

#include <QFile>
#include <QUrl>

#include <arpa/inet.h>
#include <curl/curl.h>

#include <cstdio>
#include <mutex>

namespace zelvaro {
namespace {

using CurlHandle = CHandle<CURL, curl_easy_cleanup>;

struct Transfer {
  std::FILE* file = nullptr;
  int64_t written = 0;
  int64_t limit = 0;
  const std::atomic<bool>* cancel = nullptr;
};

size_t WriteToFile(char* data, size_t size, size_t count, void* user) {
  auto* transfer = static_cast<Transfer*>(user);
  const size_t bytes = size * count;
  if (transfer->written + static_cast<int64_t>(bytes) > transfer->limit) return 0;  // aborts
  transfer->written += static_cast<int64_t>(bytes);
  return std::fwrite(data, 1, bytes, transfer->file);
}

int Progress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  auto* transfer = static_cast<Transfer*>(user);
  return transfer->cancel != nullptr && transfer->cancel->load() ? 1 : 0;
}

struct MemoryTransfer {
  QByteArray body;
  int64_t limit = 0;
  const std::atomic<bool>* cancel = nullptr;
};

size_t WriteToMemory(char* data, size_t size, size_t count, void* user) {
  auto* transfer = static_cast<MemoryTransfer*>(user);
  const size_t bytes = size * count;
  // A reply without a length is stopped here rather than by the announced size.
  if (transfer->body.size() + static_cast<int64_t>(bytes) > transfer->limit) return 0;
  transfer->body.append(data, static_cast<qsizetype>(bytes));
  return bytes;
}

int MemoryProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  auto* transfer = static_cast<MemoryTransfer*>(user);
  return transfer->cancel != nullptr && transfer->cancel->load() ? 1 : 0;
}

void InitCurlOnce() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

}  // namespace

bool IsAllowedDownloadUrl(const QString& url) {
  const QUrl parsed(url, QUrl::StrictMode);
  if (!parsed.isValid() || parsed.host().isEmpty()) return false;
  const QString scheme = parsed.scheme().toLower();
  if (scheme == u"https") return true;
  if (scheme != u"http") return false;
  const QString host = parsed.host().toLower();
  if (host == u"localhost") return true;
  const QByteArray address = host.toLatin1();
  in_addr ipv4{};
  if (inet_pton(AF_INET, address.constData(), &ipv4) == 1) return (ntohl(ipv4.s_addr) >> 24) == 127;
  in6_addr ipv6{};
  return inet_pton(AF_INET6, address.constData(), &ipv6) == 1 &&
         IN6_IS_ADDR_LOOPBACK(&ipv6);
}

bool DownloadToFile(const QString& url, const QString& targetPath, const char* userAgent,
                    int64_t maxBytes, const std::atomic<bool>* cancel) {
  if (!IsAllowedDownloadUrl(url)) {
    Trace("download refused, not https: %s", qPrintable(url));
    return false;
  }
  const std::string utf8Url = WideToUtf8(url);
  std::FILE* file = std::fopen(QFile::encodeName(targetPath).constData(), "wb");
  if (file == nullptr) return false;

  InitCurlOnce();
  CurlHandle curl{curl_easy_init()};
  if (!curl) {
    std::fclose(file);
    return false;
  }
  Transfer transfer{file, 0, maxBytes, cancel};
  CURL* handle = curl.get();
  curl_easy_setopt(handle, CURLOPT_URL, utf8Url.c_str());
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &WriteToFile);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &transfer);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT, 120L);
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, 10L);
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(handle, CURLOPT_USERAGENT, userAgent);
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "https");
  curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(maxBytes));
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, &Progress);
  curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &transfer);
  curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);

  const CURLcode result = curl_easy_perform(handle);
  curl.reset();
  const bool closed = std::fclose(file) == 0;
  if (result != CURLE_OK) {
    Trace("download of %s failed: %s", utf8Url.c_str(), curl_easy_strerror(result));
    return false;
  }
  return closed;
}

QByteArray HttpGet(const QString& url, const char* userAgent, const HttpGetLimits& limits,
                   const std::atomic<bool>* cancel) {
  if (!IsAllowedDownloadUrl(url)) {
    Trace("request refused, not https: %s", qPrintable(url));
    return {};
  }
  const std::string utf8Url = WideToUtf8(url);
  InitCurlOnce();
  CurlHandle curl{curl_easy_init()};
  if (!curl) return {};
  MemoryTransfer transfer{QByteArray(), limits.maxBytes, cancel};
  CURL* handle = curl.get();
  curl_easy_setopt(handle, CURLOPT_URL, utf8Url.c_str());
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &WriteToMemory);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &transfer);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(limits.totalTimeoutMs));
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connectTimeoutMs));
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(handle, CURLOPT_MAXREDIRS, 5L);
  curl_easy_setopt(handle, CURLOPT_USERAGENT, userAgent);
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "https");
  curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(limits.maxBytes));
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, &MemoryProgress);
  curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &transfer);
  curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
  const CURLcode result = curl_easy_perform(handle);
  long status = 0;
  curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
  if (result != CURLE_OK || status != 200) {
    Trace("request of %s failed: %s, status %ld", utf8Url.c_str(), curl_easy_strerror(result),
          status);
    return {};
  }
  return std::move(transfer.body);
}

}  // namespace zelvaro
