#pragma once
// The LRCLIB lyrics service: one GET on "<endpoint>/api/get" with the
// track's title, artist and duration, and its JSON reply read into
// LyricsData (timed "syncedLyrics" first, else "plainLyrics").
//
// The endpoint is the `LyricsEndpoint` setting (https://lrclib.net unless
// set; tests point it at a loopback server). Requests go out over HTTPS only
// (plain HTTP to loopback alone), with time-outs and a size cap.
//
// Threads: FetchLrclib blocks on the network: the lyrics worker's. The rest
// is pure and safe anywhere.

#include "foundation/download.h"
#include "lyrics/lyrics_data.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <string>
#include <string_view>

namespace zelvaro {

inline constexpr char16_t kDefaultLyricsEndpoint[] = u"https://lrclib.net";

// The setting without trailing slashes; empty when the user emptied it.
QString LyricsEndpoint();

// Letters, digits and "-._~" stay; every other byte becomes "%XX".
std::string UrlEncode(std::string_view utf8);

// "<endpoint>/api/get?track_name=...[&artist_name=...][&duration=...]".
QString LrclibUrl(const QString& endpoint, const QString& title, const QString& artist,
                  int durationSec);

// A reply body as lyrics. False for anything that is not an object with a
// usable string (invalid JSON, null, other types, empty texts).
bool ReadLrclibReply(const QByteArray& body, LyricsData* data);

struct LrclibOptions {
  QString endpoint = LyricsEndpoint();
  HttpGetLimits limits;
  const std::atomic<bool>* cancel = nullptr;
};

bool FetchLrclib(const QString& title, const QString& artist, int durationSec, LyricsData* data,
                 const LrclibOptions& options = {});

}  // namespace zelvaro
