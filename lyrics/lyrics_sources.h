#pragma once
// Where the lyrics of a local file come from before the service is asked:
// an .lrc file beside it, the lyrics tag inside it (read by ffmpeg as
// ffmetadata), and its title, artist and duration (read by MediaInfo) for
// the service's query.
//
// Threads: FindLrcFile and ParseFfmetadataLyrics are quick and safe
// anywhere. ReadEmbeddedLyrics runs ffmpeg and ReadMediaTags reads the file
// through MediaInfo: both block for as long as that takes, so they belong to
// the lyrics worker, never to the interface thread.

#include "lyrics/lyrics_data.h"

#include <QByteArray>
#include <QString>

#include <atomic>

namespace zelvaro {

// "<base>.lrc", else "<base><suffix>.lrc" for the subtitle language
// suffixes (".ko", ".en", ".jp", ...) in their order; the base is the path
// up to its last dot. Empty when none exists.
QString FindLrcFile(const QString& mediaPath);

// The lyrics tag in ffmpeg's ffmetadata text ("lyrics", "lyrics-<lang>",
// "unsyncedlyrics"): timed when it parses as LRC, else one line every 5 s.
bool ParseFfmetadataLyrics(const QByteArray& ffmetadata, LyricsData* data);

// Runs ffmpeg on `mediaPath` (at most 5 s; `cancel` stops it) and reads its
// lyrics tag. False without ffmpeg, tag or lines.
bool ReadEmbeddedLyrics(const QString& mediaPath, LyricsData* data,
                        const std::atomic<bool>* cancel = nullptr);

struct MediaTags {
  QString title;  // the file's name without folders and extension when untagged
  QString artist;
  int durationSec = 0;
};
// False when MediaInfo is missing or cannot open the file.
bool ReadMediaTags(const QString& mediaPath, MediaTags* tags);

}  // namespace zelvaro
