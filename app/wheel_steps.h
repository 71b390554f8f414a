#pragma once
// WheelSteps: turns wheel deltas into whole steps. A classic wheel sends 120
// per notch, one step each; a high-resolution wheel or a touchpad sends
// small deltas that add up, and a step is taken each time they reach ±120.
// Turning back drops what was gathered the other way, so a reversal answers
// at once. Plain value; the interface thread owns the one in MainWindow.

namespace zelvaro {

class WheelSteps {
 public:
  static constexpr int kDeltaPerStep = 120;

  // Adds one event's delta; returns the whole steps it completes (negative
  // for down), usually 0 or ±1.
  int Add(int delta);
  // Forgets what was gathered (a pause in the scrolling, a new file).
  void Reset() { pending_ = 0; }

 private:
  int pending_ = 0;
};

}  // namespace zelvaro
