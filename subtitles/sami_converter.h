#pragma once
// SAMI to ASS. Deliberately small: a scan for <sync> points with a crude tag
// stripper, not an HTML parser. Classes, languages and style blocks are not
// honoured: every sync of the file goes into one track, in file order, and
// each entry ends where the next sync starts (the last one lasts 5 seconds).
// The look comes from the SubtitleStyle alone. Reentrant.

#include "subtitles/subtitle_style.h"

#include <string>
#include <string_view>

namespace zelvaro {

// `utf8`: the decoded file. Returns the script, or an empty string when the
// file held no sync entry at all.
std::string ConvertSamiToAss(const SubtitleStyle& style, std::string_view utf8);

}  // namespace zelvaro
