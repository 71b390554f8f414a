#pragma once
// SubRip readers. ConvertSrtToAss is the normal path: line by line into the
// ASS script that libass reads. ParseSrtCues is the fall-back when libass
// cannot be set up or refuses the script: a plain list of cues that the
// provider draws itself. Both take decoded UTF-8 (see text_decoding.h) and
// never fail on malformed input. Reentrant.

#include "subtitles/subtitle_style.h"

#include <QString>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelvaro {

struct SrtCue {
  int32_t Index = 0;
  int64_t StartMs = 0;
  int64_t EndMs = 0;
  QString Text;  // lines joined by LF

  bool operator==(const SrtCue&) const = default;
};

// Never empty: the header is written even when no cue was found. Tags such as
// <i> or <font> are removed without effect on the look; {\...} override
// blocks go through to libass.
// Removes every "<...>" tag; a "<" without a later ">" stays with what follows.
std::string StripSrtTags(std::string_view text);

std::string ConvertSrtToAss(const SubtitleStyle& style, std::string_view utf8);

// Returns whether any cue with text was found.
bool ParseSrtCues(std::string_view utf8, std::vector<SrtCue>* cues);

// "H:M:S,F" or "H:M:S.F" with scanf rules (leading blanks skipped, anything
// behind the fourth number ignored); F counts as milliseconds as written, so
// ",5" is 5 ms. Anything else, including forms without hours, gives 0.
int64_t ParseSrtTime(const std::string& text);
// "H:M:S.F" after every "," became "."; failure gives 0.
int64_t ParseCueTime(const std::string& text);
// Whether a timing names a time no clock shows: minutes or seconds outside
// 0..59, or a negative field. Such a cue is dropped rather than shown for an
// hour. Text that doesn't parse at all is not "out of range" (it gives 0).
bool SrtTimeOutOfRange(const std::string& text);

// Calls `line` for each line of `text` as a newline-delimited read gives them,
// with one trailing CR removed. A text without any LF has old-Mac line ends:
// there a CR alone ends each line.
template <typename LineFn>
void ForEachSubtitleLine(std::string_view text, LineFn&& line) {
  const char separator = text.find('\n') == std::string_view::npos ? '\r' : '\n';
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(separator, start);
    const size_t next = end == std::string_view::npos ? text.size() : end + 1;
    if (end == std::string_view::npos) end = text.size();
    std::string_view current = text.substr(start, end - start);
    if (!current.empty() && current.back() == '\r') current.remove_suffix(1);
    line(current);
    start = next;
  }
}

}  // namespace zelvaro
