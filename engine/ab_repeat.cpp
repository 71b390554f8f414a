#include "engine/ab_repeat.h"

#include "foundation/trace.h"

#include <cstdlib>

namespace zelvaro {
namespace {

double Seconds(int64_t time100ns) {
  return static_cast<double>(time100ns) / 1e7;
}

}  // namespace

void ABRepeat::SetMarkA(int64_t position) {
  if (markA > 0 && std::llabs(position - markA) < kNearMark100ns) {
    Clear();
    return;
  }
  markA = position;
  if (markB >= 1 && markB <= position) markB = 0;
  Trace("AB Repeat: Mark A set at %.2f sec", Seconds(markA));
}

void ABRepeat::SetMarkB(int64_t position) {
  if (markA == 0) markA = 1;
  if (position <= markA + kNearMark100ns) return;
  if (markB > 0 && std::llabs(position - markB) < kNearMark100ns) {
    markB = 0;
    lastABJumpMs = 0;
    return;
  }
  markB = position;
  lastABJumpMs = 0;
  Trace("AB Repeat: Mark B set at %.2f sec (A=%.2f)", Seconds(markB), Seconds(markA));
}

std::optional<int64_t> ABRepeat::CheckRepeat(int64_t position, uint64_t nowMs) {
  if (!IsLoop() || position < markB - kEarly100ns) return std::nullopt;
  if (nowMs - lastABJumpMs < kMinJumpIntervalMs) return std::nullopt;
  lastABJumpMs = nowMs;
  return markA;
}

}  // namespace zelvaro
