#include "tests/support/pgs_writer.h"

namespace zelvaro::test {
namespace {

enum SegmentType : uint8_t {
  kPalette = 0x14,
  kObject = 0x15,
  kComposition = 0x16,
  kWindow = 0x17,
  kEnd = 0x80
};

void Put16(QByteArray* out, int value) {
  out->append(static_cast<char>((value >> 8) & 0xFF));
  out->append(static_cast<char>(value & 0xFF));
}

void Put32(QByteArray* out, uint32_t value) {
  Put16(out, static_cast<int>(value >> 16));
  Put16(out, static_cast<int>(value & 0xFFFF));
}

void Segment(QByteArray* out, int64_t timeMs, SegmentType type, const QByteArray& body) {
  out->append("PG");
  Put32(out, static_cast<uint32_t>(timeMs * 90));  // presentation time, 90 kHz
  Put32(out, 0);                                   // decoding time
  out->append(static_cast<char>(type));
  Put16(out, static_cast<int>(body.size()));
  out->append(body);
}

QByteArray Composition(const PgsRectangle& r, int number, bool withObject) {
  QByteArray body;
  Put16(&body, r.canvas.width());
  Put16(&body, r.canvas.height());
  body.append(char(0x10));  // frame rate
  Put16(&body, number);
  body.append(char(withObject ? 0x80 : 0x00));  // epoch start, else normal
  body.append(char(0)).append(char(0));         // no palette update, palette 0
  body.append(char(withObject ? 1 : 0));
  if (withObject) {
    Put16(&body, 0);                       // object 0
    body.append(char(0)).append(char(0));  // window 0, not cropped
    Put16(&body, r.rect.x());
    Put16(&body, r.rect.y());
  }
  return body;
}

// Each line: one run of colour 1 across the whole width, then end of line.
QByteArray SolidRle(QSize size) {
  QByteArray rle;
  for (int y = 0; y < size.height(); ++y) {
    rle.append(char(0)).append(char(0xC0 | (size.width() >> 8)));
    rle.append(char(size.width() & 0xFF)).append(char(1));
    rle.append(char(0)).append(char(0));
  }
  return rle;
}

}  // namespace

QByteArray MakePgsStream(const PgsRectangle& r) {
  QByteArray out;
  // An empty screen at 0 first: the muxer takes the first time as the
  // stream's start and would move everything to begin there.
  Segment(&out, 0, kComposition, Composition(r, 0, false));
  Segment(&out, 0, kEnd, {});
  Segment(&out, r.showMs, kComposition, Composition(r, 1, true));
  QByteArray window;
  window.append(char(1)).append(char(0));
  Put16(&window, r.rect.x());
  Put16(&window, r.rect.y());
  Put16(&window, r.rect.width());
  Put16(&window, r.rect.height());
  Segment(&out, r.showMs, kWindow, window);
  QByteArray palette;
  palette.append(char(0)).append(char(0));  // palette 0, version 0
  palette.append(char(1)).append(char(r.y)).append(char(r.cr)).append(char(r.cb));
  palette.append(char(r.alpha));
  Segment(&out, r.showMs, kPalette, palette);
  const QByteArray rle = SolidRle(r.rect.size());
  QByteArray object;
  Put16(&object, 0);
  object.append(char(0)).append(char(0xC0));  // version, first and last part
  const int length = static_cast<int>(rle.size()) + 4;
  object.append(char((length >> 16) & 0xFF));
  Put16(&object, length & 0xFFFF);
  Put16(&object, r.rect.width());
  Put16(&object, r.rect.height());
  object.append(rle);
  Segment(&out, r.showMs, kObject, object);
  Segment(&out, r.showMs, kEnd, {});

  Segment(&out, r.hideMs, kComposition, Composition(r, 2, false));
  Segment(&out, r.hideMs, kWindow, window);
  Segment(&out, r.hideMs, kEnd, {});
  return out;
}

}  // namespace zelvaro::test
