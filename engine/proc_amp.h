#pragma once
// The renderer's colour controls as the engine speaks to them: values in
// the renderer's own units, carried in 16.16 fixed point (an integer part
// and an unsigned fraction, each 16 bits), with a range the renderer
// reports for each control. The user's -100..100 (hue -180..180) is mapped
// on that range by MapProcAmpValue, so 0 always lands on the renderer's
// default. Pure functions, callable from any thread.

#include <cstdint>

namespace zelvaro {

struct ProcAmpFixed {
  uint16_t fraction = 0;
  int16_t value = 0;
  bool operator==(const ProcAmpFixed&) const = default;
};

struct ProcAmpRange {
  ProcAmpFixed minValue;
  ProcAmpFixed maxValue;
  ProcAmpFixed defaultValue;
  ProcAmpFixed stepSize;
};

// In the order the renderer takes them.
struct ProcAmpValues {
  ProcAmpFixed brightness;
  ProcAmpFixed contrast;
  ProcAmpFixed hue;
  ProcAmpFixed saturation;
};

// Which control a range or value is for; SetProcAmpValues takes them or-ed.
enum ProcAmpFlag : unsigned {
  kProcAmpBrightness = 1,
  kProcAmpContrast = 2,
  kProcAmpHue = 4,
  kProcAmpSaturation = 8,
  kProcAmpAll = 15,
};

// The user's ranges: brightness, contrast and saturation -100..100, hue in
// degrees; 0 is the renderer's default for each.
inline constexpr int kProcAmpUserLimit = 100;
inline constexpr int kHueUserLimitDeg = 180;

double ProcAmpToDouble(ProcAmpFixed fixed);
// Integer part and fraction each truncated toward zero and kept as their
// low 16 bits. A negative value with a fraction keeps the fraction's bit
// pattern unfloored (-0.5 becomes 0 and 0x8000), as the renderer's callers
// always sent it; no range the renderer reports puts a user value there.
ProcAmpFixed ProcAmpFromDouble(double value);
ProcAmpFixed ProcAmpFromInt(int value);

// The user's value on the renderer's range: the default plus the share of
// the distance to the minimum (negative values) or to the maximum
// (positive), value / divisor of it. Divisor 100, or 180 for hue.
ProcAmpFixed MapProcAmpValue(int value, const ProcAmpRange& range, int divisor);

}  // namespace zelvaro
