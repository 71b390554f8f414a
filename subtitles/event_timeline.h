#pragma once
// The events of a track as a timeline cut at every start and stop: between
// two cuts the set of active events stays the same, which is exactly how
// long one sub-picture can stand. Lookups are binary searches, so a track of
// a million events costs no more per frame than one of ten. Not thread-safe
// (the provider guards it); immutable after Build.

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace zelvaro {

class EventTimeline {
 public:
  // Intervals [start, stop) in milliseconds; empty or inverted ones never show.
  void Build(const std::vector<std::pair<int64_t, int64_t>>& intervalsMs);
  void Clear();

  // The cut-to-cut span holding `timeMs` when an event is active there.
  std::optional<std::pair<int64_t, int64_t>> SegmentAt(int64_t timeMs) const;

 private:
  std::vector<int64_t> cuts_;
  std::vector<uint32_t> activeCounts_;  // events active from cuts_[i] to cuts_[i + 1]
};

}  // namespace zelvaro
