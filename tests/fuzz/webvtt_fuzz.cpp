// The WebVTT reader on arbitrary bytes: never crashes, keeps cue order and
// numbering, and writes one Dialogue line per cue.
#include "subtitles/text_decoding.h"
#include "subtitles/webvtt_reader.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view raw(reinterpret_cast<const char*>(data), size);
  const zelvaro::SubtitleStyle style;
  const auto decoded = zelvaro::DecodeSubtitleText(
      QByteArray(raw.data(), static_cast<qsizetype>(size)), zelvaro::SubtitleTextKind::kGeneric);
  for (std::string_view text : {std::string_view(decoded.Utf8), raw}) {
    std::vector<zelvaro::SrtCue> cues;
    zelvaro::ParseWebVttCues(text, &cues);
    for (size_t i = 0; i < cues.size(); ++i)
      if (cues[i].Index != static_cast<int32_t>(i + 1) || cues[i].Text.isEmpty()) std::abort();
    const std::string script = zelvaro::ConvertWebVttToAss(style, text);
    size_t dialogues = 0;
    for (size_t at = script.find("\nDialogue: "); at != std::string::npos;
         at = script.find("\nDialogue: ", at + 1))
      ++dialogues;
    // A cue's text can't hold a line end, so each cue is exactly one line.
    if (dialogues != cues.size()) std::abort();
    zelvaro::ParseWebVttTime(text.substr(0, 64));
  }
  return 0;
}
