#include "tests/engine/recording_video_output.h"

#include <algorithm>
#include <cstdlib>

namespace zelvaro::test {

void RecordingVideoOutput::PresentFrame(VideoFramePtr frame) {
  std::lock_guard<std::mutex> guard(mutex_);
  ++frameCount_;
  lastFrame_ = std::move(frame);
}

void RecordingVideoOutput::ClearFrame() {
  std::lock_guard<std::mutex> guard(mutex_);
  ++clearCount_;
  lastFrame_.reset();
}

void RecordingVideoOutput::SetDestinationRect(const QRect& rect) {
  std::lock_guard<std::mutex> guard(mutex_);
  destination_ = rect;
}

bool RecordingVideoOutput::SetInt(std::string_view name, int value) {
  std::lock_guard<std::mutex> guard(mutex_);
  settings_.emplace_back(std::string(name), value);
  return true;
}

bool RecordingVideoOutput::SetBool(std::string_view name, bool value) {
  std::lock_guard<std::mutex> guard(mutex_);
  settings_.emplace_back(std::string(name), value ? 1 : 0);
  return true;
}

bool RecordingVideoOutput::GetProcAmpRange(unsigned flag, ProcAmpRange* range) {
  std::lock_guard<std::mutex> guard(mutex_);
  const int index = flag == kProcAmpBrightness   ? 0
                    : flag == kProcAmpContrast   ? 1
                    : flag == kProcAmpHue        ? 2
                    : flag == kProcAmpSaturation ? 3
                                                 : -1;
  if (index < 0 || size_t(index) >= procAmpRanges_.size()) return false;
  *range = procAmpRanges_[index];
  return true;
}

bool RecordingVideoOutput::SetProcAmpValues(unsigned flags, const ProcAmpValues& values) {
  std::lock_guard<std::mutex> guard(mutex_);
  if (procAmpRanges_.empty() || flags != kProcAmpAll) return false;
  procAmpCalls_.push_back(values);
  return true;
}

void RecordingVideoOutput::SetProcAmpRanges(const std::vector<ProcAmpRange>& ranges) {
  std::lock_guard<std::mutex> guard(mutex_);
  procAmpRanges_ = ranges;
}

void RecordingVideoOutput::ForgetSettings() {
  std::lock_guard<std::mutex> guard(mutex_);
  settings_.clear();
}

QColor PixelColor(const VideoFrame& frame, int x, int y) {
  int luma = frame.planes[0][y * frame.strides[0] + x];
  int cb = 0;
  int cr = 0;
  if (frame.format == VideoPixelFormat::I420) {
    cb = frame.planes[1][(y / 2) * frame.strides[1] + x / 2];
    cr = frame.planes[2][(y / 2) * frame.strides[2] + x / 2];
  } else {
    const uint8_t* pair = frame.planes[1] + (y / 2) * frame.strides[1] + (x / 2) * 2;
    cb = pair[0];
    cr = pair[1];
  }
  bool full = frame.range == VideoColorRange::Full;
  double yv = full ? luma : (luma - 16) * 255.0 / 219.0;
  double u = (cb - 128) * (full ? 1.0 : 255.0 / 224.0);
  double v = (cr - 128) * (full ? 1.0 : 255.0 / 224.0);
  // Kr and Kb of the frame's matrix.
  const auto [kr, kb] = frame.matrix == VideoColorMatrix::Bt709    ? std::pair(0.2126, 0.0722)
                        : frame.matrix == VideoColorMatrix::Bt2020 ? std::pair(0.2627, 0.0593)
                                                                   : std::pair(0.299, 0.114);
  double kg = 1.0 - kr - kb;
  double r = yv + 2.0 * (1.0 - kr) * v;
  double b = yv + 2.0 * (1.0 - kb) * u;
  double g = (yv - kr * r - kb * b) / kg;
  auto clamp = [](double value) { return std::clamp(static_cast<int>(value + 0.5), 0, 255); };
  return QColor(clamp(r), clamp(g), clamp(b));
}

bool NearColor(const QColor& actual, const QColor& expected, int tolerance) {
  return std::abs(actual.red() - expected.red()) <= tolerance &&
         std::abs(actual.green() - expected.green()) <= tolerance &&
         std::abs(actual.blue() - expected.blue()) <= tolerance;
}

}  // namespace zelvaro::test
