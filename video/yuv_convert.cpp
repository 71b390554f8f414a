#include "video/yuv_convert.h"

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
  auto clamp = [](double value, const ColorControlRange& range) {
    return std::clamp(value, range.minValue, range.maxValue);
  };
  const double contrast = clamp(controls.contrast, kContrastRange);
  const double brightness = clamp(controls.brightness, kBrightnessRange) / 255.0;
  const double saturation = clamp(controls.saturation, kSaturationRange);
  const double hue = clamp(controls.hue, kHueRangeDeg) * std::numbers::pi / 180;
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

// The matrix in the fixed point the vector loops compute in sixteen bits.
// A channel is (lumaTerm + chromaTerm) >> 5, clamped to a byte, where
//   lumaTerm   = (y * luma) >> 8                                 (5 fraction bits)
//   chromaTerm = (chroma[c][0] * u + chroma[c][1] * v + offset[c]) >> 7
// luma has 13 fraction bits, chroma and offset 12, and the offset carries the
// final rounding. Luma weighs the same in all three channels for every
// matrix MakeYuvToRgbMatrix makes (colour controls only turn and scale
// chroma), so it is computed once per pixel; chroma once per pair of
// pixels. The vector loops saturate chromaTerm and the sum to sixteen bits:
// lumaTerm is never negative and below 2^15, so a saturated value lands on
// the same clamped byte as the exact one, and all paths give the same bytes.
struct FixedMatrix {
  int luma = 0;
  int chroma[3][2]{};
  int offset[3]{};
};

FixedMatrix ToFixed(const YuvToRgbMatrix& toRgb) {
  FixedMatrix fixed;
  fixed.luma = int(std::clamp(std::lround(toRgb.m[0][0] * 8192.0), 0L, 32767L));
  for (int c = 0; c < 3; ++c) {
    for (int k = 0; k < 2; ++k)
      fixed.chroma[c][k] =
          int(std::clamp(std::lround(toRgb.m[c][k + 1] * 4096.0), -32768L, 32767L));
    const double offset = std::clamp(toRgb.m[c][3] * 255.0 * 4096.0, -1e8, 1e8);
    fixed.offset[c] = int(std::lround(offset)) + (16 << 7);
  }
  return fixed;
}

inline int LumaTerm(const FixedMatrix& fixed, int y) {
  return (y * fixed.luma) >> 8;
}

inline int ChromaTerm(const FixedMatrix& fixed, int c, int u, int v) {
  return (fixed.chroma[c][0] * u + fixed.chroma[c][1] * v + fixed.offset[c]) >> 7;
}

// One row of the picture: luma, and the chroma row it shares with its
// neighbour (v null for NV12, whose u row interleaves both). Each row
// computes its chroma terms again: converting the two rows in one pass, the
// terms computed once, measured no faster at 1080p (about 0.6 ms a frame
// either way), since the loop waits on memory, not arithmetic; streaming
// stores past the cache measured slower.
struct RowPlanes {
  const uint8_t* y;
  const uint8_t* u;
  const uint8_t* v;
};

void ConvertRowScalar(const FixedMatrix& fixed, const RowPlanes& row, QRgb* out, int from, int to) {
  for (int x = from; x < to; ++x) {
    const int luma = LumaTerm(fixed, row.y[x]);
    const int cb = row.v ? row.u[x / 2] : row.u[(x / 2) * 2];
    const int cr = row.v ? row.v[x / 2] : row.u[(x / 2) * 2 + 1];
    int channel[3];
    for (int c = 0; c < 3; ++c) channel[c] = (luma + ChromaTerm(fixed, c, cb, cr)) >> 5;
    out[x - from] = qRgb(ClampByte(channel[0]), ClampByte(channel[1]), ClampByte(channel[2]));
  }
}

#if defined(__x86_64__)
// Sixteen pixels a step. Chroma: (u, v) byte pairs widened to 16 bits and
// multiplied and summed into 32 bits with madd, then narrowed and doubled to
// cover both pixels of the pair. Luma: the byte in the high half of a 16-bit
// lane times the weight, high 16 bits kept, which is (y * luma) >> 8.
// Like the scalar loop, each kernel writes pixel x to out[x - from]; it
// converts while a whole step fits and returns where it stopped, and the
// next narrower one does the rest.
int ConvertRowSse2(const FixedMatrix& fixed, const RowPlanes& row, QRgb* out, int from, int width) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i opaque = _mm_set1_epi8(char(0xFF));
  const __m128i lumaWeight = _mm_set1_epi16(short(fixed.luma));
  __m128i uvWeights[3], offsets[3];
  for (int c = 0; c < 3; ++c) {
    uvWeights[c] = _mm_set1_epi32(int(uint32_t(uint16_t(fixed.chroma[c][0])) |
                                      (uint32_t(uint16_t(fixed.chroma[c][1])) << 16)));
    offsets[c] = _mm_set1_epi32(fixed.offset[c]);
  }
  if (from % 2 != 0) return from;  // a step starts on a chroma pair
  int x = from;
  for (; x + 16 <= width; x += 16) {
    const __m128i uv =  // u0 v0 u1 v1 ... u7 v7
        row.v ? _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(row.u + x / 2)),
                                  _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row.v + x / 2)))
              : _mm_loadu_si128(reinterpret_cast<const __m128i*>(row.u + x));
    const __m128i uvLow = _mm_unpacklo_epi8(uv, zero), uvHigh = _mm_unpackhi_epi8(uv, zero);
    const __m128i luma = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row.y + x));
    const __m128i lumaLow = _mm_mulhi_epu16(_mm_unpacklo_epi8(zero, luma), lumaWeight);
    const __m128i lumaHigh = _mm_mulhi_epu16(_mm_unpackhi_epi8(zero, luma), lumaWeight);
    __m128i bytes[3];  // sixteen R, G, B
    for (int c = 0; c < 3; ++c) {
      auto term = [&](__m128i pairs) {
        return _mm_srai_epi32(_mm_add_epi32(_mm_madd_epi16(pairs, uvWeights[c]), offsets[c]), 7);
      };
      const __m128i chroma = _mm_packs_epi32(term(uvLow), term(uvHigh));  // eight pairs
      const __m128i low =
          _mm_srai_epi16(_mm_adds_epi16(lumaLow, _mm_unpacklo_epi16(chroma, chroma)), 5);
      const __m128i high =
          _mm_srai_epi16(_mm_adds_epi16(lumaHigh, _mm_unpackhi_epi16(chroma, chroma)), 5);
      bytes[c] = _mm_packus_epi16(low, high);
    }
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

// Eight chroma terms from eight (u, v) pairs in 16-bit lanes.
__attribute__((target("avx2"))) inline __m256i ChromaTermsAvx2(__m256i pairs, __m256i weights,
                                                               __m256i offset) {
  return _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(pairs, weights), offset), 7);
}

// The same arithmetic, 32 pixels a step. AVX2 unpacks work within each
// 128-bit half, so luma comes out as pixels 0-7 | 16-23 and 8-15 | 24-31;
// chroma is put in order once and doubled to match, and the packed bytes
// then come out in order.
__attribute__((target("avx2"))) int ConvertRowAvx2(const FixedMatrix& fixed, const RowPlanes& row,
                                                   QRgb* out, int from, int width) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i opaque = _mm256_set1_epi8(char(0xFF));
  const __m256i lumaWeight = _mm256_set1_epi16(short(fixed.luma));
  __m256i uvWeights[3], offsets[3];
  for (int c = 0; c < 3; ++c) {
    uvWeights[c] = _mm256_set1_epi32(int(uint32_t(uint16_t(fixed.chroma[c][0])) |
                                         (uint32_t(uint16_t(fixed.chroma[c][1])) << 16)));
    offsets[c] = _mm256_set1_epi32(fixed.offset[c]);
  }
  if (from % 2 != 0) return from;
  int x = from;
  for (; x + 32 <= width; x += 32) {
    __m128i uv0, uv1;  // pairs 0-7 and 8-15 as u v bytes
    if (row.v) {
      const __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row.u + x / 2));
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row.v + x / 2));
      uv0 = _mm_unpacklo_epi8(u, v);
      uv1 = _mm_unpackhi_epi8(u, v);
    } else {
      uv0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row.u + x));
      uv1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row.u + x + 16));
    }
    const __m256i pairs0 = _mm256_cvtepu8_epi16(uv0), pairs1 = _mm256_cvtepu8_epi16(uv1);
    const __m256i luma = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row.y + x));
    const __m256i lumaA = _mm256_mulhi_epu16(_mm256_unpacklo_epi8(zero, luma), lumaWeight);
    const __m256i lumaB = _mm256_mulhi_epu16(_mm256_unpackhi_epi8(zero, luma), lumaWeight);
    __m256i bytes[3];  // thirty-two R, G, B, in order
    for (int c = 0; c < 3; ++c) {
      // packs interleaves the halves (0-3, 8-11 | 4-7, 12-15); put them in order.
      const __m256i chroma = _mm256_permute4x64_epi64(
          _mm256_packs_epi32(ChromaTermsAvx2(pairs0, uvWeights[c], offsets[c]),
                             ChromaTermsAvx2(pairs1, uvWeights[c], offsets[c])),
          0xD8);
      const __m256i a =
          _mm256_srai_epi16(_mm256_adds_epi16(lumaA, _mm256_unpacklo_epi16(chroma, chroma)), 5);
      const __m256i b =
          _mm256_srai_epi16(_mm256_adds_epi16(lumaB, _mm256_unpackhi_epi16(chroma, chroma)), 5);
      bytes[c] = _mm256_packus_epi16(a, b);
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
    const __m256i stores[4] = {_mm256_permute2x128_si256(pixelsA, pixelsB, 0x20),
                               _mm256_permute2x128_si256(pixelsC, pixelsD, 0x20),
                               _mm256_permute2x128_si256(pixelsA, pixelsB, 0x31),
                               _mm256_permute2x128_si256(pixelsC, pixelsD, 0x31)};
    for (int i = 0; i < 4; ++i) _mm256_storeu_si256(target + i, stores[i]);
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
