#pragma once
// LRC lyrics: reading a lyrics file into text, parsing the text into
// LyricsData, and SubRip text of the timed lines, which is how lyrics reach
// the picture as subtitles. Pure functions, any thread.

#include "lyrics/lyrics_data.h"

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <cstdint>

namespace zelvaro {

// A lyrics file as text. A byte-order mark (UTF-8, UTF-16 LE/BE) wins, then
// valid UTF-8, then the guessed legacy charset. False for a file that cannot
// be read, is empty, is larger than kMaxLyricsFileBytes, or decodes to nothing.
inline constexpr qint64 kMaxLyricsFileBytes = 8 * 1024 * 1024;
bool ReadLyricsFile(const QString& path, QString* text);
QString DecodeLyricsBytes(const QByteArray& bytes);

// Clears `data` and fills it; true when at least one timed line was found.
// "[ar:]", "[ti:]", "[al:]" and "[offset:]" fill the metadata; any tag that
// is not a time ends its line. A line keeps its text once per leading time
// tag, shifted by the offset seen so far.
bool ParseLrc(QStringView text, LyricsData* data);

// "m:ss", "mm:ss.xx", "mmm:ss.xxx", "m:ss:xx"... in milliseconds; -1 when
// the text is not a time.
int64_t ParseLrcTime(QStringView tag);

// SubRip blocks of the lines with text, each lasting until the next line's
// time (the last one 5 s), CR LF line ends. Empty without such lines.
QString LyricsToSrt(const LyricsData& data);
// "hh:mm:ss,mmm"; a negative time is written as 0.
QString FormatSrtTime(int64_t timeMs);

}  // namespace zelvaro
