#include "app/yuv_convert.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

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

// The matrix on byte samples in fixed point, out = (sum(k * byte) + offset)
// >> shift, with every k within 16 bits so SSE2 can multiply pairs at once;
// the shift is as large as that allows (13 for the usual matrices).
struct FixedMatrix {
  int shift = 0;
  int k[3][3]{};
  int offset[3]{};
};

FixedMatrix ToFixed(const YuvToRgbMatrix& toRgb) {
  float largest = 0.0f;
  for (const auto& row : toRgb.m)
    for (int c = 0; c < 3; ++c) largest = std::max(largest, std::abs(row[c]));
  FixedMatrix fixed;
  fixed.shift = 14;
  while (fixed.shift > 0 && largest * float(1 << fixed.shift) > 32767.0f) --fixed.shift;
  const double scale = double(1 << fixed.shift);
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) fixed.k[r][c] = int(std::lround(toRgb.m[r][c] * scale));
    // Offsets are not bound to 16 bits; clamped only so the sums cannot overflow.
    const double offset = std::clamp(toRgb.m[r][3] * 255.0 * scale, -1e9, 1e9);
    fixed.offset[r] = int(std::lround(offset)) + (fixed.shift > 0 ? 1 << (fixed.shift - 1) : 0);
  }
  return fixed;
}

// One row of the picture: luma, and the chroma row it shares with its
// neighbour (v null for NV12, whose u row interleaves both).
struct RowPlanes {
  const uint8_t* y;
  const uint8_t* u;
  const uint8_t* v;
};

void ConvertRowScalar(const FixedMatrix& fixed, const RowPlanes& row, QRgb* out, int from, int to) {
  for (int x = from; x < to; ++x) {
    const int luma = row.y[x];
    const int cb = row.v ? row.u[x / 2] : row.u[(x / 2) * 2];
    const int cr = row.v ? row.v[x / 2] : row.u[(x / 2) * 2 + 1];
    int channel[3];
    for (int r = 0; r < 3; ++r) {
      channel[r] =
          (fixed.k[r][0] * luma + fixed.k[r][1] * cb + fixed.k[r][2] * cr + fixed.offset[r]) >>
          fixed.shift;
    }
    out[x - from] = qRgb(ClampByte(channel[0]), ClampByte(channel[1]), ClampByte(channel[2]));
  }
}

#if defined(__x86_64__)
// Sixteen pixels a step: luma and duplicated chroma widened to 16 bits,
// (y, u) and (v, 0) pairs multiplied and summed into 32 bits with madd, the
// same fixed point as the scalar loop, so every path gives identical bytes.
// Like the scalar loop, each kernel writes pixel x to out[x - from]; it
// converts while a whole step fits and returns where it stopped, and the
// next narrower one does the rest.
int ConvertRowSse2(const FixedMatrix& fixed, const RowPlanes& row, QRgb* out, int from, int width) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i opaque = _mm_set1_epi8(char(0xFF));
  __m128i yuWeights[3], vWeights[3], offsets[3];
  for (int r = 0; r < 3; ++r) {
    yuWeights[r] = _mm_set1_epi32(
        int(uint32_t(uint16_t(fixed.k[r][0])) | (uint32_t(uint16_t(fixed.k[r][1])) << 16)));
    vWeights[r] = _mm_set1_epi32(int(uint32_t(uint16_t(fixed.k[r][2]))));
    offsets[r] = _mm_set1_epi32(fixed.offset[r]);
  }
  const __m128i shift = _mm_cvtsi32_si128(fixed.shift);
  // Four pixels of one channel, 32 bits each.
  auto channel = [&](int r, __m128i yu, __m128i v0) {
    const __m128i sum = _mm_add_epi32(
        _mm_add_epi32(_mm_madd_epi16(yu, yuWeights[r]), _mm_madd_epi16(v0, vWeights[r])),
        offsets[r]);
    return _mm_sra_epi32(sum, shift);
  };
  if (from % 2 != 0) return from;  // a step starts on a chroma pair
  int x = from;
  for (; x + 16 <= width; x += 16) {
    const __m128i luma = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row.y + x));
    __m128i cb, cr;  // eight samples each, 16 bits
    if (row.v) {
      cb =
          _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(row.u + x / 2)), zero);
      cr =
          _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(row.v + x / 2)), zero);
    } else {
      const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row.u + x));
      cb = _mm_and_si128(both, _mm_set1_epi16(0x00FF));
      cr = _mm_srli_epi16(both, 8);
    }
    __m128i halves[2][3];  // [pixels 0-7, 8-15][R, G, B], 16 bits
    for (int half = 0; half < 2; ++half) {
      const __m128i y16 = half ? _mm_unpackhi_epi8(luma, zero) : _mm_unpacklo_epi8(luma, zero);
      const __m128i u16 = half ? _mm_unpackhi_epi16(cb, cb) : _mm_unpacklo_epi16(cb, cb);
      const __m128i v16 = half ? _mm_unpackhi_epi16(cr, cr) : _mm_unpacklo_epi16(cr, cr);
      const __m128i yu0 = _mm_unpacklo_epi16(y16, u16), yu1 = _mm_unpackhi_epi16(y16, u16);
      const __m128i v0 = _mm_unpacklo_epi16(v16, zero), v1 = _mm_unpackhi_epi16(v16, zero);
      for (int r = 0; r < 3; ++r)
        halves[half][r] = _mm_packs_epi32(channel(r, yu0, v0), channel(r, yu1, v1));
    }
    __m128i bytes[3];  // sixteen R, G, B
    for (int r = 0; r < 3; ++r) bytes[r] = _mm_packus_epi16(halves[0][r], halves[1][r]);
    // Memory order of RGB32 on a little-endian machine: B, G, R, 0xFF.
    const __m128i bgLow = _mm_unpacklo_epi8(bytes[2], bytes[1]);
    const __m128i bgHigh = _mm_unpackhi_epi8(bytes[2], bytes[1]);
    const __m128i raLow = _mm_unpacklo_epi8(bytes[0], opaque);
    const __m128i raHigh = _mm_unpackhi_epi8(bytes[0], opaque);
    auto* target = reinterpret_cast<__m128i*>(out + (x - from));
    _mm_storeu_si128(target + 0, _mm_unpacklo_epi16(bgLow, raLow));
    _mm_storeu_si128(target + 1, _mm_unpackhi_epi16(bgLow, raLow));
    _mm_storeu_si128(target + 2, _mm_unpacklo_epi16(bgHigh, raHigh));
    _mm_storeu_si128(target + 3, _mm_unpackhi_epi16(bgHigh, raHigh));
  }
  return x;
}

struct Avx2Weights {
  __m256i yu[3], v[3], offset[3];
  __m128i shift;
};

// Eight pixels of channel r (two groups of four, one per 128-bit half).
__attribute__((target("avx2"))) inline __m256i ChannelAvx2(const Avx2Weights& weights, int r,
                                                           __m256i yu, __m256i v0) {
  const __m256i sum = _mm256_add_epi32(
      _mm256_add_epi32(_mm256_madd_epi16(yu, weights.yu[r]), _mm256_madd_epi16(v0, weights.v[r])),
      weights.offset[r]);
  return _mm256_sra_epi32(sum, weights.shift);
}

// The same arithmetic, 32 pixels a step. AVX2 unpacks and packs work
// within each 128-bit half, so chroma is reordered before it is duplicated
// and the results are put back in order before they are stored.
__attribute__((target("avx2"))) int ConvertRowAvx2(const FixedMatrix& fixed, const RowPlanes& row,
                                                   QRgb* out, int from, int width) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i opaque = _mm256_set1_epi8(char(0xFF));
  Avx2Weights weights;
  for (int r = 0; r < 3; ++r) {
    weights.yu[r] = _mm256_set1_epi32(
        int(uint32_t(uint16_t(fixed.k[r][0])) | (uint32_t(uint16_t(fixed.k[r][1])) << 16)));
    weights.v[r] = _mm256_set1_epi32(int(uint32_t(uint16_t(fixed.k[r][2]))));
    weights.offset[r] = _mm256_set1_epi32(fixed.offset[r]);
  }
  weights.shift = _mm_cvtsi32_si128(fixed.shift);
  if (from % 2 != 0) return from;
  int x = from;
  for (; x + 32 <= width; x += 32) {
    __m256i cb, cr;  // sixteen samples each, 16 bits, in pixel order
    if (row.v) {
      cb = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row.u + x / 2)));
      cr = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row.v + x / 2)));
    } else {
      const __m256i both = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row.u + x));
      cb = _mm256_and_si256(both, _mm256_set1_epi16(0x00FF));
      cr = _mm256_srli_epi16(both, 8);
    }
    // Quarters 0, 2, 1, 3: the in-half duplication below then yields
    // pixels 0-15 from the low unpack and 16-31 from the high one.
    cb = _mm256_permute4x64_epi64(cb, 0xD8);
    cr = _mm256_permute4x64_epi64(cr, 0xD8);
    __m256i sixteens[2][3];  // [pixels 0-15, 16-31][R, G, B], 16 bits, in order
    for (int half = 0; half < 2; ++half) {
      const __m256i y16 = _mm256_cvtepu8_epi16(
          _mm_loadu_si128(reinterpret_cast<const __m128i*>(row.y + x + 16 * half)));
      const __m256i u16 = half ? _mm256_unpackhi_epi16(cb, cb) : _mm256_unpacklo_epi16(cb, cb);
      const __m256i v16 = half ? _mm256_unpackhi_epi16(cr, cr) : _mm256_unpacklo_epi16(cr, cr);
      const __m256i yu0 = _mm256_unpacklo_epi16(y16, u16), yu1 = _mm256_unpackhi_epi16(y16, u16);
      const __m256i v0 = _mm256_unpacklo_epi16(v16, zero), v1 = _mm256_unpackhi_epi16(v16, zero);
      for (int r = 0; r < 3; ++r)
        sixteens[half][r] =
            _mm256_packs_epi32(ChannelAvx2(weights, r, yu0, v0), ChannelAvx2(weights, r, yu1, v1));
    }
    __m256i bytes[3];  // thirty-two R, G, B, in order
    for (int r = 0; r < 3; ++r) {
      bytes[r] =
          _mm256_permute4x64_epi64(_mm256_packus_epi16(sixteens[0][r], sixteens[1][r]), 0xD8);
    }
    const __m256i bgLow = _mm256_unpacklo_epi8(bytes[2], bytes[1]);
    const __m256i bgHigh = _mm256_unpackhi_epi8(bytes[2], bytes[1]);
    const __m256i raLow = _mm256_unpacklo_epi8(bytes[0], opaque);
    const __m256i raHigh = _mm256_unpackhi_epi8(bytes[0], opaque);
    const __m256i pixelsA = _mm256_unpacklo_epi16(bgLow, raLow);    // 0-3 | 16-19
    const __m256i pixelsB = _mm256_unpackhi_epi16(bgLow, raLow);    // 4-7 | 20-23
    const __m256i pixelsC = _mm256_unpacklo_epi16(bgHigh, raHigh);  // 8-11 | 24-27
    const __m256i pixelsD = _mm256_unpackhi_epi16(bgHigh, raHigh);  // 12-15 | 28-31
    auto* target = reinterpret_cast<__m256i*>(out + (x - from));
    _mm256_storeu_si256(target + 0, _mm256_permute2x128_si256(pixelsA, pixelsB, 0x20));
    _mm256_storeu_si256(target + 1, _mm256_permute2x128_si256(pixelsC, pixelsD, 0x20));
    _mm256_storeu_si256(target + 2, _mm256_permute2x128_si256(pixelsA, pixelsB, 0x31));
    _mm256_storeu_si256(target + 3, _mm256_permute2x128_si256(pixelsC, pixelsD, 0x31));
  }
  return ConvertRowSse2(fixed, row, out + (x - from), x, width);
}

using RowKernel = int (*)(const FixedMatrix&, const RowPlanes&, QRgb*, int, int);

RowKernel PickRowKernel() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") ? &ConvertRowAvx2 : &ConvertRowSse2;
}
#else
using RowKernel = int (*)(const FixedMatrix&, const RowPlanes&, QRgb*, int, int);

RowKernel PickRowKernel() {
  return [](const FixedMatrix&, const RowPlanes&, QRgb*, int from, int) { return from; };
}
#endif

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

namespace {

// Pixels [from, to) of picture row y into out[0 .. to - from).
void ConvertSpan(const FixedMatrix& fixed, const VideoFrame& frame, int y, int from, int to,
                 QRgb* out) {
  static const RowKernel kernel = PickRowKernel();
  const bool nv12 = frame.format == VideoPixelFormat::NV12;
  const RowPlanes row{frame.planes[0] + size_t(y) * frame.strides[0],
                      frame.planes[1] + size_t(y / 2) * frame.strides[1],
                      nv12 ? nullptr : frame.planes[2] + size_t(y / 2) * frame.strides[2]};
  int x = from;
  // The vector steps begin on a chroma pair.
  if (x % 2 != 0 && x < to) ConvertRowScalar(fixed, row, out, x, x + 1), ++x;
  x = kernel(fixed, row, out + (x - from), x, to);
  ConvertRowScalar(fixed, row, out + (x - from), x, to);
}

}  // namespace

void ConvertFrameToRgb(const VideoFrame& frame, const YuvToRgbMatrix& toRgb, QImage* image) {
  if (!IsFrameUsable(frame)) {
    *image = QImage();
    return;
  }
  // Reused when it fits and nobody else holds it: a fresh 8 MB image per
  // 1080p frame costs page faults on every frame.
  if (image->size() != QSize(frame.width, frame.height) ||
      image->format() != QImage::Format_RGB32 || !image->isDetached()) {
    *image = QImage(frame.width, frame.height, QImage::Format_RGB32);
    if (image->isNull()) return;
  }
  const FixedMatrix fixed = ToFixed(toRgb);
  for (int y = 0; y < frame.height; ++y) {
    ConvertSpan(fixed, frame, y, 0, frame.width, reinterpret_cast<QRgb*>(image->scanLine(y)));
  }
}

bool ConvertFrameRectToRgb(const VideoFrame& frame, const YuvToRgbMatrix& toRgb,
                           const QRect& source, QImage* target, const QPoint& at) {
  const QImage::Format format = target->format();
  if (!IsFrameUsable(frame) || source.isEmpty() ||
      !QRect(0, 0, frame.width, frame.height).contains(source) ||
      !target->rect().contains(QRect(at, source.size())) ||
      (format != QImage::Format_RGB32 && format != QImage::Format_ARGB32 &&
       format != QImage::Format_ARGB32_Premultiplied)) {
    return false;
  }
  const FixedMatrix fixed = ToFixed(toRgb);
  for (int y = source.top(); y <= source.bottom(); ++y) {
    auto* out = reinterpret_cast<QRgb*>(target->scanLine(at.y() + y - source.top())) + at.x();
    ConvertSpan(fixed, frame, y, source.left(), source.right() + 1, out);
  }
  return true;
}

QImage ConvertFrameToRgb(const VideoFrame& frame, const YuvToRgbMatrix& toRgb) {
  QImage image;
  ConvertFrameToRgb(frame, toRgb, &image);
  return image;
}

}  // namespace zelvaro
