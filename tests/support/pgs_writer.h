#pragma once
// A Blu-ray subtitle stream (.sup) made by hand for tests: one solid
// rectangle shown from one time to another. There is no PGS encoder to make
// one with, and the muxer takes a .sup as it is.

#include <QByteArray>
#include <QRect>
#include <QSize>

#include <cstdint>

namespace zelvaro::test {

struct PgsRectangle {
  QSize canvas{1920, 1080};
  QRect rect;
  // The colour as PGS holds it: BT.709 limited-range Y, Cr, Cb, then alpha.
  uint8_t y = 0, cr = 0, cb = 0, alpha = 255;
  int64_t showMs = 0;
  int64_t hideMs = 0;  // an empty display set clears it then
};

QByteArray MakePgsStream(const PgsRectangle& rectangle);

}  // namespace zelvaro::test
