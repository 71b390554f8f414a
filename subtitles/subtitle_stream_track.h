#pragma once
// Embedded text subtitles as libass events: the text of one sample of a
// stream inside the media file made into the Text field of an ASS event, the
// way side files are (line breaks as \N, tags removed). The track itself
// lives in the provider (CSubtitleProvider::AdoptStreamTrack) and is fed by
// SubtitleManager::AddStreamEvent. Reentrant.

#include <string>
#include <string_view>

namespace zelvaro {

// `markup`: the demuxer gave Pango markup (SubRip in Matroska), whose
// entities (&amp; &lt; &gt; &quot; &apos;) are decoded after the tags go.
std::string EmbeddedTextToAss(std::string_view utf8, bool markup);

// The chunk form libass takes for a stream's event: "ReadOrder,Layer,Style,
// Name,MarginL,MarginR,MarginV,Effect,Text" with the "Default" style.
std::string AssStreamChunk(int readOrder, std::string_view assText);

}  // namespace zelvaro
