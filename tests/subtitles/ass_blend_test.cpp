#include "subtitles/ass_blend.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace zelvaro {
namespace {

// A small BGRA target with its own memory.
struct Target {
  Target(int width, int height, int pitch = 0)
      : pixels(static_cast<size_t>((pitch ? pitch : width * 4) * height), 0) {
    desc.Width = width;
    desc.Height = height;
    desc.Pitch = pitch ? pitch : width * 4;
    desc.Data = pixels.data();
  }
  std::array<int, 4> At(int x, int y) const {
    const uint8_t* p = pixels.data() + y * desc.Pitch + x * 4;
    return {p[0], p[1], p[2], p[3]};
  }
  void Set(int x, int y, std::array<int, 4> bgra) {
    uint8_t* p = pixels.data() + y * desc.Pitch + x * 4;
    for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(bgra[static_cast<size_t>(i)]);
  }
  std::vector<uint8_t> pixels;
  SubPicDesc desc;
};

// An ASS_Image over a mask the test owns; colour is RRGGBBAA, AA transparency.
ASS_Image Image(std::vector<unsigned char>& mask, int w, int h, uint32_t colour, int x, int y,
                int stride = 0) {
  ASS_Image image{};
  image.w = w;
  image.h = h;
  image.stride = stride ? stride : w;
  image.bitmap = mask.data();
  image.color = colour;
  image.dst_x = x;
  image.dst_y = y;
  return image;
}

TEST(AssBlendTest, SourceOverPremultipliedPixels) {
  using Bgra = std::array<int, 4>;
  const struct {
    const char* what;
    uint32_t colour;  // RRGGBBAA, AA transparency
    unsigned char coverage;
    Bgra before, after;
  } cases[] = {
      {"opaque red, full", 0xFF000000, 255, {0, 0, 0, 0}, {0, 0, 255, 255}},
      {"opaque red, half", 0xFF000000, 128, {0, 0, 0, 0}, {0, 0, 128, 128}},
      {"zero coverage leaves the pixel", 0xFF000000, 0, {1, 2, 3, 4}, {1, 2, 3, 4}},
      {"transparency 0x80: alpha 127", 0xC8643280, 255, {0, 0, 0, 0}, {25, 50, 100, 127}},
      {"coverage 1 at alpha 127 rounds to nothing", 0xC8643280, 1, {0, 0, 0, 0}, {0, 0, 0, 0}},
      {"over an existing pixel", 0xFF000000, 128, {10, 20, 30, 40}, {5, 10, 143, 148}},
      {"fully transparent colour", 0xFFFFFFFF, 255, {0, 0, 0, 0}, {0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    Target target(1, 1);
    target.Set(0, 0, c.before);
    std::vector<unsigned char> mask = {c.coverage};
    ASS_Image image = Image(mask, 1, 1, c.colour, 0, 0);
    SubPicRect bbox = SubPicRect::Inverted();
    BlendAssImages(&image, target.desc, &bbox);
    EXPECT_EQ(target.At(0, 0), c.after) << c.what;
  }
  // Later images of the list go on top; the box holds what was drawn.
  Target target(3, 1);
  std::vector<unsigned char> full = {255};
  ASS_Image top = Image(full, 1, 1, 0x0000FF00, 1, 0);     // opaque blue
  ASS_Image bottom = Image(full, 1, 1, 0xFFFFFF00, 1, 0);  // opaque white
  bottom.next = &top;
  SubPicRect bbox = SubPicRect::Inverted();
  BlendAssImages(&bottom, target.desc, &bbox);
  EXPECT_EQ(target.At(1, 0), (Bgra{255, 0, 0, 255}));
  EXPECT_EQ(bbox, (SubPicRect{1, 0, 2, 1}));
}

TEST(AssBlendTest, ClipsAtEveryEdgeAndHonoursStrides) {
  // A 3x3 mask whose value tells its column and row: 10 * row + column + 1.
  std::vector<unsigned char> mask = {1, 2, 3, 99, 11, 12, 13, 99, 21, 22, 23, 99};
  Target target(2, 2, 16);  // rows padded like the allocator's

  ASS_Image topLeft = Image(mask, 3, 3, 0xFFFFFF00, -1, -2, 4);
  SubPicRect bbox = SubPicRect::Inverted();
  BlendAssImages(&topLeft, target.desc, &bbox);
  // Only mask row 2, columns 1 and 2, lands: at (0, 0) and (1, 0).
  EXPECT_EQ(target.At(0, 0)[3], 22);
  EXPECT_EQ(target.At(1, 0)[3], 23);
  EXPECT_EQ(target.At(0, 1)[3], 0);
  EXPECT_EQ(bbox, (SubPicRect{0, 0, 2, 1}));

  Target second(2, 2, 16);
  ASS_Image bottomRight = Image(mask, 3, 3, 0xFFFFFF00, 1, 1, 4);
  bbox = SubPicRect::Inverted();
  BlendAssImages(&bottomRight, second.desc, &bbox);
  EXPECT_EQ(second.At(1, 1)[3], 1);
  EXPECT_EQ(second.At(0, 0)[3], 0);
  EXPECT_EQ(bbox, (SubPicRect{1, 1, 2, 2}));
}

TEST(AssBlendTest, ImagesOutsideTheTargetOrWithoutBitmapLeaveEverything) {
  Target target(4, 4);
  std::vector<unsigned char> mask(9, 255);
  ASS_Image left = Image(mask, 3, 3, 0xFFFFFF00, -3, 0);
  ASS_Image below = Image(mask, 3, 3, 0xFFFFFF00, 0, 4);
  ASS_Image far = Image(mask, 3, 3, 0xFFFFFF00, INT32_MIN, INT32_MIN);
  ASS_Image empty = Image(mask, 3, 3, 0xFFFFFF00, 0, 0);
  empty.bitmap = nullptr;
  left.next = &below;
  below.next = &far;
  far.next = &empty;
  SubPicRect bbox = SubPicRect::Inverted();
  BlendAssImages(&left, target.desc, &bbox);
  EXPECT_EQ(bbox, SubPicRect::Inverted());
  EXPECT_EQ(target.pixels, std::vector<uint8_t>(target.pixels.size(), 0));
}

}  // namespace
}  // namespace zelvaro
