#include "tests/subtitles/subtitle_test_support.h"

#include "foundation/c_handle.h"

#include <gtest/gtest.h>

#include <iconv.h>

#include <type_traits>

namespace zelvaro::test {

QByteArray EncodeAs(const std::string& utf8, const char* encoding) {
  using IconvHandle = CHandle<std::remove_pointer_t<iconv_t>, iconv_close>;
  iconv_t raw = iconv_open(encoding, "UTF-8");
  if (raw == reinterpret_cast<iconv_t>(-1)) {
    ADD_FAILURE() << "iconv can't write " << encoding;
    return {};
  }
  IconvHandle converter{raw};
  QByteArray out(static_cast<qsizetype>(utf8.size() * 4 + 16), '\0');
  char* input = const_cast<char*>(utf8.data());
  size_t inputLeft = utf8.size();
  char* output = out.data();
  size_t outputLeft = static_cast<size_t>(out.size());
  if (iconv(converter.get(), &input, &inputLeft, &output, &outputLeft) == static_cast<size_t>(-1)) {
    ADD_FAILURE() << "text not representable in " << encoding;
    return {};
  }
  iconv(converter.get(), nullptr, nullptr, &output, &outputLeft);
  out.resize(out.size() - static_cast<qsizetype>(outputLeft));
  return out;
}

int64_t CountOpaquePixels(const QImage& image) {
  int64_t count = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) count += qAlpha(image.pixel(x, y)) != 0;
  return count;
}

int64_t SumChannel(const CMemSubPic& picture, int channel) {
  int64_t sum = 0;
  const QSize size = picture.GetSize();
  for (int y = 0; y < size.height(); ++y) {
    const uint8_t* row = picture.Bits() + static_cast<ptrdiff_t>(y) * picture.Pitch();
    for (int x = 0; x < size.width(); ++x) sum += row[x * 4 + channel];
  }
  return sum;
}

}  // namespace zelvaro::test
