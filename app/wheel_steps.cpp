#include "app/wheel_steps.h"

#include <algorithm>

namespace zelvaro {
namespace {

constexpr int kMaxDelta = 100 * WheelSteps::kDeltaPerStep;

}  // namespace

int WheelSteps::Add(int delta) {
  if ((delta > 0 && pending_ < 0) || (delta < 0 && pending_ > 0)) pending_ = 0;
  // No wheel sends more than a few notches at once; a bound keeps a forged
  // event from overflowing the sum.
  pending_ += std::clamp(delta, -kMaxDelta, kMaxDelta);
  const int steps = pending_ / kDeltaPerStep;
  pending_ -= steps * kDeltaPerStep;
  return steps;
}

}  // namespace zelvaro
