#include "engine/playback_graph.h"

#include "engine/audio_elements.h"
#include "engine/graph_events.h"
#include "engine/video_sink.h"
#include "foundation/text_conversion.h"
#include "foundation/trace.h"

#include <QFile>
#include <QFileInfo>

#include <cstring>

namespace zelvaro {
namespace {

using Clock = std::chrono::steady_clock;

// A seek whose ASYNC_DONE never came (a pipeline at end of stream in some
// demuxers) stops standing in for the position after this long.
constexpr int64_t kSeekPendingLimitMs = 2000;
constexpr auto kStreamPoll = std::chrono::milliseconds(10);

int64_t NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch())
      .count();
}

bool IsDescendantOf(GstObject* object, GstElement* ancestor) {
  return ancestor != nullptr && (object == GST_OBJECT(ancestor) ||
                                 gst_object_has_as_ancestor(object, GST_OBJECT(ancestor)));
}

// A sink has its first buffer (or, live, runs).
bool SinkPrerolled(GstElement* sink) {
  if (sink == nullptr) return false;
  GstState current = GST_STATE_VOID_PENDING;
  GstStateChangeReturn change = gst_element_get_state(sink, &current, nullptr, 0);
  return (change == GST_STATE_CHANGE_SUCCESS || change == GST_STATE_CHANGE_NO_PREROLL) &&
         current >= GST_STATE_PAUSED;
}

bool IsDemuxer(GstElement* element) {
  GstElementFactory* factory = gst_element_get_factory(element);
  const char* klass = factory != nullptr
                          ? gst_element_factory_get_metadata(factory, GST_ELEMENT_METADATA_KLASS)
                          : nullptr;
  // Tag readers (id3demux) pass reads through and leave their own task
  // paused; they are not the container's demuxer.
  return klass != nullptr && std::strstr(klass, "Demux") != nullptr &&
         std::strstr(klass, "Metadata") == nullptr;
}

// A demuxer that reads by itself (pull mode) and has paused its task has
// stopped for good: at the end, or on an error. parsebin swallows the error
// of a demuxer that fails while it is still being plugged in, so this is
// the one sign left of an input that will never give a stream.
bool DemuxerStopped(GstElement* splitter) {
  if (splitter == nullptr) return false;
  bool stopped = false;
  GstIterator* elements = gst_bin_iterate_recurse(GST_BIN(splitter));
  GValue item = G_VALUE_INIT;
  while (!stopped && gst_iterator_next(elements, &item) == GST_ITERATOR_OK) {
    auto* element = GST_ELEMENT(g_value_get_object(&item));
    if (IsDemuxer(element)) {
      PadRef sink = PadRef::Adopt(gst_element_get_static_pad(element, "sink"));
      GstTask* task = nullptr;
      if (sink) {
        GST_OBJECT_LOCK(sink.get());
        if (GST_PAD_MODE(sink.get()) == GST_PAD_MODE_PULL && GST_PAD_TASK(sink.get()) != nullptr) {
          task = GST_TASK(gst_object_ref(GST_PAD_TASK(sink.get())));
        }
        GST_OBJECT_UNLOCK(sink.get());
      }
      if (task != nullptr) {
        stopped = gst_task_get_state(task) == GST_TASK_PAUSED;
        gst_object_unref(task);
      }
    }
    g_value_reset(&item);
  }
  g_value_unset(&item);
  gst_iterator_free(elements);
  return stopped;
}

// GStreamer's URI handlers want the scheme in lower case; the rest stays.
std::string UriOf(const QString& url) {
  qsizetype colon = url.indexOf(u':');
  QString uri = colon > 0 ? url.left(colon).toLower() + url.mid(colon) : url;
  return WideToUtf8(uri);
}

}  // namespace

PlaybackGraph::PlaybackGraph(EventSink onEvent) : onEvent_(std::move(onEvent)) {
  EnsureGStreamer();
  RegisterAudioElements();
}

PlaybackGraph::~PlaybackGraph() {
  built_ = false;
  if (pipeline_) gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  if (bus_) gst_bus_set_sync_handler(bus_.get(), nullptr, nullptr, nullptr);
  // Not in the pipeline when no audio stream took it; it is in NULL already.
  audioRenderer_.Reset();
}

GraphBuildResult PlaybackGraph::Build(const GraphBuildRequest& request) {
  request_ = request;
  // A failed build still tells whether a hardware decoder caused it.
  auto failed = [this] {
    std::lock_guard<std::mutex> guard(mutex_);
    GraphBuildResult result;
    result.hardwareDecoderFailed = result_.hardwareDecoderFailed;
    return result;
  };
  Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(request.timeoutMs);

  pipeline_ = ElementRef::Adopt(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new("graph"))));
  bus_ = BusRef::Adopt(gst_pipeline_get_bus(GST_PIPELINE(pipeline_.get())));
  gst_bus_set_sync_handler(bus_.get(), &PlaybackGraph::OnBusMessage, this, nullptr);

  // The renderer is not optional, also for an audio file.
  videoRenderer_ = std::make_unique<VideoSinkBridge>();
  videoRenderer_->SetOutput(videoOutput_);
  if (videoRenderer_->Sink() == nullptr) {
    Trace("Failed to load: appsink");
    return failed();
  }
  PadRef videoSinkPad = PadRef::Adopt(gst_element_get_static_pad(videoRenderer_->Sink(), "sink"));
  gst_pad_add_probe(videoSinkPad.get(),
                    static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM |
                                                 GST_PAD_PROBE_TYPE_EVENT_FLUSH),
                    &PlaybackGraph::OnVideoSinkEvent, this, nullptr);
  if (!CreateSource()) return failed();

  GstStateChangeReturn change = gst_element_set_state(pipeline_.get(), GST_STATE_PAUSED);
  if (change == GST_STATE_CHANGE_FAILURE) {
    Trace("Failed to load source: %s", WideToUtf8(request.path).c_str());
    return failed();
  }
  // A live source (RTSP) streams only while playing; it is paused again once
  // its streams are linked.
  bool live = change == GST_STATE_CHANGE_NO_PREROLL;
  if (live) gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
  if (!WaitForStreams(deadline)) return failed();
  if (live) gst_element_set_state(pipeline_.get(), GST_STATE_PAUSED);

  std::lock_guard<std::mutex> guard(mutex_);
  GraphBuildResult result = result_;
  result.live = live;
  result.videoConnected = static_cast<bool>(lavVideo_) && !videoFailed_;
  result.audioConnected = activeAudio_.has_value();
  Trace("Connection status - Video: %d, Audio: %d", result.videoConnected, result.audioConnected);
  // Without sound, a stream that should have played and did not fails the
  // build, as an unconnected pin does.
  if (!result.audioConnected && (videoFailed_ || failedAudioStreams_ > 0)) {
    Trace("Still unconnected pin: %s", videoFailed_ ? "video" : "audio");
    return GraphBuildResult{};
  }
  // Subtitles or data alone are nothing to play: such a graph would stand
  // "running" for ever without a clock that moves or an end that comes.
  if (!result.videoConnected && !result.audioConnected) {
    Trace("Neither audio nor video to play");
    return GraphBuildResult{};
  }
  result.ok = true;
  built_ = true;
  return result;
}

bool PlaybackGraph::CreateSource() {
  GstBin* bin = GST_BIN(pipeline_.get());
  demuxQueue_ = MakeElement("multiqueue", "demux_queue");
  if (!demuxQueue_) return false;
  // Small lanes that grow while another lane is empty (multiqueue's own
  // rule), so badly interleaved files still preroll; bytes bound the memory.
  g_object_set(demuxQueue_.get(), "max-size-buffers", 5u, "max-size-bytes", 16u * 1024 * 1024,
               "max-size-time", static_cast<guint64>(0), nullptr);
  gst_bin_add(bin, demuxQueue_.get());

  if (request_.isUrl) {
    source_ = MakeElement("urisourcebin", "lav_splitter_source");
    if (!source_) return false;
    std::string uri = UriOf(request_.path);
    if (!gst_uri_is_valid(uri.c_str())) {
      Trace("Failed to load URL: %s", uri.c_str());
      return false;
    }
    // A buffer in front of the splitter that reports its level, so a slow
    // network pauses playback instead of starving it.
    g_object_set(source_.get(), "uri", uri.c_str(), "use-buffering", TRUE, nullptr);
    g_signal_connect(source_.get(), "pad-added", G_CALLBACK(&PlaybackGraph::OnSourcePadAdded),
                     this);
    gst_bin_add(bin, source_.get());
    return true;
  }

  if (!QFileInfo(request_.path).isFile()) {
    Trace("Failed to load source: no such file");
    return false;
  }
  source_ = MakeElement("filesrc", "lav_splitter_source");
  ElementRef splitter = MakeElement("parsebin", "lav_splitter");
  if (!source_ || !splitter) return false;
  g_object_set(source_.get(), "location", QFile::encodeName(request_.path).constData(), nullptr);
  g_signal_connect(splitter.get(), "pad-added", G_CALLBACK(&PlaybackGraph::OnStreamPadAdded), this);
  KeepAssScripts(splitter.get());
  gst_bin_add_many(bin, source_.get(), splitter.get(), nullptr);
  if (!gst_element_link(source_.get(), splitter.get())) return false;
  std::lock_guard<std::mutex> guard(mutex_);
  lavSplitter_ = splitter;
  return true;
}

bool PlaybackGraph::WaitForStreams(Clock::time_point deadline) {
  // Streams are linked on streaming threads, sometimes inside the PAUSED
  // state change itself; the pipeline then counts itself prerolled before its
  // new sinks are. So the wait watches the sinks it linked, one by one.
  while (Clock::now() < deadline) {
    bool streamsKnown = false;
    bool video = false;
    bool audio = false;
    ElementRef audioSink;
    ElementRef splitter;
    int padsSeen = 0;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait_for(lock, kStreamPoll);
      if (error_) return false;
      if (request_.cancel != nullptr && request_.cancel->load()) {
        Trace("The wait for the streams was cancelled");
        return false;
      }
      int expected = 0;
      for (const auto& [splitter, size] : collectionSizes_) expected += size;
      // Without a stream collection, whatever has been linked so far counts.
      streamsKnown = handledStreams_ > 0 && (expected == 0 || handledStreams_ >= expected);
      video = lavVideo_ && !videoFailed_;
      audio = activeAudio_.has_value();
      audioSink = audio_.renderer;
      splitter = lavSplitter_;
      padsSeen = streamPadsSeen_;
    }
    if (padsSeen == 0 && DemuxerStopped(splitter.get())) {
      Trace("Failed to load source: the demuxer stopped before any stream");
      return false;
    }
    if (!streamsKnown) continue;
    if ((!video || SinkPrerolled(videoRenderer_->Sink())) &&
        (!audio || SinkPrerolled(audioSink.get()))) {
      return !HasError();
    }
  }
  Trace("Timed out waiting for the streams of the input");
  return false;
}

bool PlaybackGraph::HasError() const {
  std::lock_guard<std::mutex> guard(mutex_);
  return error_;
}

GstPadProbeReturn PlaybackGraph::OnVideoSinkEvent(GstPad*, GstPadProbeInfo* info, gpointer self) {
  GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
  if (event == nullptr) return GST_PAD_PROBE_OK;
  auto* graph = static_cast<PlaybackGraph*>(self);
  switch (GST_EVENT_TYPE(event)) {
    case GST_EVENT_EOS:
      graph->videoEnded_ = true;
      break;
    case GST_EVENT_FLUSH_STOP:
    case GST_EVENT_STREAM_START:
      graph->videoEnded_ = false;
      break;
    default:
      break;
  }
  return GST_PAD_PROBE_OK;
}

GstBusSyncReply PlaybackGraph::OnBusMessage(GstBus*, GstMessage* message, gpointer self) {
  static_cast<PlaybackGraph*>(self)->HandleBusMessage(message);
  // Nobody pops this bus: every message is handled here and dropped. A sync
  // handler that drops owns the message; one kept holds its source, and the
  // pipeline's own messages would keep the whole graph alive.
  gst_message_unref(message);
  return GST_BUS_DROP;
}

void PlaybackGraph::HandleBusMessage(GstMessage* message) {
  GstObject* source = GST_MESSAGE_SRC(message);
  switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_ERROR: {
      GError* rawError = nullptr;
      gchar* rawDebug = nullptr;
      gst_message_parse_error(message, &rawError, &rawDebug);
      GErrorHandle error{rawError};
      GCharHandle debug{rawDebug};
      Trace("Graph error from %s: %s", source != nullptr ? GST_OBJECT_NAME(source) : "?",
            error ? error->message : "");
      ElementRef videoDecoder;
      {
        std::lock_guard<std::mutex> guard(mutex_);
        videoDecoder = lavVideo_;
      }
      bool fromVideoDecoder = IsDescendantOf(source, videoDecoder.get());
      // A decoder that cannot take the stream's caps (profile, depth,
      // chroma) lets the demuxer raise the error, as not-negotiated.
      bool notNegotiated = debug && std::strstr(debug.get(), "not-negotiated") != nullptr;
      {
        std::lock_guard<std::mutex> guard(mutex_);
        error_ = true;
        result_.hardwareDecoderFailed =
            videoDecoderIsHardware_ && !videoFailed_ && (fromVideoDecoder || notNegotiated);
        errorOutOfResources_ = fromVideoDecoder && error && error->domain == GST_RESOURCE_ERROR;
      }
      changed_.notify_all();
      if (built_ && onEvent_ && !errorReported_.exchange(true)) onEvent_(kEcErrorAbort);
      break;
    }
    case GST_MESSAGE_BUFFERING: {
      gint percent = 100;
      gst_message_parse_buffering(message, &percent);
      if (bufferingPercent_.exchange(percent) != percent && built_ && onEvent_) {
        onEvent_(kEcBuffering);
      }
      break;
    }
    case GST_MESSAGE_TAG: {
      GstTagList* rawTags = nullptr;
      gst_message_parse_tag(message, &rawTags);
      tags_.Note(rawTags);
      if (rawTags != nullptr) gst_tag_list_unref(rawTags);
      break;
    }
    case GST_MESSAGE_EOS:
      if (built_ && onEvent_) onEvent_(kEcComplete);
      break;
    case GST_MESSAGE_ASYNC_DONE:
      if (source == GST_OBJECT(pipeline_.get())) seekPending_ = false;
      break;
    case GST_MESSAGE_STREAM_COLLECTION: {
      if (std::strcmp(FactoryName(GST_ELEMENT_CAST(source)), "parsebin") != 0) break;
      GstStreamCollection* rawCollection = nullptr;
      gst_message_parse_stream_collection(message, &rawCollection);
      int size = rawCollection != nullptr
                     ? static_cast<int>(gst_stream_collection_get_size(rawCollection))
                     : 0;
      streams_.NoteCollection(source, rawCollection);
      if (rawCollection != nullptr) gst_object_unref(rawCollection);
      {
        std::lock_guard<std::mutex> guard(mutex_);
        collectionSizes_[source] = size;
      }
      changed_.notify_all();
      break;
    }
    case GST_MESSAGE_WARNING: {
      GError* rawError = nullptr;
      gst_message_parse_warning(message, &rawError, nullptr);
      GErrorHandle error{rawError};
      ZELVARO_TRACE_FIRST(10, "Graph warning from %s: %s",
                          source != nullptr ? GST_OBJECT_NAME(source) : "?",
                          error ? error->message : "");
      break;
    }
    default:
      break;
  }
}

void PlaybackGraph::SetVideoOutput(VideoOutput* output) {
  videoOutput_ = output;
  if (videoRenderer_) videoRenderer_->SetOutput(output);
}

QSize PlaybackGraph::NativeVideoSize() const {
  return videoRenderer_ ? videoRenderer_->NativeSize() : QSize();
}

bool PlaybackGraph::SetState(GstState state) {
  if (!pipeline_) return false;
  return gst_element_set_state(pipeline_.get(), state) != GST_STATE_CHANGE_FAILURE;
}

bool PlaybackGraph::SetPositions(int64_t time100ns, bool keyframe, double rate) {
  if (!pipeline_) return false;
  auto flags = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH);
  gint64 position = time100ns * 100;
  if (keyframe) {
    // Table times are truncated to 100 ns, so they can fall just short of the
    // demuxer's own time for the keyframe; landing on the keyframe at or
    // before a point 99 ns later finds exactly that one.
    flags = static_cast<GstSeekFlags>(flags | GST_SEEK_FLAG_KEY_UNIT | GST_SEEK_FLAG_SNAP_BEFORE);
    position += 99;
  } else {
    flags = static_cast<GstSeekFlags>(flags | GST_SEEK_FLAG_ACCURATE);
  }
  seekTarget100ns_ = time100ns;
  seekStartMs_ = NowMs();
  seekPending_ = true;
  bool ok = gst_element_seek(pipeline_.get(), rate, GST_FORMAT_TIME, flags, GST_SEEK_TYPE_SET,
                             position, GST_SEEK_TYPE_NONE, GST_CLOCK_TIME_NONE);
  if (!ok) seekPending_ = false;
  return ok;
}

std::optional<int64_t> PlaybackGraph::Position100ns() {
  if (!pipeline_) return std::nullopt;
  if (seekPending_ && NowMs() - seekStartMs_ < kSeekPendingLimitMs) return seekTarget100ns_.load();
  gint64 position = 0;
  // The video sink's own position: other sinks (subtitles, null sinks)
  // skew what the pipeline answers. Once the picture has ended before the
  // sound, its sink stands still; the audio renderer goes on to the end.
  GstElement* sink = videoRenderer_ != nullptr ? videoRenderer_->Sink() : nullptr;
  bool videoLinked = false;
  ElementRef audioRenderer;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    videoLinked = lavVideo_ && !videoFailed_;
    audioRenderer = audio_.renderer;
  }
  if (videoLinked && !videoEnded_ && sink != nullptr &&
      gst_element_query_position(sink, GST_FORMAT_TIME, &position)) {
    return position / 100;
  }
  if (audioRenderer &&
      gst_element_query_position(audioRenderer.get(), GST_FORMAT_TIME, &position)) {
    return position / 100;
  }
  if (gst_element_query_position(pipeline_.get(), GST_FORMAT_TIME, &position))
    return position / 100;
  return std::nullopt;
}

std::optional<int64_t> PlaybackGraph::Duration100ns() {
  gint64 duration = 0;
  if (!pipeline_ || !gst_element_query_duration(pipeline_.get(), GST_FORMAT_TIME, &duration) ||
      duration < 0) {
    return std::nullopt;
  }
  return duration / 100;
}

DecoderInfo PlaybackGraph::ReadDecoderInfo() const {
  DecoderInfo info;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    if (lavVideo_ && !videoFailed_) {
      info.videoCodec = VideoCodecName(videoCaps_.get());
      info.videoDecoder = QString::fromLatin1(FactoryName(lavVideo_.get()));
      info.isHardwareDecoder = IsHardwareDecoderName(FactoryName(lavVideo_.get()));
    }
  }
  // The track that plays now.
  std::optional<AudioBranch> active = ActiveAudioBranch();
  if (!active) return info;
  ElementRef audioDecoder = active->decoder;
  CapsRef audioCaps = active->caps;
  info.audioCodec = AudioCodecName(audioCaps.get());
  // What the decoder really puts out (HE-AAC doubles the rate its header
  // announces); the parser's caps when nothing was negotiated yet.
  PadRef decoded = PadRef::Adopt(gst_element_get_static_pad(audioDecoder.get(), "src"));
  CapsRef format = CapsRef::Adopt(decoded ? gst_pad_get_current_caps(decoded.get()) : nullptr);
  const GstCaps* source = format ? format.get() : audioCaps.get();
  if (source != nullptr && !gst_caps_is_empty(source)) {
    const GstStructure* structure = gst_caps_get_structure(source, 0);
    gst_structure_get_int(structure, "channels", &info.audioChannels);
    gst_structure_get_int(structure, "rate", &info.audioSampleRate);
  }
  return info;
}

bool PlaybackGraph::LastErrorWasOutOfResources() const {
  std::lock_guard<std::mutex> guard(mutex_);
  return errorOutOfResources_;
}

bool PlaybackGraph::LastErrorWasHardwareDecoder() const {
  std::lock_guard<std::mutex> guard(mutex_);
  return error_ && result_.hardwareDecoderFailed;
}

void PlaybackGraph::StopAndReleaseRenderer() {
  built_ = false;
  if (!pipeline_) return;
  gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  if (!videoRenderer_) return;
  videoRenderer_->SetOutput(nullptr);
  GstElement* sink = videoRenderer_->Sink();
  if (sink != nullptr && GST_OBJECT_PARENT(sink) == GST_OBJECT(pipeline_.get())) {
    gst_bin_remove(GST_BIN(pipeline_.get()), sink);
  }
  videoRenderer_.reset();
}

}  // namespace zelvaro
