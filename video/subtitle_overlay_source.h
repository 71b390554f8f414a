#pragma once
// Where the video renderer gets the picture it lays over each frame (the
// subtitles). The renderer asks once per paint, on the interface thread, and
// draws the answer as one premultiplied-alpha quad over the shown video
// rectangle, upright whatever the rotation.

#include <QImage>
#include <QSize>

#include <cstdint>

namespace zelvaro {

class SubtitleOverlaySource {
 public:
  virtual ~SubtitleOverlaySource() = default;

  // The picture for the frame at `time100ns`, to be stretched over a video
  // rectangle of `videoRectSize` device pixels (render at that size for a
  // sharp result). Format_ARGB32_Premultiplied; any other format is
  // converted on every paint. A null image draws nothing.
  //
  // The renderer uploads the picture again only when its QImage::cacheKey()
  // changes, so return the same (shared) QImage while nothing changed, and
  // a new or modified one when it did.
  virtual QImage PictureFor(int64_t time100ns, const QSize& videoRectSize) = 0;
};

}  // namespace zelvaro
