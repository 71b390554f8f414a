#include "engine/proc_amp.h"

namespace zelvaro {

double ProcAmpToDouble(ProcAmpFixed fixed) {
  return fixed.value + fixed.fraction / 65536.0;
}

ProcAmpFixed ProcAmpFromDouble(double value) {
  const int whole = static_cast<int>(value);
  const int fraction = static_cast<int>((value - whole) * 65536.0);
  return {static_cast<uint16_t>(fraction & 0xFFFF), static_cast<int16_t>(whole & 0xFFFF)};
}

ProcAmpFixed ProcAmpFromInt(int value) {
  return ProcAmpFromDouble(value);
}

ProcAmpFixed MapProcAmpValue(int value, const ProcAmpRange& range, int divisor) {
  const double defaultValue = ProcAmpToDouble(range.defaultValue);
  const double minValue = ProcAmpToDouble(range.minValue);
  const double maxValue = ProcAmpToDouble(range.maxValue);
  const double result = value < 0 ? defaultValue + (defaultValue - minValue) * value / divisor
                                  : defaultValue + (maxValue - defaultValue) * value / divisor;
  return ProcAmpFromDouble(result);
}

}  // namespace zelvaro
