#pragma once
// One decoded picture as the engine hands it to the video output.
//
// The planes point into a buffer owned by the frame (through `keepAlive`), so
// a frame stays valid for as long as anyone holds its shared_ptr; holders
// never write to it. Frames are made on a GStreamer streaming thread and may
// be read on any thread.

#include <array>
#include <cstdint>
#include <memory>

namespace zelvaro {

enum class VideoPixelFormat {
  I420,  // three planes: Y, U, V (U and V at half width and half height)
  NV12,  // two planes: Y, interleaved UV at half width and half height
};

// The matrix that turns the stream's YUV into RGB.
enum class VideoColorMatrix { Bt601, Bt709, Bt2020 };
enum class VideoColorRange { Limited, Full };

struct VideoFrame {
  VideoPixelFormat format = VideoPixelFormat::I420;
  int width = 0;   // coded pixels
  int height = 0;
  int pixelAspectNum = 1;  // shape of one pixel; display width = width * num / den
  int pixelAspectDen = 1;
  VideoColorMatrix matrix = VideoColorMatrix::Bt601;
  VideoColorRange range = VideoColorRange::Limited;
  int64_t time100ns = 0;  // presentation time in the stream

  std::array<const uint8_t*, 3> planes{};
  std::array<int, 3> strides{};  // bytes per row of each plane
  int planeCount = 0;

  std::shared_ptr<const void> keepAlive;  // owns the memory the planes point into
};

using VideoFramePtr = std::shared_ptr<const VideoFrame>;

}  // namespace zelvaro
