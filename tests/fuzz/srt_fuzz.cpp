// The SubRip readers on arbitrary bytes, decoded as a subtitle file is and
// also raw: never crash; the script always has its header, and the cues feed
// a timeline that answers for any time.
#include "subtitles/event_timeline.h"
#include "subtitles/srt_converter.h"
#include "subtitles/text_decoding.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view raw(reinterpret_cast<const char*>(data), size);
  const zelvaro::SubtitleStyle style;
  const auto decoded = zelvaro::DecodeSubtitleText(
      QByteArray(raw.data(), static_cast<qsizetype>(size)), zelvaro::SubtitleTextKind::kGeneric);
  if (!zelvaro::IsValidUtf8(decoded.Utf8.data(), decoded.Utf8.size())) std::abort();
  for (std::string_view text : {std::string_view(decoded.Utf8), raw}) {
    const std::string script = zelvaro::ConvertSrtToAss(style, text);
    if (script.rfind("[Script Info]\n", 0) != 0) std::abort();
    std::vector<zelvaro::SrtCue> cues;
    if (zelvaro::ParseSrtCues(text, &cues) == cues.empty()) std::abort();
    std::vector<std::pair<int64_t, int64_t>> intervals;
    for (const auto& cue : cues) intervals.emplace_back(cue.StartMs, cue.EndMs);
    zelvaro::EventTimeline timeline;
    timeline.Build(intervals);
    for (const auto& [start, stop] : intervals) {
      const auto segment = timeline.SegmentAt(start);
      if (stop > start && (!segment || segment->first > start || segment->second <= start))
        std::abort();
    }
  }
  return 0;
}
