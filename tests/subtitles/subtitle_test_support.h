#pragma once
// Helpers shared by the subtitle tests: legacy-encoded bytes, pixel reading.

#include "subtitles/subpic.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <string>

namespace zelvaro::test {

// `utf8` in `encoding` (an iconv name), for writing legacy files. Fails the
// test when the text can't be encoded.
QByteArray EncodeAs(const std::string& utf8, const char* encoding);

// The number of pixels with alpha above zero.
int64_t CountOpaquePixels(const QImage& image);
inline int64_t CountOpaquePixels(const CMemSubPic& picture) {
  return CountOpaquePixels(picture.Image());
}

// The sum over all pixels of one channel (0 B, 1 G, 2 R, 3 A).
int64_t SumChannel(const CMemSubPic& picture, int channel);

}  // namespace zelvaro::test
