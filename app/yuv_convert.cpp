#include "app/yuv_convert.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zelvaro {
namespace {

constexpr int kMaxFrameSide = 16384;

using Affine = std::array<std::array<double, 4>, 4>;  // last row is 0 0 0 1

Affine Multiply(const Affine& left, const Affine& right) {
  Affine out{};
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      for (int k = 0; k < 4; ++k) out[r][c] += left[r][k] * right[k][c];
  return out;
}

// Stored samples (0..1) to Y in 0..1 and Cb, Cr in -0.5..0.5.
Affine RangeExpansion(VideoColorRange range) {
  if (range == VideoColorRange::Full) {
    return {{{1, 0, 0, 0}, {0, 1, 0, -128.0 / 255}, {0, 0, 1, -128.0 / 255}, {0, 0, 0, 1}}};
  }
  const double ys = 255.0 / 219, cs = 255.0 / 224;
  return {
      {{ys, 0, 0, -16.0 / 219}, {0, cs, 0, -128.0 / 224}, {0, 0, cs, -128.0 / 224}, {0, 0, 0, 1}}};
}

// Contrast pivots on mid grey so it does not also change the brightness;
// hue turns the chroma plane, saturation scales it.
Affine Controls(const ColorControls& controls) {
  const double contrast =
      1.0 + std::clamp(controls.contrast, -kColorControlLimit, kColorControlLimit) / 100.0;
  const double brightness =
      std::clamp(controls.brightness, -kColorControlLimit, kColorControlLimit) / 255.0;
  const double saturation =
      1.0 + std::clamp(controls.saturation, -kColorControlLimit, kColorControlLimit) / 100.0;
  const double hue = std::clamp(controls.hue, -kHueLimitDeg, kHueLimitDeg) * std::numbers::pi / 180;
  const double cosHue = std::cos(hue) * saturation, sinHue = std::sin(hue) * saturation;
  return {{{contrast, 0, 0, 0.5 * (1 - contrast) + brightness},
           {0, cosHue, -sinHue, 0},
           {0, sinHue, cosHue, 0},
           {0, 0, 0, 1}}};
}

Affine YCbCrToRgb(VideoColorMatrix matrix) {
  double kr = 0.299, kb = 0.114;
  if (matrix == VideoColorMatrix::Bt709) kr = 0.2126, kb = 0.0722;
  if (matrix == VideoColorMatrix::Bt2020) kr = 0.2627, kb = 0.0593;
  const double kg = 1 - kr - kb;
  return {{{1, 0, 2 * (1 - kr), 0},
           {1, -2 * kb * (1 - kb) / kg, -2 * kr * (1 - kr) / kg, 0},
           {1, 2 * (1 - kb), 0, 0},
           {0, 0, 0, 1}}};
}

inline uint8_t ClampByte(int value) {
  return uint8_t(std::clamp(value, 0, 255));
}

}  // namespace

YuvToRgbMatrix MakeYuvToRgbMatrix(VideoColorMatrix matrix, VideoColorRange range,
                                  const ColorControls& controls) {
  const Affine full =
      Multiply(YCbCrToRgb(matrix), Multiply(Controls(controls), RangeExpansion(range)));
  YuvToRgbMatrix out;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 4; ++c) out.m[r][c] = float(full[r][c]);
  return out;
}

bool IsFrameUsable(const VideoFrame& frame) {
  if (frame.width < 1 || frame.height < 1 || frame.width > kMaxFrameSide ||
      frame.height > kMaxFrameSide)
    return false;
  const int chromaWidth = ChromaWidth(frame);
  std::array<int, 3> rowBytes{};
  int planes = 0;
  switch (frame.format) {
    case VideoPixelFormat::I420:
      planes = 3, rowBytes = {frame.width, chromaWidth, chromaWidth};
      break;
    case VideoPixelFormat::NV12:
      planes = 2, rowBytes = {frame.width, 2 * chromaWidth, 0};
      break;
    default:
      return false;
  }
  if (frame.planeCount < planes) return false;
  for (int i = 0; i < planes; ++i) {
    if (!frame.planes[i] || frame.strides[i] < rowBytes[i]) return false;
  }
  return true;
}

QImage ConvertFrameToRgb(const VideoFrame& frame, const YuvToRgbMatrix& toRgb) {
  if (!IsFrameUsable(frame)) return {};
  QImage image(frame.width, frame.height, QImage::Format_RGB32);
  if (image.isNull()) return {};

  // 16.16 fixed point on byte samples: out = sum(k * byte) + offset.
  int k[3][3];
  int offset[3];
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) k[r][c] = int(std::lround(toRgb.m[r][c] * 65536.0));
    offset[r] = int(std::lround(toRgb.m[r][3] * 255.0 * 65536.0)) + 32768;
  }
  const bool nv12 = frame.format == VideoPixelFormat::NV12;
  for (int y = 0; y < frame.height; ++y) {
    const uint8_t* rowY = frame.planes[0] + size_t(y) * frame.strides[0];
    const uint8_t* rowU = frame.planes[1] + size_t(y / 2) * frame.strides[1];
    const uint8_t* rowV = nv12 ? rowU + 1 : frame.planes[2] + size_t(y / 2) * frame.strides[2];
    const int chromaStep = nv12 ? 2 : 1;
    auto* out = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < frame.width; ++x) {
      const int luma = rowY[x];
      const int cb = rowU[(x / 2) * chromaStep];
      const int cr = rowV[(x / 2) * chromaStep];
      const int red = (k[0][0] * luma + k[0][1] * cb + k[0][2] * cr + offset[0]) >> 16;
      const int green = (k[1][0] * luma + k[1][1] * cb + k[1][2] * cr + offset[1]) >> 16;
      const int blue = (k[2][0] * luma + k[2][1] * cb + k[2][2] * cr + offset[2]) >> 16;
      out[x] = qRgb(ClampByte(red), ClampByte(green), ClampByte(blue));
    }
  }
  return image;
}

}  // namespace zelvaro
