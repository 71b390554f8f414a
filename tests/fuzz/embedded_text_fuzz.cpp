// The text of an embedded subtitle sample (SubRip, WebVTT, mov_text, Pango
// markup) made into an ASS event's text on arbitrary bytes: the result must
// stay one line, or libass would read the rest as fields of another event.
#include "subtitles/subtitle_stream_track.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view sample(reinterpret_cast<const char*>(data), size);
  for (bool markup : {false, true}) {
    const std::string text = zelvaro::EmbeddedTextToAss(sample, markup);
    if (text.find_first_of("\r\n") != std::string::npos) std::abort();
    const std::string chunk = zelvaro::AssStreamChunk(1, text);
    if (chunk != "1,0,Default,,0,0,0,," + text) std::abort();
  }
  return 0;
}
