#pragma once
// Interface lengths are design lengths at 96 DPI times DpiScale, truncated.
// Qt already scales logical pixels for high-density screens, so DpiScale only
// carries what Qt leaves out: a desktop that asks for a larger logical DPI.
// Computed once at start-up; interface thread only.

namespace zelvaro {

extern int DpiValue;     // 96 until start-up computes it
extern float DpiScale;   // DpiValue / 96.0

void ComputeDpiScale();
// A design length in scaled pixels.
inline int Scaled(int designLength) { return static_cast<int>(designLength * DpiScale); }

}  // namespace zelvaro
