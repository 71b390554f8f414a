#pragma once
// The A-B repeat marks and their rules, apart from any graph so they can be
// reasoned about alone. Positions are stream times in 100-ns units; 0 means
// unset, and mark A at 1 (one unit) means "from the start", a value that
// reads as set. Ticks are milliseconds of a monotonic clock.
//
// Plain value; GraphManager holds one and calls it on the interface thread.

#include <cstdint>
#include <optional>

namespace zelvaro {

struct ABRepeat {
  // Marks closer than this to a mark are taken as "remove the mark".
  static constexpr int64_t kNearMark100ns = 10'000'000;
  // The loop closes this much before B, as the position is polled.
  static constexpr int64_t kEarly100ns = 500'000;
  static constexpr uint64_t kMinJumpIntervalMs = 500;

  int64_t markA = 0;
  int64_t markB = 0;
  uint64_t lastABJumpMs = 0;

  // Sets A at `position`, or removes both marks when it is within a second
  // of A; a B that is no longer after A goes.
  void SetMarkA(int64_t position);
  // Sets B at `position` (A becomes the start when unset), unless that is
  // not more than a second after A; within a second of B removes B.
  void SetMarkB(int64_t position);
  // Both marks make a loop.
  bool IsLoop() const { return markA > 0 && markB > markA; }
  // The timer's test at `position` and tick `nowMs`: the time to jump to
  // (mark A) when the loop is due, recording the tick; nothing otherwise.
  std::optional<int64_t> CheckRepeat(int64_t position, uint64_t nowMs);
  void Clear() { *this = ABRepeat{}; }
};

}  // namespace zelvaro
