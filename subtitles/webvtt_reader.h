#pragma once
// WebVTT reader. Every cue is kept, with or without an identifier; cue
// settings, STYLE, REGION and NOTE blocks are ignored; tags (<i>, <c.x>,
// <v Name>, <00:01.000>) are stripped and &amp; &lt; &gt; &nbsp; decoded.
// A file without the WEBVTT signature is read all the same. Takes decoded
// UTF-8 (see text_decoding.h); never fails on malformed input. Reentrant.

#include "subtitles/srt_converter.h"
#include "subtitles/subtitle_style.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvaro {

// Cues in file order, numbered from 1; returns whether any cue had text.
bool ParseWebVttCues(std::string_view utf8, std::vector<SrtCue>* cues);

// The script of ConvertSrtToAss's form from the cues above; never empty.
std::string ConvertWebVttToAss(const SubtitleStyle& style, std::string_view utf8);

// "[hh:]mm:ss.fff" in milliseconds; any number of hour digits, and a
// fraction of one to three digits read as a decimal fraction (".5" is 500).
// A comma is taken for the point. Nothing else may stand in the text, and
// minutes and seconds stop at 59.
std::optional<int64_t> ParseWebVttTime(std::string_view text);

}  // namespace zelvaro
