#pragma once
// PreviewPipeline: one paused decode pipeline for preview pictures,
//   filesrc ! parsebin ! <software decoder> ! videoconvertscale ! capsfilter ! appsink
// that seeks to a keyframe and hands back the picture there, already scaled
// to its preview size (ThumbnailTargetSize of the displayed size) in 32-bit
// RGB. It never touches the playback graph and always decodes in software,
// so a preview never competes for a hardware decoder.
//
// Threads: made, used and destroyed on one thread, never the interface
// thread (Start and FrameAt block for a decode). GStreamer's streaming
// threads only touch the shared link state inside.

#include "engine/gst_ref.h"

#include <QImage>
#include <QSize>
#include <QString>

#include <atomic>
#include <cstdint>
#include <memory>

namespace zelvaro {

class PreviewPipeline {
 public:
  PreviewPipeline();
  ~PreviewPipeline();
  PreviewPipeline(const PreviewPipeline&) = delete;
  PreviewPipeline& operator=(const PreviewPipeline&) = delete;

  // Builds the pipeline and waits for its first picture. False for a file
  // that cannot be read, has no video, or is damaged, and when `stop` rises.
  bool Start(const QString& path, const std::atomic<bool>& stop);
  // 0 when the container does not tell.
  int64_t Duration100ns() const { return duration100ns_; }

  // The first picture from the keyframe at or before `time100ns` (a
  // flushing key-unit seek); null at the end of the stream, on an error, on
  // a time-out and when `stop` rises. `frameTime100ns` gets the picture's
  // stream time, -1 when unknown.
  QImage FrameAt(int64_t time100ns, const std::atomic<bool>& stop,
                 int64_t* frameTime100ns = nullptr);

 private:
  struct Links;
  bool WaitForPreroll(const std::atomic<bool>& stop);
  bool BusHasError();
  QImage SeekAndPull(int64_t time100ns, const std::atomic<bool>& stop, int64_t* frameTime100ns);

  ElementRef pipeline_;
  ElementRef appSink_;
  std::shared_ptr<Links> links_;
  int64_t duration100ns_ = 0;
};

}  // namespace zelvaro
