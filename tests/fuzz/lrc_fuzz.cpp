// The LRC parser and the SubRip writer on arbitrary bytes decoded as a
// lyrics file is: never crash, lines come out sorted, and every SubRip block
// ends after it starts.
#include "lyrics/lrc_parser.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QString text = zelvaro::DecodeLyricsBytes(
      QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
  zelvaro::LyricsData lyrics;
  if (zelvaro::ParseLrc(text, &lyrics) != !lyrics.lines.empty()) std::abort();
  for (size_t i = 1; i < lyrics.lines.size(); ++i) {
    if (lyrics.lines[i - 1].timeMs > lyrics.lines[i].timeMs) std::abort();
  }
  const QString srt = zelvaro::LyricsToSrt(lyrics);
  if (!srt.isEmpty() && !srt.startsWith(u"1\r\n")) std::abort();
  zelvaro::LyricLineAt(lyrics.lines, static_cast<int64_t>(size) * 1000);
  return 0;
}
