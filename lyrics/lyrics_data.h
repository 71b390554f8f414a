#pragma once
// Lyrics: what the lyrics panel shows and what timed lines become on the
// picture. The records are plain values, copied freely between the lyrics
// worker and the interface thread; nothing here is shared.
//
// Parsing (lrc_parser.h), finding (lyrics_sources.h), the service
// (lrclib.h) and the whole search for one file (lyrics_search.h) are
// window-free and safe on any thread; the panel (lyrics_window.h) is the
// interface thread's.

#include <QString>

#include <cstdint>
#include <vector>

namespace zelvaro {

struct LyricLine {
  int64_t timeMs = 0;
  QString text;  // may be empty: such a line only ends the one before it
};

struct LyricsData {
  QString artist;
  QString title;
  QString album;
  int32_t offsetMs = 0;
  bool synced = false;
  std::vector<LyricLine> lines;  // sorted by time
};

// Untimed text as lyrics: every non-empty line, 5 s apart from 0, unsynced.
// Lines split at LF; a CR before it is dropped.
LyricsData UntimedLyrics(const QString& text);

// The index of the last line timed at or before `timeMs`, -1 before the
// first (or without lines). Binary search: the lines are sorted.
int LyricLineAt(const std::vector<LyricLine>& lines, int64_t timeMs);

}  // namespace zelvaro
