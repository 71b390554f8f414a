#include "engine/thumbnail_pipeline.h"

#include "engine/decoder_policy.h"
#include "engine/thumbnail_generator.h"
#include "foundation/text_conversion.h"
#include "foundation/trace.h"

#include <gst/app/gstappsink.h>
#include <gst/video/video.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>

namespace zelvaro {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPrerollTimeout = std::chrono::seconds(10);
constexpr auto kFrameTimeout = std::chrono::seconds(5);
// Short slices so a raised stop flag is seen within this time.
constexpr GstClockTime kPollSlice = 20 * GST_MSECOND;
// Catmull-Rom: a bicubic whose taps widen with the shrink factor, so a
// 1080p picture shrunk twelvefold keeps its detail without aliasing.
constexpr int kScaleMethodCatmullRom = 8;
// One decoding thread: a preview is a single picture, which frame threads
// would only hold back.
constexpr int kDecoderThreads = 1;
// Pictures before the first keyframe after a seek cannot decode cleanly;
// this many are dropped at most, for streams that flag every picture delta.
constexpr int kMaxLeadingDeltaUnits = 600;

QSize DisplaySize(const GstVideoInfo& info) {
  int parN = std::max(1, GST_VIDEO_INFO_PAR_N(&info));
  int parD = std::max(1, GST_VIDEO_INFO_PAR_D(&info));
  int width = static_cast<int>(static_cast<int64_t>(GST_VIDEO_INFO_WIDTH(&info)) * parN / parD);
  return QSize(width, GST_VIDEO_INFO_HEIGHT(&info));
}

QImage ToImage(GstSample* sample, int64_t* frameTime100ns) {
  GstCaps* caps = gst_sample_get_caps(sample);
  GstBuffer* buffer = gst_sample_get_buffer(sample);
  GstVideoInfo info;
  if (caps == nullptr || buffer == nullptr || !gst_video_info_from_caps(&info, caps)) return {};
  if (GST_VIDEO_INFO_FORMAT(&info) != GST_VIDEO_FORMAT_BGRx) return {};
  GstVideoFrame frame;
  if (!gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ)) return {};
  const int width = GST_VIDEO_FRAME_WIDTH(&frame);
  const int height = GST_VIDEO_FRAME_HEIGHT(&frame);
  const int stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
  const auto* bits = static_cast<const uchar*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
  // BGRx in memory is 0xffRRGGBB on a little-endian machine.
  QImage image(width, height, QImage::Format_RGB32);
  for (int y = 0; y < height; ++y) {
    std::memcpy(image.scanLine(y), bits + static_cast<ptrdiff_t>(y) * stride,
                static_cast<size_t>(width) * 4);
  }
  gst_video_frame_unmap(&frame);

  if (frameTime100ns != nullptr) {
    *frameTime100ns = -1;
    GstClockTime pts = GST_BUFFER_PTS(buffer);
    const GstSegment* segment = gst_sample_get_segment(sample);
    if (GST_CLOCK_TIME_IS_VALID(pts) && segment != nullptr) {
      guint64 streamTime = gst_segment_to_stream_time(segment, GST_FORMAT_TIME, pts);
      if (GST_CLOCK_TIME_IS_VALID(streamTime))
        *frameTime100ns = static_cast<int64_t>(streamTime / 100);
    }
  }
  return image;
}

}  // namespace

// What the streaming threads touch: parsebin's pads arrive there.
struct PreviewPipeline::Links {
  GstElement* bin = nullptr;  // the pipeline; outlives every signal of its children
  ElementRef converter;
  ElementRef capsFilter;
  std::mutex mutex;  // one video branch, however many pads come
  std::atomic<bool> videoLinked{false};
  // parsebin has shown every stream, or has read the whole input.
  std::atomic<bool> streamsKnown{false};
  std::atomic<bool> awaitingKeyframe{true};
  std::atomic<int> droppedDeltaUnits{0};
  std::atomic<bool> endSent{false};
  // Cleared for good when a stream's first picture after a seek turns out
  // not to decode alone (a keyframe its parser could not tell apart).
  std::atomic<bool> onePicture{true};

  void LinkVideo(GstPad* pad) {
    CapsRef caps = CapsRef::Adopt(gst_pad_get_current_caps(pad));
    if (!caps) caps = CapsRef::Adopt(gst_pad_query_caps(pad, nullptr));
    if (!caps || gst_caps_is_empty(caps.get())) return;
    const char* media = gst_structure_get_name(gst_caps_get_structure(caps.get(), 0));
    if (std::strncmp(media, "video/", 6) != 0) return;
    std::lock_guard<std::mutex> guard(mutex);
    if (videoLinked) return;
    std::string factory = FindSoftwareDecoder(caps.get());
    ElementRef decoder = factory.empty() ? ElementRef() : MakeElement(factory.c_str());
    if (!decoder) {
      ZELVARO_TRACE_FIRST(5, "Thumbnails: no software decoder for %s", media);
      return;
    }
    SetPropertyIfPresent(decoder.get(), "max-threads", kDecoderThreads);
    SetPropertyIfPresent(decoder.get(), "output-corrupt", 0);
    gst_bin_add(GST_BIN(bin), decoder.get());
    PadRef decoderSink = PadRef::Adopt(gst_element_get_static_pad(decoder.get(), "sink"));
    PadRef decoderSource = PadRef::Adopt(gst_element_get_static_pad(decoder.get(), "src"));
    gst_pad_add_probe(
        decoderSink.get(),
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_FLUSH),
        &Links::OnDecoderInput, this, nullptr);
    gst_pad_add_probe(decoderSource.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM,
                      &Links::OnDecoderOutputEvent, this, nullptr);
    if (!gst_element_link(decoder.get(), converter.get()) ||
        !gst_element_sync_state_with_parent(decoder.get()) ||
        GST_PAD_LINK_FAILED(gst_pad_link(pad, decoderSink.get()))) {
      Trace("Thumbnails: the %s branch could not be linked", factory.c_str());
      return;
    }
    videoLinked = true;
  }

  // Feeds the decoder one picture per seek: what comes before the first
  // keyframe cannot decode cleanly (a demuxer without an index may land in
  // the middle of a group of pictures), and what follows it is not needed:
  // the end of the stream right after the keyframe makes the decoder hand
  // it over at once instead of holding it back for reordering.
  static GstPadProbeReturn OnDecoderInput(GstPad* pad, GstPadProbeInfo* info, gpointer data) {
    auto* links = static_cast<Links*>(data);
    if ((info->type & GST_PAD_PROBE_TYPE_EVENT_FLUSH) != 0) {
      if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_FLUSH_STOP) {
        links->droppedDeltaUnits = 0;
        links->awaitingKeyframe = true;
        links->endSent = false;
      }
      return GST_PAD_PROBE_OK;
    }
    if (links->awaitingKeyframe) {
      GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
      if (GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT) &&
          links->droppedDeltaUnits.fetch_add(1) < kMaxLeadingDeltaUnits) {
        return GST_PAD_PROBE_DROP;
      }
      links->awaitingKeyframe = false;
      return GST_PAD_PROBE_OK;
    }
    if (!links->onePicture) return GST_PAD_PROBE_OK;
    // Once the pad is at its end, the demuxer's next push returns EOS and it
    // pauses until the next flushing seek.
    if (!links->endSent.exchange(true)) gst_pad_send_event(pad, gst_event_new_eos());
    return GST_PAD_PROBE_DROP;
  }

  // The preview size follows the decoded picture's displayed aspect, known
  // only once the decoder announces its caps.
  static GstPadProbeReturn OnDecoderOutputEvent(GstPad*, GstPadProbeInfo* info, gpointer data) {
    GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) != GST_EVENT_CAPS) return GST_PAD_PROBE_OK;
    GstCaps* caps = nullptr;
    gst_event_parse_caps(event, &caps);
    GstVideoInfo videoInfo;
    if (caps == nullptr || !gst_video_info_from_caps(&videoInfo, caps)) return GST_PAD_PROBE_OK;
    QSize display = DisplaySize(videoInfo);
    QSize target = ThumbnailTargetSize(display.width(), display.height());
    CapsRef wanted = CapsRef::Adopt(
        gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "BGRx", "width", G_TYPE_INT,
                            target.width(), "height", G_TYPE_INT, target.height(),
                            "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, nullptr));
    g_object_set(static_cast<Links*>(data)->capsFilter.get(), "caps", wanted.get(), nullptr);
    return GST_PAD_PROBE_OK;
  }

  static void OnPadAdded(GstElement*, GstPad* pad, gpointer data) {
    (*static_cast<std::shared_ptr<Links>*>(data))->LinkVideo(pad);
  }
  static void OnStreamsKnown(GstElement*, gpointer data) {
    (*static_cast<std::shared_ptr<Links>*>(data))->streamsKnown = true;
  }
  static void Release(gpointer data, GClosure*) {
    delete static_cast<std::shared_ptr<Links>*>(data);
  }
};

PreviewPipeline::PreviewPipeline() = default;

PreviewPipeline::~PreviewPipeline() {
  if (pipeline_) gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

bool PreviewPipeline::Start(const QString& path, const std::atomic<bool>& stop) {
  EnsureGStreamer();
  pipeline_ = ElementRef::Adopt(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new("thumbnails"))));
  ElementRef source = MakeElement("filesrc");
  ElementRef parser = MakeElement("parsebin");
  links_ = std::make_shared<Links>();
  links_->bin = pipeline_.get();
  links_->converter = MakeElement("videoconvertscale");
  links_->capsFilter = MakeElement("capsfilter");
  appSink_ = MakeElement("appsink");
  if (!source || !parser || !links_->converter || !links_->capsFilter || !appSink_) {
    ZELVARO_TRACE_FIRST(5, "Thumbnails: a GStreamer element is missing");
    return false;
  }
  g_object_set(source.get(), "location", WideToUtf8(path).c_str(), nullptr);
  SetPropertyIfPresent(links_->converter.get(), "method", kScaleMethodCatmullRom);
  CapsRef anySize = CapsRef::Adopt(
      gst_caps_from_string("video/x-raw, format=(string)BGRx, pixel-aspect-ratio=(fraction)1/1"));
  g_object_set(links_->capsFilter.get(), "caps", anySize.get(), nullptr);
  g_object_set(appSink_.get(), "sync", FALSE, "max-buffers", 1u, "enable-last-sample", FALSE,
               "wait-on-eos", FALSE, nullptr);

  GstBin* bin = GST_BIN(pipeline_.get());
  for (GstElement* element : {source.get(), parser.get(), links_->converter.get(),
                              links_->capsFilter.get(), appSink_.get()}) {
    gst_bin_add(bin, element);
  }
  if (!gst_element_link(source.get(), parser.get()) ||
      !gst_element_link_many(links_->converter.get(), links_->capsFilter.get(), appSink_.get(),
                             nullptr)) {
    return false;
  }
  g_signal_connect_data(parser.get(), "pad-added", G_CALLBACK(&Links::OnPadAdded),
                        new std::shared_ptr<Links>(links_), &Links::Release, GConnectFlags{});
  // An audio-only input may be read to its end before no-more-pads comes.
  for (const char* signal : {"no-more-pads", "drained"}) {
    g_signal_connect_data(parser.get(), signal, G_CALLBACK(&Links::OnStreamsKnown),
                          new std::shared_ptr<Links>(links_), &Links::Release, GConnectFlags{});
  }

  if (!WaitForPreroll(stop)) return false;
  gint64 duration = 0;
  if (gst_element_query_duration(pipeline_.get(), GST_FORMAT_TIME, &duration) && duration > 0)
    duration100ns_ = duration / 100;
  return true;
}

bool PreviewPipeline::WaitForPreroll(const std::atomic<bool>& stop) {
  if (gst_element_set_state(pipeline_.get(), GST_STATE_PAUSED) == GST_STATE_CHANGE_FAILURE)
    return false;
  BusRef bus = BusRef::Adopt(gst_element_get_bus(pipeline_.get()));
  const auto deadline = Clock::now() + kPrerollTimeout;
  while (!stop && Clock::now() < deadline) {
    // Every stream is known and none is video: no picture will come.
    if (links_->streamsKnown && !links_->videoLinked) return false;
    GstMessage* raw = gst_bus_timed_pop_filtered(
        bus.get(), kPollSlice,
        static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_ASYNC_DONE));
    if (raw == nullptr) continue;
    const bool error = GST_MESSAGE_TYPE(raw) == GST_MESSAGE_ERROR;
    gst_message_unref(raw);
    return !error;
  }
  return false;
}

bool PreviewPipeline::BusHasError() {
  // Without a watch the bus keeps every message: empty it on each call.
  BusRef bus = BusRef::Adopt(gst_element_get_bus(pipeline_.get()));
  bool error = false;
  while (GstMessage* message = gst_bus_pop(bus.get())) {
    error = error || GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR;
    gst_message_unref(message);
  }
  return error;
}

QImage PreviewPipeline::FrameAt(int64_t time100ns, const std::atomic<bool>& stop,
                                int64_t* frameTime100ns) {
  if (!pipeline_) return {};
  QImage image = SeekAndPull(time100ns, stop, frameTime100ns);
  if (image.isNull() && links_->onePicture && !stop) {
    links_->onePicture = false;
    image = SeekAndPull(time100ns, stop, frameTime100ns);
    // Nothing there either way: the one-picture feed was not to blame.
    if (image.isNull()) links_->onePicture = true;
  }
  return image;
}

QImage PreviewPipeline::SeekAndPull(int64_t time100ns, const std::atomic<bool>& stop,
                                    int64_t* frameTime100ns) {
  const auto flags = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_KEY_UNIT |
                                               GST_SEEK_FLAG_SNAP_BEFORE);
  if (!gst_element_seek_simple(pipeline_.get(), GST_FORMAT_TIME, flags,
                               std::max<int64_t>(0, time100ns) * 100)) {
    ZELVARO_TRACE_FIRST(10, "Thumbnails: the seek to %.3f s failed", time100ns / 1e7);
    return {};
  }
  auto* sink = GST_APP_SINK(appSink_.get());
  const auto deadline = Clock::now() + kFrameTimeout;
  while (!stop && Clock::now() < deadline) {
    SampleRef sample = SampleRef::Adopt(gst_app_sink_try_pull_preroll(sink, kPollSlice));
    if (sample) {
      BusHasError();
      return ToImage(sample.get(), frameTime100ns);
    }
    if (BusHasError()) return {};
    // MPEG-TS without an index may also end early: its demuxer estimates
    // times from the bytes, and seeks into the last seconds come up empty.
    if (gst_app_sink_is_eos(sink)) {
      ZELVARO_TRACE_FIRST(10, "Thumbnails: the stream ends before %.3f s", time100ns / 1e7);
      return {};
    }
  }
  return {};
}

}  // namespace zelvaro
