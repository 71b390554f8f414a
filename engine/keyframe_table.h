#pragma once
// The keyframe table of one file and the rules that snap a seek onto it.
//
// ReadKeyframeIndex reads the container's own index (MP4, Matroska/WebM,
// AVI, and any format whose demuxer keeps one) through libavformat: the
// keyframes of the first video stream, as presentation times in 100-ns
// units, sorted ascending. It never reads the stream itself, so a container
// without an index gives an empty table rather than a partial one. Reentrant;
// takes a few milliseconds for a two-hour file.
//
// The snapping functions are pure; each takes the sorted table and 100-ns
// times and is safe anywhere.

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace zelvaro {

std::vector<int64_t> ReadKeyframeIndex(const QString& path);

// Where a snapped seek lands. direction >= 1: the first keyframe not before
// target (the last when all are before). direction < 0: the last keyframe
// strictly before target (the first when none is). direction 0: the nearer
// of the two around target, the earlier on a tie. An empty table returns
// target unchanged.
int64_t SnapToKeyframe(const std::vector<int64_t>& keyframes, int64_t target, int direction);

// The keyframe a "previous keyframe" step goes to from `position`: the one
// before the first keyframe not earlier than position − 0.5 s. Nothing when
// there is none (the step then goes to the start).
std::optional<int64_t> PreviousKeyframeTarget(const std::vector<int64_t>& keyframes,
                                              int64_t position);

// The first keyframe strictly after position + 0.5 s; nothing when there is
// none (the step then goes to the end).
std::optional<int64_t> NextKeyframeTarget(const std::vector<int64_t>& keyframes, int64_t position);

}  // namespace zelvaro
