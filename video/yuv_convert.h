#pragma once
// Turning the engine's YUV frames into RGB: the validity check every frame
// passes before it is kept, the one affine matrix that both the fragment
// shader and the CPU fallback apply (stream matrix, range and the user's
// colour controls folded together), and the CPU conversion itself.
// Pure functions, callable from any thread.

#include "engine/video_frame.h"

#include <QImage>

#include <array>

namespace zelvaro {

// The colour controls in the renderer's own units, each with its range
// below. Brightness is added to every channel, in levels of 255; contrast
// scales about mid grey; saturation scales the chroma, hue turns it by
// degrees. The defaults change nothing: the matrix is then the stream's.
struct ColorControls {
  double brightness = 0.0;
  double contrast = 1.0;
  double hue = 0.0;
  double saturation = 1.0;
  bool operator==(const ColorControls&) const = default;
};

struct ColorControlRange {
  double minValue;
  double maxValue;
  double defaultValue;
  double step;
};
inline constexpr ColorControlRange kBrightnessRange{-100.0, 100.0, 0.0, 1.0};
inline constexpr ColorControlRange kContrastRange{0.0, 2.0, 1.0, 0.01};
inline constexpr ColorControlRange kHueRangeDeg{-180.0, 180.0, 0.0, 1.0};
inline constexpr ColorControlRange kSaturationRange{0.0, 2.0, 1.0, 0.01};

// rgb = m * (y, u, v, 1), where y, u and v are the stored samples scaled to
// 0..1 (a byte divided by 255) and rgb comes out in 0..1, to be clamped.
struct YuvToRgbMatrix {
  std::array<std::array<float, 4>, 3> m{};
  bool operator==(const YuvToRgbMatrix&) const = default;
};

YuvToRgbMatrix MakeYuvToRgbMatrix(VideoColorMatrix matrix, VideoColorRange range,
                                  const ColorControls& controls = {});

// Whether a frame can be shown: a known format, a size from 1 to 16384 a
// side, every plane present with a stride that holds its row. Anything else
// is dropped on arrival, so nothing downstream reads out of bounds.
bool IsFrameUsable(const VideoFrame& frame);

// Width and height of the chroma planes (both formats subsample by two,
// rounding up for odd sizes).
inline int ChromaWidth(const VideoFrame& frame) {
  return (frame.width + 1) / 2;
}
inline int ChromaHeight(const VideoFrame& frame) {
  return (frame.height + 1) / 2;
}

// The frame as RGB32 at its coded size; null for an unusable frame. Chroma is
// taken from the nearest sample. On x86-64 sixteen or thirty-two pixels a
// step (SSE2, AVX2 when the processor has it: about 1 ms for 1080p on one
// core); every path computes the same bytes.
QImage ConvertFrameToRgb(const VideoFrame& frame, const YuvToRgbMatrix& toRgb);
// The same into `image`, reusing its pixels when it already has the frame's
// size and format and shares them with nobody.
void ConvertFrameToRgb(const VideoFrame& frame, const YuvToRgbMatrix& toRgb, QImage* image);
// The pixels of `source` (frame pixels) into `target` with their top left at
// `at`, opaque, and nothing else of `target`: the same bytes as the whole
// conversion gives there. False, with nothing written, for an unusable
// frame, a rectangle outside the frame or the target, or a target that is
// not 32-bit RGB.
bool ConvertFrameRectToRgb(const VideoFrame& frame, const YuvToRgbMatrix& toRgb,
                           const QRect& source, QImage* target, const QPoint& at);

}  // namespace zelvaro
