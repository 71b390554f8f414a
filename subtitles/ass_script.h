#pragma once
// The ASS script that SRT, WebVTT and SAMI are turned into for libass: a fixed
// header in a 384x288 script space, one "Default" style from the user's
// SubtitleStyle, then Dialogue lines. UTF-8, LF line ends. Reentrant.

#include "subtitles/subtitle_style.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zelvaro {

// Everything up to and including the Events "Format:" line.
void AppendAssHeader(const SubtitleStyle& style, std::string* script);

// "Dialogue: 0,<start>,<end>,Default,,0,0,0,,<text>" and LF.
void AppendAssDialogue(int64_t startMs, int64_t endMs, std::string_view text, std::string* script);

// "H:MM:SS.CC"; the hundredths are truncated.
std::string FormatAssTime(int64_t timeMs);

// 0xAARRGGBB as "&HAABBGGRR", the byte order ASS reads.
std::string FormatAssColour(uint32_t argb);

}  // namespace zelvaro
