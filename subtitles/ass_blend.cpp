#include "subtitles/ass_blend.h"

#include <algorithm>

namespace zelvaro {

namespace {

inline uint32_t Scale(uint32_t value, uint32_t factor) {
  return (value * factor + 127) / 255;
}

void BlendOne(const ASS_Image& image, const SubPicDesc& target, SubPicRect* bbox) {
  // 64 bits: a position of INT_MIN must not overflow when negated.
  int64_t skipX = 0, skipY = 0;
  int64_t x = image.dst_x, y = image.dst_y;
  if (x < 0) {
    skipX = -x;
    x = 0;
  }
  if (y < 0) {
    skipY = -y;
    y = 0;
  }
  const int64_t width = std::min<int64_t>(image.w - skipX, target.Width - x);
  const int64_t height = std::min<int64_t>(image.h - skipY, target.Height - y);
  if (width <= 0 || height <= 0) return;

  // ASS colour words are RRGGBBAA with AA as transparency.
  const uint32_t red = (image.color >> 24) & 0xFF;
  const uint32_t green = (image.color >> 16) & 0xFF;
  const uint32_t blue = (image.color >> 8) & 0xFF;
  const uint32_t alpha = 255 - (image.color & 0xFF);

  for (int64_t row = 0; row < height; ++row) {
    const unsigned char* mask = image.bitmap + (row + skipY) * image.stride + skipX;
    uint8_t* pixel = target.Data + (y + row) * target.Pitch + x * 4;
    for (int64_t column = 0; column < width; ++column, pixel += 4) {
      const uint32_t m = mask[column];
      if (m == 0) continue;
      const uint32_t s = Scale(m, alpha);
      if (s == 0) continue;
      const uint32_t pb = Scale(s, blue), pg = Scale(s, green), pr = Scale(s, red);
      if (pixel[3] == 0) {
        pixel[0] = static_cast<uint8_t>(pb);
        pixel[1] = static_cast<uint8_t>(pg);
        pixel[2] = static_cast<uint8_t>(pr);
        pixel[3] = static_cast<uint8_t>(s);
      } else {
        const uint32_t inverse = 255 - s;
        pixel[0] = static_cast<uint8_t>(Scale(pixel[0], inverse) + pb);
        pixel[1] = static_cast<uint8_t>(Scale(pixel[1], inverse) + pg);
        pixel[2] = static_cast<uint8_t>(Scale(pixel[2], inverse) + pr);
        pixel[3] = static_cast<uint8_t>(Scale(pixel[3], inverse) + s);
      }
    }
  }
  // Inside the target now, so every value fits 32 bits.
  bbox->Left = std::min(bbox->Left, static_cast<int32_t>(x));
  bbox->Top = std::min(bbox->Top, static_cast<int32_t>(y));
  bbox->Right = std::max(bbox->Right, static_cast<int32_t>(x + width));
  bbox->Bottom = std::max(bbox->Bottom, static_cast<int32_t>(y + height));
}

}  // namespace

void BlendAssImages(const ASS_Image* images, const SubPicDesc& target, SubPicRect* bbox) {
  if (target.Data == nullptr || target.Width < 1 || target.Height < 1) return;
  for (const ASS_Image* image = images; image != nullptr; image = image->next) {
    if (image->w <= 0 || image->h <= 0 || image->stride <= 0 || image->bitmap == nullptr) continue;
    BlendOne(*image, target, bbox);
  }
}

}  // namespace zelvaro
