#include "lyrics/lrclib.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/text_conversion.h"
#include "lyrics/lrc_parser.h"

#include <nlohmann/json.hpp>

namespace zelvaro {
namespace {

constexpr char kUserAgent[] = "Zelvaro/1.0";

bool IsUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '_' || c == '~';
}

// The member `key` when it is a non-empty string; anything else reads as empty.
QString StringMember(const nlohmann::json& reply, const char* key) {
  const auto found = reply.find(key);
  if (found == reply.end() || !found->is_string()) return {};
  return Utf8ToWide(found->get_ref<const std::string&>());
}

}  // namespace

QString LyricsEndpoint() {
  QString endpoint =
      Settings::GetStringOr(setting::kLyricsEndpoint, QString::fromUtf16(kDefaultLyricsEndpoint));
  while (endpoint.endsWith(u'/')) endpoint.chop(1);
  return endpoint;
}

std::string UrlEncode(std::string_view utf8) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(utf8.size() * 3);
  for (const char c : utf8) {
    const auto byte = static_cast<unsigned char>(c);
    if (IsUnreserved(byte)) {
      out += c;
    } else {
      out += '%';
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
    }
  }
  return out;
}

QString LrclibUrl(const QString& endpoint, const QString& title, const QString& artist,
                  int durationSec) {
  std::string url = WideToUtf8(endpoint) + "/api/get?track_name=" + UrlEncode(WideToUtf8(title));
  if (!artist.isEmpty()) url += "&artist_name=" + UrlEncode(WideToUtf8(artist));
  if (durationSec > 0) url += "&duration=" + std::to_string(durationSec);
  return QString::fromStdString(url);
}

bool ReadLrclibReply(const QByteArray& body, LyricsData* data) {
  *data = LyricsData();
  const nlohmann::json reply =
      nlohmann::json::parse(body.begin(), body.end(), nullptr, /*allow_exceptions=*/false);
  if (!reply.is_object()) return false;
  const QString synced = StringMember(reply, "syncedLyrics");
  if (!synced.isEmpty() && ParseLrc(synced, data)) return true;
  const QString plain = StringMember(reply, "plainLyrics");
  *data = UntimedLyrics(plain);
  return !data->lines.empty();
}

bool FetchLrclib(const QString& title, const QString& artist, int durationSec, LyricsData* data,
                 const LrclibOptions& options) {
  *data = LyricsData();
  if (options.endpoint.isEmpty() || title.isEmpty()) return false;
  const QByteArray body = HttpGet(LrclibUrl(options.endpoint, title, artist, durationSec),
                                  kUserAgent, options.limits, options.cancel);
  return !body.isEmpty() && ReadLrclibReply(body, data);
}

}  // namespace zelvaro
