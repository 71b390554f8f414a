#include "engine/video_sink.h"

#include "engine/video_output.h"
#include "foundation/trace.h"

#include <gst/app/gstappsink.h>
#include <gst/video/video.h>

#include <mutex>

namespace zelvaro {
namespace {

// Owns the mapping behind one frame's planes, which holds the buffer. The
// sample itself goes back at once: appsink fills the same sample again, and
// cannot give it the caps of the next buffer (after a seek, say) while
// anyone still holds it.
struct MappedVideoSample {
  GstVideoFrame frame{};
  bool mapped = false;
  ~MappedVideoSample() {
    if (mapped) gst_video_frame_unmap(&frame);
  }
};

VideoColorMatrix MatrixOf(const GstVideoInfo& info) {
  switch (info.colorimetry.matrix) {
    case GST_VIDEO_COLOR_MATRIX_BT709:
      return VideoColorMatrix::Bt709;
    case GST_VIDEO_COLOR_MATRIX_BT2020:
      return VideoColorMatrix::Bt2020;
    default:
      return VideoColorMatrix::Bt601;
  }
}

}  // namespace

VideoFramePtr MapVideoSample(GstSample* sample) {
  if (sample == nullptr) return nullptr;
  GstCaps* caps = gst_sample_get_caps(sample);
  GstBuffer* buffer = gst_sample_get_buffer(sample);
  GstVideoInfo info;
  if (caps == nullptr || buffer == nullptr || !gst_video_info_from_caps(&info, caps)) {
    return nullptr;
  }
  auto frame = std::make_shared<VideoFrame>();
  switch (GST_VIDEO_INFO_FORMAT(&info)) {
    case GST_VIDEO_FORMAT_I420:
      frame->format = VideoPixelFormat::I420;
      break;
    case GST_VIDEO_FORMAT_NV12:
      frame->format = VideoPixelFormat::NV12;
      break;
    default:
      return nullptr;
  }
  auto mapped = std::make_shared<MappedVideoSample>();
  if (!gst_video_frame_map(&mapped->frame, &info, buffer, GST_MAP_READ)) return nullptr;
  mapped->mapped = true;

  frame->width = GST_VIDEO_INFO_WIDTH(&info);
  frame->height = GST_VIDEO_INFO_HEIGHT(&info);
  frame->pixelAspectNum = std::max(1, GST_VIDEO_INFO_PAR_N(&info));
  frame->pixelAspectDen = std::max(1, GST_VIDEO_INFO_PAR_D(&info));
  frame->matrix = MatrixOf(info);
  frame->range = info.colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255 ? VideoColorRange::Full
                                                                       : VideoColorRange::Limited;
  frame->planeCount = static_cast<int>(GST_VIDEO_FRAME_N_PLANES(&mapped->frame));
  for (int plane = 0; plane < frame->planeCount && plane < 3; ++plane) {
    frame->planes[plane] =
        static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&mapped->frame, plane));
    frame->strides[plane] = GST_VIDEO_FRAME_PLANE_STRIDE(&mapped->frame, plane);
  }
  // Stream time, the clock of the keyframe table and of subtitles; buffer
  // times of MP4 with an edit list start later than that.
  GstClockTime pts = GST_BUFFER_PTS(buffer);
  const GstSegment* segment = gst_sample_get_segment(sample);
  if (GST_CLOCK_TIME_IS_VALID(pts)) {
    guint64 streamTime =
        segment != nullptr ? gst_segment_to_stream_time(segment, GST_FORMAT_TIME, pts) : pts;
    if (GST_CLOCK_TIME_IS_VALID(streamTime))
      frame->time100ns = static_cast<int64_t>(streamTime / 100);
  }
  frame->keepAlive = std::move(mapped);
  return frame;
}

struct VideoSinkBridge::State {
  std::mutex mutex;  // held while an output is called, so SetOutput waits for it
  VideoOutput* output = nullptr;
  QSize nativeSize;

  void Deliver(GstSample* sample) {
    VideoFramePtr frame = MapVideoSample(sample);
    if (!frame) {
      ZELVARO_TRACE_FIRST(5, "Video sample could not be mapped");
      return;
    }
    QSize size(frame->width * frame->pixelAspectNum / frame->pixelAspectDen, frame->height);
    std::lock_guard<std::mutex> guard(mutex);
    nativeSize = size;
    if (output != nullptr) output->PresentFrame(std::move(frame));
  }

  static GstFlowReturn OnNewSample(GstAppSink* sink, gpointer data) {
    SampleRef sample = SampleRef::Adopt(gst_app_sink_pull_sample(sink));
    if (sample) static_cast<std::shared_ptr<State>*>(data)->get()->Deliver(sample.get());
    return GST_FLOW_OK;
  }

  static GstFlowReturn OnNewPreroll(GstAppSink* sink, gpointer data) {
    SampleRef sample = SampleRef::Adopt(gst_app_sink_pull_preroll(sink));
    if (sample) static_cast<std::shared_ptr<State>*>(data)->get()->Deliver(sample.get());
    return GST_FLOW_OK;
  }

  static void Release(gpointer data) { delete static_cast<std::shared_ptr<State>*>(data); }
};

VideoSinkBridge::VideoSinkBridge() : state_(std::make_shared<State>()) {
  sink_ = MakeElement("appsink", "video_renderer");
  if (!sink_) return;
  CapsRef caps = CapsRef::Adopt(gst_caps_from_string("video/x-raw, format=(string){ I420, NV12 }"));
  // QoS lets the decoder skip frames that would come too late, instead of
  // falling further behind on a slow machine.
  g_object_set(sink_.get(), "caps", caps.get(), "sync", TRUE, "qos", TRUE, "max-lateness",
               static_cast<gint64>(20 * GST_MSECOND), "enable-last-sample", FALSE, "max-buffers",
               2u, nullptr);
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = &State::OnNewSample;
  callbacks.new_preroll = &State::OnNewPreroll;
  gst_app_sink_set_callbacks(GST_APP_SINK(sink_.get()), &callbacks,
                             new std::shared_ptr<State>(state_), &State::Release);
}

VideoSinkBridge::~VideoSinkBridge() {
  SetOutput(nullptr);
}

void VideoSinkBridge::SetOutput(VideoOutput* output) {
  std::lock_guard<std::mutex> guard(state_->mutex);
  state_->output = output;
}

QSize VideoSinkBridge::NativeSize() const {
  std::lock_guard<std::mutex> guard(state_->mutex);
  return state_->nativeSize;
}

}  // namespace zelvaro
