#pragma once
// A VideoOutput for engine tests: it is the real consumer of the real
// pipeline's appsink and records what reaches it (frames from the streaming
// thread, settings and rectangles from the interface thread), plus the
// waiting and pixel-reading helpers the tests share.

#include "engine/video_output.h"
#include "tests/support/wait_until.h"

#include <QColor>

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace zelvaro::test {

class RecordingVideoOutput : public VideoOutput {
 public:
  explicit RecordingVideoOutput(QSize clientSize = QSize(1920, 1080)) : clientSize_(clientSize) {}

  void PresentFrame(VideoFramePtr frame) override;
  void ClearFrame() override;
  QSize ClientSize() const override { return clientSize_; }
  void SetDestinationRect(const QRect& rect) override;
  bool SetInt(std::string_view name, int value) override;
  bool SetBool(std::string_view name, bool value) override;
  QImage DisplayedImage() override { return {}; }
  // Colour controls on the ranges set with SetProcAmpRanges (none: refused).
  bool GetProcAmpRange(unsigned flag, ProcAmpRange* range) override;
  bool SetProcAmpValues(unsigned flags, const ProcAmpValues& values) override;
  // Brightness, contrast, hue, saturation, as the renderer orders them.
  void SetProcAmpRanges(const std::vector<ProcAmpRange>& ranges);
  std::vector<ProcAmpValues> ProcAmpCalls() const { return Read(procAmpCalls_); }

  int FrameCount() const { return Read(frameCount_); }
  VideoFramePtr LastFrame() const { return Read(lastFrame_); }
  int ClearCount() const { return Read(clearCount_); }
  QRect DestinationRect() const { return Read(destination_); }
  // Every named setting received, in order: ("rotation", 90), ("flip", 1).
  std::vector<std::pair<std::string, int>> Settings() const { return Read(settings_); }
  void ForgetSettings();

 private:
  // A copy of a member the streaming thread may be writing.
  template <typename T>
  T Read(const T& member) const {
    std::lock_guard<std::mutex> guard(mutex_);
    return member;
  }

  QSize clientSize_;
  mutable std::mutex mutex_;
  int frameCount_ = 0;
  VideoFramePtr lastFrame_;
  int clearCount_ = 0;
  QRect destination_;
  std::vector<std::pair<std::string, int>> settings_;
  std::vector<ProcAmpRange> procAmpRanges_;
  std::vector<ProcAmpValues> procAmpCalls_;
};

// The colour of a frame's pixel, converted with the frame's own matrix and
// range.
QColor PixelColor(const VideoFrame& frame, int x, int y);

// Whether two colours are within `tolerance` on each channel.
bool NearColor(const QColor& actual, const QColor& expected, int tolerance = 40);

}  // namespace zelvaro::test
