// PlaybackGraph: linking the streams parsebin finds, on streaming threads.

#include "engine/burst_queue.h"
#include "engine/lead_in_skip.h"
#include "engine/playback_graph.h"
#include "engine/video_sink.h"
#include "foundation/trace.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace zelvaro {
namespace {

std::string_view MediaType(const GstCaps* caps) {
  if (caps == nullptr || gst_caps_is_empty(caps) || gst_caps_is_any(caps)) return {};
  return gst_structure_get_name(gst_caps_get_structure(caps, 0));
}

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

// Raw streams (WAV, Y4M) need no decoder; identity keeps the branch's shape.
std::string DecoderFactoryFor(const GstCaps* caps, std::string_view rawType) {
  if (MediaType(caps) == rawType) return "identity";
  return FindSoftwareDecoder(caps);
}

void RemoveFromBin(GstBin* bin, const std::vector<GstElement*>& elements) {
  for (GstElement* element : elements) {
    if (GST_OBJECT_PARENT(element) != GST_OBJECT(bin)) continue;
    gst_element_set_state(element, GST_STATE_NULL);
    gst_bin_remove(bin, element);
  }
}

}  // namespace

void PlaybackGraph::OnSourcePadAdded(GstElement*, GstPad* pad, gpointer self) {
  auto* graph = static_cast<PlaybackGraph*>(self);
  // One splitter per stream the URL source gives (adaptive streams give several).
  ElementRef splitter = MakeElement("parsebin");
  if (!splitter) {
    Trace("Failed to load: parsebin");
    graph->DropStream(pad);
    return;
  }
  g_signal_connect(splitter.get(), "pad-added", G_CALLBACK(&PlaybackGraph::OnStreamPadAdded), self);
  KeepAssScripts(splitter.get());
  gst_bin_add(GST_BIN(graph->pipeline_.get()), splitter.get());
  gst_element_sync_state_with_parent(splitter.get());
  PadRef splitterSink = PadRef::Adopt(gst_element_get_static_pad(splitter.get(), "sink"));
  if (gst_pad_link(pad, splitterSink.get()) != GST_PAD_LINK_OK) {
    Trace("Failed to load URL source pad %s", GST_PAD_NAME(pad));
  }
  std::lock_guard<std::mutex> guard(graph->mutex_);
  if (!graph->lavSplitter_) graph->lavSplitter_ = splitter;
}

void PlaybackGraph::OnStreamPadAdded(GstElement*, GstPad* pad, gpointer self) {
  auto* graph = static_cast<PlaybackGraph*>(self);
  {
    std::lock_guard<std::mutex> guard(graph->mutex_);
    ++graph->streamPadsSeen_;
  }
  // Some parsers expose their pad before its caps are known (MP3, WebM
  // video): the stream is linked when its caps event passes, which comes
  // before any data. The probe goes first so a caps event cannot slip by.
  gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, &PlaybackGraph::OnStreamCaps, self,
                    nullptr);
  CapsRef caps = CapsRef::Adopt(gst_pad_get_current_caps(pad));
  if (caps) graph->HandleStream(pad, caps.get());
}

GstPadProbeReturn PlaybackGraph::OnStreamCaps(GstPad* pad, GstPadProbeInfo* info, gpointer self) {
  GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
  if (event == nullptr || GST_EVENT_TYPE(event) != GST_EVENT_CAPS) return GST_PAD_PROBE_OK;
  GstCaps* caps = nullptr;
  gst_event_parse_caps(event, &caps);
  static_cast<PlaybackGraph*>(self)->HandleStream(pad, caps);
  return GST_PAD_PROBE_REMOVE;
}

void PlaybackGraph::HandleStream(GstPad* pad, GstCaps* caps) {
  std::lock_guard<std::mutex> streamGuard(streamMutex_);
  std::string_view media = MediaType(caps);
  bool isVideo = StartsWith(media, "video/") || StartsWith(media, "image/");
  bool isAudio = StartsWith(media, "audio/");
  // The pad may have been handled already: by its current caps, or by an
  // earlier caps event (a caps change mid-stream keeps its branch).
  if (!handledPads_.insert(pad).second) return;
  streams_.NoteStreamPad(pad, StreamKindOfCaps(caps));
  bool linkVideo = false;
  bool linkAudio = false;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    linkVideo = isVideo && !videoTried_;
    if (linkVideo) videoTried_ = true;
    linkAudio = isAudio;
  }
  Trace("Rendering pin: %s (%.*s)", GST_PAD_NAME(pad), static_cast<int>(media.size()),
        media.data());
  if (linkVideo) {
    if (!LinkVideoBranch(pad, caps)) {
      std::lock_guard<std::mutex> guard(mutex_);
      videoFailed_ = true;
    }
  } else if (linkAudio) {
    GCharHandle streamId{gst_pad_get_stream_id(pad)};
    AudioStreamPad& stream = audioPads_[streamId ? streamId.get() : GST_PAD_NAME(pad)];
    stream.pad = PadRef::Share(pad);
    stream.caps = CapsRef::Share(caps);
    bool playing = false;
    {
      std::lock_guard<std::mutex> guard(mutex_);
      playing = activeAudio_.has_value();
    }
    bool starting = IsStartingAudioTrack(pad) || audioStartFailed_;
    if (!playing && starting && !LinkAudioBranch(pad, caps)) {
      // Another track may still play: the next one to come.
      audioStartFailed_ = true;
      std::lock_guard<std::mutex> guard(mutex_);
      ++failedAudioStreams_;
    }
    // The other tracks wait, undecoded, for the menu.
    if (!gst_pad_is_linked(pad)) stream.dropProbe = DropStream(pad);
  }
  // Streams nobody plays are dropped; left unlinked they would stop the
  // demuxer. The tap drops subtitles too, after a look.
  if (StreamKindOfCaps(caps) == StreamKind::kSubtitle) {
    subtitleTap_.Attach(pad, caps);
  } else if (!gst_pad_is_linked(pad) && !linkAudio) {
    DropStream(pad);
  }
  {
    std::lock_guard<std::mutex> guard(mutex_);
    ++handledStreams_;
  }
  changed_.notify_all();
}

bool PlaybackGraph::LinkVideoBranch(GstPad* pad, GstCaps* caps) {
  const GstStructure* structure = gst_caps_get_structure(caps, 0);
  int width = 0;
  int height = 0;
  int rateNum = 0;
  int rateDen = 1;
  gst_structure_get_int(structure, "width", &width);
  gst_structure_get_int(structure, "height", &height);
  gst_structure_get_fraction(structure, "framerate", &rateNum, &rateDen);
  if (width >= 1 && height >= 1) Trace("Detected video resolution: %dx%d", width, height);
  const double rate = rateNum > 0 && rateDen > 0 ? static_cast<double>(rateNum) / rateDen : 0.0;

  int wanted =
      request_.forceSoftware ? kHwAccelNone : HwAccelForVideoSize(request_.hwAccel, width, height);
  // A hardware decoder must open its device and take this very stream: a
  // profile, depth or chroma it cannot decode would fail in the middle.
  DecoderProbe probe = [this, caps](const std::string& candidate) {
    return request_.probe(candidate) && FactoryAcceptsCaps(candidate, caps);
  };
  VideoDecoderChoice choice =
      ChooseVideoDecoder(wanted, VideoCodecFromCaps(caps), width, height, request_.video, probe);
  std::string factory =
      choice.factory.empty() ? DecoderFactoryFor(caps, "video/x-raw") : choice.factory;
  {
    std::lock_guard<std::mutex> guard(mutex_);
    result_.resolutionOverride = !request_.forceSoftware && (width > 3840 || height > 2160);
    result_.effectiveHwAccel = choice.hwAccel;
    result_.videoWidth = width;
    result_.videoHeight = height;
    result_.frameRate = rate;
  }
  if (factory.empty()) {
    Trace("Failed to render pin '%s': no decoder", GST_PAD_NAME(pad));
    return false;
  }
  ElementRef decoder = MakeElement(factory.c_str(), "lav_video");
  ElementRef convert = MakeElement("videoconvert", "video_convert");
  ElementRef burst = MakeBurstQueue(BurstDepthFor(width, height), "video_burst");
  if (!decoder || !convert || !burst) return false;
  SetPropertyIfPresent(decoder.get(), "max-threads",
                       SoftwareDecoderThreads(request_.video.numThreads, VideoCodecFromCaps(caps),
                                              width, height, rate));
  ElementRef deinterlace;
  if (request_.video.deintMode && *request_.video.deintMode != 3) {
    deinterlace = MakeElement("deinterlace", "video_deinterlace");
    if (deinterlace) {
      gst_util_set_object_arg(G_OBJECT(deinterlace.get()), "mode",
                              *request_.video.deintMode == 2 ? "interlaced" : "auto");
    }
  }

  PadRef laneSink;
  PadRef laneSource;
  if (!RequestQueueLane(&laneSink, &laneSource)) return false;
  GstBin* bin = GST_BIN(pipeline_.get());
  std::vector<GstElement*> chain = {decoder.get()};
  if (deinterlace) chain.push_back(deinterlace.get());
  chain.push_back(convert.get());
  chain.push_back(burst.get());
  chain.push_back(videoRenderer_->Sink());
  for (GstElement* element : chain) gst_bin_add(bin, element);
  bool linked = true;
  for (size_t i = 0; linked && i + 1 < chain.size(); ++i) {
    linked = gst_element_link(chain[i], chain[i + 1]);
  }
  PadRef decoderSink = PadRef::Adopt(gst_element_get_static_pad(decoder.get(), "sink"));
  AddLeadInSkip(decoderSink.get(), caps);
  linked = linked && gst_pad_link(laneSource.get(), decoderSink.get()) == GST_PAD_LINK_OK;
  if (linked) {
    for (auto it = chain.rbegin(); it != chain.rend(); ++it)
      gst_element_sync_state_with_parent(*it);
    // Known before any data flows, so an error of this decoder is recognised.
    std::lock_guard<std::mutex> guard(mutex_);
    lavVideo_ = decoder;
    videoCaps_ = CapsRef::Share(caps);
    videoDecoderIsHardware_ = !choice.factory.empty();
  }
  linked = linked && gst_pad_link(pad, laneSink.get()) == GST_PAD_LINK_OK;
  if (!linked) {
    Trace("Failed to render pin '%s' through %s", GST_PAD_NAME(pad), factory.c_str());
    {
      std::lock_guard<std::mutex> guard(mutex_);
      lavVideo_.Reset();
      videoCaps_.Reset();
    }
    RemoveFromBin(bin, chain);
    ReleaseQueueLane(laneSink);
    return false;
  }
  Trace("Successfully rendered pin: %s (%s)", GST_PAD_NAME(pad), factory.c_str());
  return true;
}

bool PlaybackGraph::EnsureAudioChain(GstCaps* caps, PadRef* input) {
  {
    std::lock_guard<std::mutex> guard(mutex_);
    *input = audio_.input;
  }
  if (*input) return true;
  // The desktop's output is opened once a stream needs it: probing it loads a
  // plugin per sound system, which a silent video need not pay for.
  if (!audioRenderer_) {
    audioRendererIsNull_ = false;
    audioRenderer_ = request_.audioRenderer ? request_.audioRenderer()
                                            : CreateAudioRenderer(&audioRendererIsNull_);
  }
  AudioChain chain;
  if (!ConnectAudioChain(GST_BIN(pipeline_.get()), caps, audioRenderer_, request_.audioStages,
                         request_.audio, request_.audioLevels, &chain)) {
    return false;
  }
  std::lock_guard<std::mutex> guard(mutex_);
  audio_ = chain;
  *input = chain.input;
  return true;
}

std::optional<AudioBranch> PlaybackGraph::ConnectAudioStream(GstPad* pad, GstCaps* caps,
                                                             const PadRef& input) {
  std::string factory = DecoderFactoryFor(caps, "audio/x-raw");
  if (factory.empty()) {
    Trace("Failed to connect the demuxer to an audio decoder: no decoder");
    return std::nullopt;
  }
  // A lane of its own: a lane the last track used still holds that track's
  // caps, which it would hand the new decoder first.
  PadRef laneSource;
  AudioBranch branch;
  if (!RequestQueueLane(&branch.laneSink, &laneSource)) return std::nullopt;
  GCharHandle streamId{gst_pad_get_stream_id(pad)};
  branch.streamId = streamId ? streamId.get() : GST_PAD_NAME(pad);
  branch.caps = CapsRef::Share(caps);
  branch.sourcePad = PadRef::Share(pad);
  if (!ConnectAudioBranch(GST_BIN(pipeline_.get()), laneSource.get(), factory, input.get(),
                          &branch)) {
    ReleaseQueueLane(branch.laneSink);
    return std::nullopt;
  }
  if (gst_pad_link(pad, branch.laneSink.get()) != GST_PAD_LINK_OK) {
    Trace("Failed to connect the demuxer to an audio decoder: %s", GST_PAD_NAME(pad));
    PadRef decoded = PadRef::Adopt(gst_element_get_static_pad(branch.decoder.get(), "src"));
    gst_pad_unlink(decoded.get(), input.get());
    RemoveFromBin(GST_BIN(pipeline_.get()), {branch.decoder.get()});
    ReleaseQueueLane(branch.laneSink);
    return std::nullopt;
  }
  Trace("Connected audio stream %s through %s (renderer: %s)", branch.streamId.c_str(),
        factory.c_str(), audioRendererIsNull_ ? "null sink" : "desktop");
  return branch;
}

bool PlaybackGraph::LinkAudioBranch(GstPad* pad, GstCaps* caps) {
  PadRef input;
  if (!EnsureAudioChain(caps, &input)) return false;
  std::optional<AudioBranch> branch = ConnectAudioStream(pad, caps, input);
  if (!branch) return false;
  std::lock_guard<std::mutex> guard(mutex_);
  activeAudio_ = branch;
  return true;
}

void PlaybackGraph::DisconnectAudioBranch(const AudioBranch& branch, const PadRef& input) {
  // The flush frees the lane's thread wherever it waits downstream (the
  // renderer's preroll, or its clock) and stops that thread, so no buffer of
  // the old format can reach the chain after the new decoder's caps. The
  // demuxer may be told "flushing" too, if it was waiting on this lane: the
  // seek after the switch starts it again.
  gst_pad_send_event(branch.laneSink.get(), gst_event_new_flush_start());
  gst_pad_unlink(branch.sourcePad.get(), branch.laneSink.get());
  PadRef decoded = PadRef::Adopt(gst_element_get_static_pad(branch.decoder.get(), "src"));
  gst_pad_unlink(decoded.get(), input.get());
  RemoveFromBin(GST_BIN(pipeline_.get()), {branch.decoder.get()});
  ReleaseQueueLane(branch.laneSink);
  // The chain stays in the graph and must take data again; its running time
  // is left alone (the seek that follows resets it for every sink at once).
  gst_pad_send_event(input.get(), gst_event_new_flush_stop(FALSE));
}

bool PlaybackGraph::IsStartingAudioTrack(GstPad* pad) {
  GCharHandle streamId{gst_pad_get_stream_id(pad)};
  int track = streams_.TrackOf(StreamKind::kAudio, streamId ? streamId.get() : GST_PAD_NAME(pad));
  if (startingAudioTrack_ < 0) {
    // Decided once, at the first audio stream: the splitter has announced
    // all of them by then (its collection), if not yet their languages.
    std::vector<AudioTrackFacts> tracks = streams_.Facts(StreamKind::kAudio);
    if (request_.audioTracks.size() == tracks.size()) tracks = request_.audioTracks;
    startingAudioTrack_ =
        std::max(0, ChooseAudioTrack(tracks, request_.splitter.preferredLanguages));
    Trace("Audio track %d of %zu starts", startingAudioTrack_, tracks.size());
  }
  return track == startingAudioTrack_ || track < 0;
}

gulong PlaybackGraph::DropStream(GstPad* pad) {
  // A sink, even one that neither syncs nor waits, would block the demuxer
  // in its preroll while paused; dropping the data at the pad costs nothing
  // and lets the demuxer go on with the streams that play.
  return gst_pad_add_probe(
      pad, static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
      [](GstPad*, GstPadProbeInfo*, gpointer) { return GST_PAD_PROBE_DROP; }, nullptr, nullptr);
}

bool PlaybackGraph::RequestQueueLane(PadRef* sink, PadRef* source) {
  *sink = PadRef::Adopt(gst_element_request_pad_simple(demuxQueue_.get(), "sink_%u"));
  if (!*sink) return false;
  std::string name = GST_PAD_NAME(sink->get());
  std::string sourceName = "src_" + name.substr(name.find('_') + 1);
  *source = PadRef::Adopt(gst_element_get_static_pad(demuxQueue_.get(), sourceName.c_str()));
  if (*source) return true;
  ReleaseQueueLane(*sink);
  return false;
}

void PlaybackGraph::ReleaseQueueLane(const PadRef& sink) {
  if (sink) gst_element_release_request_pad(demuxQueue_.get(), sink.get());
}

}  // namespace zelvaro
