#pragma once
// A queue between the video decoder and the renderer that makes the decoder
// work in bursts: it fills the queue, sleeps while the renderer takes most of
// it away at the stream's pace, and then fills it again. Waking the decoder
// (and its worker threads) once per burst instead of once per frame costs
// measurably less CPU at 1x on an idle machine, where each wake-up finds cold
// caches and a sleeping core.
//
// The queue's own limit does the blocking, so flushes, seeks and state
// changes behave as for any queue; the hysteresis only moves that limit
// between `depth` (filling) and `refill + 1` (draining).

#include "engine/gst_ref.h"

namespace zelvaro {

struct BurstDepth {
  int depth = 0;   // frames the queue holds when full
  int refill = 0;  // the decoder wakes when no more than this many are left
};

// The depth for pictures of this size: deep enough to make bursts, bounded
// to about 14 MB of 8-bit 4:2:0 frames, never below four frames.
BurstDepth BurstDepthFor(int width, int height);

// A "queue" element named `name` set up as above; null when queue is missing.
ElementRef MakeBurstQueue(const BurstDepth& depth, const char* name);

}  // namespace zelvaro
