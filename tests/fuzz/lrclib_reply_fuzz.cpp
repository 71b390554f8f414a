// The lyrics service's reply on arbitrary bytes: never crash or throw, and
// a reply read as lyrics has lines.
#include "lyrics/lrclib.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  zelvaro::LyricsData lyrics;
  const bool read = zelvaro::ReadLrclibReply(
      QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)), &lyrics);
  if (read == lyrics.lines.empty()) std::abort();
  return 0;
}
