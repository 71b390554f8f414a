#pragma once
// Picture subtitles (Blu-ray PGS, DVD and DVB sub-pictures) once decoded:
// each cue is a few bitmaps placed on the stream's own canvas, drawn scaled
// from that canvas to the picture as shown, through the same sub-pictures as
// text. The track lives in the provider (CSubtitleProvider::AdoptBitmapTrack)
// and is fed by SubtitleManager::AddBitmapCue from the decoder's thread.
//
// BitmapCueList is not thread-safe (the provider guards it); DrawBitmapCue
// is reentrant.

#include "subtitles/subpic.h"

#include <QImage>
#include <QRect>
#include <QSize>

#include <cstdint>
#include <utility>
#include <vector>

namespace zelvaro {

inline constexpr int64_t kBitmapCueOpenEndMs = INT64_MAX / 20'000;

struct BitmapSubtitlePart {
  QRect canvasRect;  // where on the canvas
  QImage image;      // any format QPainter draws; indexed keeps a cue small
};

struct BitmapSubtitleCue {
  int64_t startMs = 0;
  // Until the next cue when the stream gives no end (PGS: a later display
  // set replaces or clears this one).
  int64_t endMs = kBitmapCueOpenEndMs;
  QSize canvas;
  std::vector<BitmapSubtitlePart> parts;  // none: the screen clears at startMs
};

// The cues of one stream in time order, as the demuxer hands them out:
// again after a seek back (kept once), and out of order after a seek. Only
// one cue shows at a time: each ends where the next begins. Old cues go
// when the pictures held pass a budget, the farthest from the newest first.
class BitmapCueList {
 public:
  explicit BitmapCueList(int64_t budgetBytes = 64LL << 20) : budgetBytes_(budgetBytes) {}

  // Whether what shows anywhere changed.
  bool Add(BitmapSubtitleCue cue);
  void Clear();
  const BitmapSubtitleCue* At(int64_t timeMs) const;
  // [start, end) of every cue, in milliseconds.
  std::vector<std::pair<int64_t, int64_t>> Intervals() const;

 private:
  static int64_t BytesOf(const BitmapSubtitleCue& cue);

  int64_t budgetBytes_;
  int64_t bytes_ = 0;
  std::vector<BitmapSubtitleCue> cues_;  // by startMs, no two alike
};

// Draws `cue` with its canvas stretched over the whole of `target`; grows
// `bbox` over what it touched. Returns whether anything was drawn.
bool DrawBitmapCue(const BitmapSubtitleCue& cue, const SubPicDesc& target, SubPicRect* bbox);

}  // namespace zelvaro
