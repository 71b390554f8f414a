#pragma once
// The whole lyrics search for one opened file, as the lyrics worker runs it:
// a side .lrc file, else the file's own lyrics tag, else the LRCLIB service
// asked with the file's tags (or its name). Timed local lyrics end the
// search; untimed ones are reported early and the service is still asked,
// since its answer may be timed.
//
// Threads: blocks on ffmpeg, MediaInfo and the network: the worker's only.
// Results are owned by the caller.

#include "lyrics/lrclib.h"
#include "lyrics/lyrics_data.h"

#include <QString>

#include <atomic>
#include <functional>
#include <memory>

namespace zelvaro {

struct LyricsRequest {
  QString mediaPath;
  // Asked when the file has no tags (or MediaInfo is missing).
  QString title;
  QString artist;
  int durationSec = 0;
};

using LyricsReport = std::function<void(std::unique_ptr<LyricsData> lyrics)>;

// The best lyrics found, or null. `early` (may be empty) receives untimed
// local lyrics before the service is asked. Gives up between steps once
// `cancel` is set, and the request itself stops within a second.
std::unique_ptr<LyricsData> SearchLyrics(const LyricsRequest& request,
                                         const std::atomic<bool>& cancel,
                                         const LyricsReport& early = {},
                                         LrclibOptions service = {});

}  // namespace zelvaro
