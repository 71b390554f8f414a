#include "lyrics/lyrics_search.h"

#include "foundation/trace.h"
#include "lyrics/lrc_parser.h"
#include "lyrics/lyrics_sources.h"

namespace zelvaro {

std::unique_ptr<LyricsData> SearchLyrics(const LyricsRequest& request,
                                         const std::atomic<bool>& cancel, const LyricsReport& early,
                                         LrclibOptions service) {
  if (request.mediaPath.isEmpty()) return nullptr;
  auto lyrics = std::make_unique<LyricsData>();

  const QString lrcPath = FindLrcFile(request.mediaPath);
  QString text;
  if (!lrcPath.isEmpty() && ReadLyricsFile(lrcPath, &text) && ParseLrc(text, lyrics.get())) {
    Trace("Lyrics from %s", qPrintable(lrcPath));
    return lyrics;
  }
  if (cancel) return nullptr;

  if (ReadEmbeddedLyrics(request.mediaPath, lyrics.get(), &cancel)) {
    if (lyrics->synced) return lyrics;
    if (early) early(std::make_unique<LyricsData>(*lyrics));
  }
  if (cancel) return nullptr;

  MediaTags tags;
  if (!ReadMediaTags(request.mediaPath, &tags)) {
    tags.title = request.title;
    tags.artist = request.artist;
    tags.durationSec = request.durationSec;
  }
  if (tags.durationSec <= 0) tags.durationSec = request.durationSec;
  if (cancel) return nullptr;

  service.cancel = &cancel;
  auto found = std::make_unique<LyricsData>();
  if (!FetchLrclib(tags.title, tags.artist, tags.durationSec, found.get(), service)) return nullptr;
  return found;
}

}  // namespace zelvaro
