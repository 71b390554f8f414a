#include "subtitles/event_timeline.h"

#include <algorithm>

namespace zelvaro {

void EventTimeline::Build(const std::vector<std::pair<int64_t, int64_t>>& intervalsMs) {
  Clear();
  cuts_.reserve(intervalsMs.size() * 2);
  for (const auto& [start, stop] : intervalsMs) {
    if (stop <= start) continue;
    cuts_.push_back(start);
    cuts_.push_back(stop);
  }
  std::sort(cuts_.begin(), cuts_.end());
  cuts_.erase(std::unique(cuts_.begin(), cuts_.end()), cuts_.end());
  if (cuts_.empty()) return;

  // Differences at the cuts, then a running sum.
  std::vector<int64_t> deltas(cuts_.size(), 0);
  auto indexOf = [&](int64_t time) {
    return static_cast<size_t>(std::lower_bound(cuts_.begin(), cuts_.end(), time) - cuts_.begin());
  };
  for (const auto& [start, stop] : intervalsMs) {
    if (stop <= start) continue;
    ++deltas[indexOf(start)];
    --deltas[indexOf(stop)];
  }
  activeCounts_.resize(cuts_.size() - 1);
  int64_t active = 0;
  for (size_t i = 0; i + 1 < cuts_.size(); ++i) {
    active += deltas[i];
    activeCounts_[i] = static_cast<uint32_t>(active);
  }
}

void EventTimeline::Clear() {
  cuts_.clear();
  activeCounts_.clear();
}

std::optional<std::pair<int64_t, int64_t>> EventTimeline::SegmentAt(int64_t timeMs) const {
  const auto after = std::upper_bound(cuts_.begin(), cuts_.end(), timeMs);
  if (after == cuts_.begin() || after == cuts_.end()) return std::nullopt;
  const size_t index = static_cast<size_t>(after - cuts_.begin()) - 1;
  if (activeCounts_[index] == 0) return std::nullopt;
  return std::make_pair(cuts_[index], cuts_[index + 1]);
}

}  // namespace zelvaro
