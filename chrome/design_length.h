#pragma once
// The chrome's one rule for sizes: a design length at 96 DPI times the
// scale, truncated. The window-free geometry takes the scale as a value so
// tests can ask for any; the windows pass DpiScale.

namespace zelvaro::chrome {

constexpr int ScaledLength(int designLength, float scale) {
  return static_cast<int>(designLength * scale);
}

}  // namespace zelvaro::chrome
