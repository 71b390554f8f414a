#pragma once
// The end of the video branch: an appsink whose samples become VideoFrames
// for the VideoOutput, in PAUSED (the preroll frame, so a paused seek shows
// its picture) as in PLAYING.
//
// Threads: the appsink's callbacks run on the branch's streaming thread and
// call VideoOutput::PresentFrame there. SetOutput may be called on any
// thread; once it returns, the old output is never called again, so the
// owner can destroy it.
//
// Ownership: the bridge state is shared with the appsink's callbacks and
// lives until both the bridge and the appsink are gone.

#include "engine/gst_ref.h"
#include "engine/video_frame.h"

#include <QSize>

#include <memory>

namespace zelvaro {

class VideoOutput;

// Maps one I420 or NV12 sample into a frame that keeps the sample mapped for
// as long as the frame lives. Null for another format or a sample that
// cannot be mapped.
VideoFramePtr MapVideoSample(GstSample* sample);

class VideoSinkBridge {
 public:
  // Creates the appsink (caps I420 or NV12, clock-synchronised, QoS on).
  VideoSinkBridge();
  ~VideoSinkBridge();
  VideoSinkBridge(const VideoSinkBridge&) = delete;
  VideoSinkBridge& operator=(const VideoSinkBridge&) = delete;

  // Null when the appsink element is not installed.
  GstElement* Sink() const { return sink_.get(); }

  void SetOutput(VideoOutput* output);

  // The picture's display size (pixel aspect applied) from the last frame;
  // empty before the first frame.
  QSize NativeSize() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
  ElementRef sink_;
};

}  // namespace zelvaro
