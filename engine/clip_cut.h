#pragma once
// Lossless clip cutting: the time texts of the cutting dialog, the name a
// cut is proposed under, and the ffmpeg job that copies a range of the open
// file into a new one without re-encoding (ExternalTool, external_tool.h).
//
// Threads: the functions are pure and run on any thread. The job they build
// is run off the interface thread (ExternalToolTask), so the window keeps
// answering however long the copy takes, and it can be cancelled.

#include "engine/external_tool.h"

#include <QDateTime>
#include <QString>
#include <QStringView>

namespace zelvaro {

// "hh:mm:ss.mmm", milliseconds rounded; a negative time reads as 0.
QString FormatClipTime(double seconds);
// "h:m:s.mmm", "m:s", "s", each with an optional fraction; whatever is not a
// number reads as 0, so any text gives a time and none is refused here.
double ParseClipTime(QStringView text);

struct ClipOutputName {
  QString directory;  // where the save dialog starts; empty for none
  QString fileName;   // base + "_cut_YYYYMMDD_hhmmss" + extension
  QString extension;  // with its dot; ".mp4" when the source has none
};
// The name a cut of `sourcePath` is offered under at local time `now`.
ClipOutputName ProposeClipOutput(const QString& sourcePath, const QDateTime& now);

// ffmpeg's arguments to copy [startSeconds, endSeconds) of `sourcePath`
// into `outputPath`: a stream copy starting at the keyframe before the
// start, time stamps moved to begin at zero. Paths pass as "file:" URLs so
// that a name starting with a dash or holding a colon stays a name. The job
// reports progress; its output is removed unless it succeeds.
ExternalToolJob MakeCutJob(const QString& sourcePath, double startSeconds, double endSeconds,
                           const QString& outputPath);

inline constexpr int kCutTimeoutMs = 300'000;

}  // namespace zelvaro
