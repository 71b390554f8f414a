#pragma once
// PlaybackGraph: one GStreamer pipeline for one input, built by hand. It is
// what GraphManager's "graph" field holds; GraphManager keeps the policy
// (retries, fall-backs, state), this class keeps the elements.
//
//   source (filesrc, or urisourcebin for URLs) → parsebin ("the splitter")
//     → multiqueue → video decoder (chosen by the hardware policy)
//                    → [deinterlace] → videoconvert → appsink → VideoOutput
//     → multiqueue → audio decoder → audio chain (audio_chain.h) → audio renderer
//       for the playing audio track only (audio_track_choice.h decides which
//       starts); the other audio streams are dropped at their pads until
//       SelectAudioTrack gives one a lane and a decoder in place of the old
//     → subtitle streams end at their pads in the SubtitleTap (taken there
//       for the graph route of embedded subtitles); every other stream is
//       dropped at its pad
//
// The streams the splitter announces, linked or not, are listed in a
// StreamInventory for the track menus.
//
// Threads: every public member is called on one thread at a time: the
// interface thread, except Build, which may run on a thread of its own
// before the graph is handed over (a network address). Streams are linked
// on streaming threads as parsebin finds them; Build waits for that and for
// the preroll with a time-out, or until the request's cancel flag is set.
// Bus messages are handled synchronously on the thread that posts them; end
// of stream, the first error and buffering levels go to the EventSink given
// at construction, on that thread, only after a successful Build.
//
// Ownership: the graph owns every element; the VideoOutput is borrowed and
// must stay alive until SetVideoOutput(nullptr) or the graph's destruction.

#include "engine/audio_chain.h"
#include "engine/decoder_info.h"
#include "engine/decoder_policy.h"
#include "engine/decoder_settings.h"
#include "engine/gst_ref.h"
#include "engine/input_tags.h"
#include "engine/stream_inventory.h"
#include "engine/subtitle_stream_tap.h"

#include <QSize>
#include <QString>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvaro {

class VideoOutput;
class VideoSinkBridge;

struct GraphBuildRequest {
  QString path;  // a local path or a URL
  bool isUrl = false;
  int hwAccel = kHwAccelDefault;
  VideoDecoderSettings video;
  SplitterSettings splitter;
  AudioDecoderSettings audio;
  AudioStageNames audioStages;
  AudioStartLevels audioLevels;
  // The audio tracks as the container describes them (local files); empty
  // leaves the choice to what the splitter says.
  std::vector<AudioTrackFacts> audioTracks;
  DecoderProbe probe = ProbeDecoderFactory;
  int timeoutMs = 10000;  // for finding the streams and the first picture
  // A rebuild after a hardware fault: software whatever the picture's size.
  bool forceSoftware = false;
  // Set from another thread to end the wait for the streams early (the
  // build then fails); outlives the build.
  const std::atomic<bool>* cancel = nullptr;
  // Makes the audio renderer instead of the desktop's sink when set (a
  // test's capturing sink).
  std::function<ElementRef()> audioRenderer;
};

struct GraphBuildResult {
  bool ok = false;  // the graph stands, paused on its first frame
  bool videoConnected = false;
  bool audioConnected = false;
  bool live = false;                    // a live source (no preroll, no buffering pause)
  bool resolutionOverride = false;      // above 3840×2160: hardware mode 5 was forced
  bool hardwareDecoderFailed = false;   // a hardware video decoder raised the error
  int effectiveHwAccel = kHwAccelNone;  // the mode that stood after the walk down
  int videoWidth = 0;
  int videoHeight = 0;
  double frameRate = 0.0;  // of the first video stream; 0 when unknown
};

class PlaybackGraph {
 public:
  // Called on a GStreamer thread with kEcComplete, kEcErrorAbort or
  // kEcBuffering (graph_events.h).
  using EventSink = std::function<void(long eventCode)>;

  explicit PlaybackGraph(EventSink onEvent);
  ~PlaybackGraph();
  PlaybackGraph(const PlaybackGraph&) = delete;
  PlaybackGraph& operator=(const PlaybackGraph&) = delete;

  // Once per graph. Leaves the pipeline paused on the first frame.
  GraphBuildResult Build(const GraphBuildRequest& request);

  void SetVideoOutput(VideoOutput* output);
  QSize NativeVideoSize() const;

  // PAUSED or PLAYING; false when the change failed.
  bool SetState(GstState state);
  // A flushing seek. `keyframe`: `time100ns` is a keyframe of the table and
  // the demuxer lands on it without decoding from an earlier one.
  bool SetPositions(int64_t time100ns, bool keyframe, double rate);
  std::optional<int64_t> Position100ns();
  std::optional<int64_t> Duration100ns();

  // Audio control; each is false when its stage is not in the graph.
  // `level` in hundredths of a decibel: 0 full, −10000 silence.
  bool SetVolumeLevel(long level);
  bool HasAudioSwitcherControl() const;
  bool SetNormalizeBoost2(bool normalize, unsigned maxNormFactor, bool recover, unsigned boost);
  bool HasDRC() const;
  bool SetDRC(bool enabled, int level);
  bool GetDRC(bool* enabled, int* level) const;
  std::shared_ptr<AudioTimeStretch> TimeStretch() const;
  // The graph's own rate: a flushing seek to where it stands, at `rate`,
  // which the time-stretch stage follows.
  bool SetRate(double rate);

  // Tracks, numbered per kind (stream_inventory.h).
  const StreamInventory& Streams() const { return streams_; }
  // The subtitle streams' data, taken where it would be dropped.
  SubtitleStreamTap& SubtitleTap() { return subtitleTap_; }
  // −1 when no audio stream plays.
  int CurrentAudioTrack() const;
  // True when the track now plays. A switch replaces the decoder and seeks
  // to where the graph stands at `rate`; `running`: the graph plays (else
  // it stays paused with the new track's sound as its preroll). False, with
  // the old track kept, on an input that cannot seek.
  bool SelectAudioTrack(int track, bool running, double rate);

  // Codecs, decoders and audio format as negotiated; frameRate left 0.
  DecoderInfo ReadDecoderInfo() const;
  // True when the last error came from the video decoder running out of
  // memory or device resources.
  bool LastErrorWasOutOfResources() const;
  // True when the last error came from a hardware video decoder, or from
  // caps it could not take (not negotiated on its lane).
  bool LastErrorWasHardwareDecoder() const;

  // What the tags that reached the sinks say of the input (input_tags.h).
  InputTags Tags(bool hasVideo) const { return tags_.Read(hasVideo); }

  // The network buffer's last level, 0 to 100; 100 when nothing buffers.
  int BufferingPercent() const { return bufferingPercent_; }

  // The first step of tearing down: the pipeline stops and the renderer
  // leaves it, so no frame reaches the output any more.
  void StopAndReleaseRenderer();

 private:
  static GstBusSyncReply OnBusMessage(GstBus* bus, GstMessage* message, gpointer self);
  static void OnSourcePadAdded(GstElement* source, GstPad* pad, gpointer self);
  static void OnStreamPadAdded(GstElement* splitter, GstPad* pad, gpointer self);
  static GstPadProbeReturn OnStreamCaps(GstPad* pad, GstPadProbeInfo* info, gpointer self);
  static GstPadProbeReturn OnVideoSinkEvent(GstPad* pad, GstPadProbeInfo* info, gpointer self);

  bool CreateSource();
  bool WaitForStreams(std::chrono::steady_clock::time_point deadline);
  bool HasError() const;
  void HandleBusMessage(GstMessage* message);

  // Stream linking (graph_streams.cpp), serialised by streamMutex_.
  void HandleStream(GstPad* pad, GstCaps* caps);
  bool LinkVideoBranch(GstPad* pad, GstCaps* caps);
  bool LinkAudioBranch(GstPad* pad, GstCaps* caps);
  bool EnsureAudioChain(GstCaps* caps, PadRef* input);
  // Gives `pad` a queue lane and a decoder into the chain's free input.
  std::optional<AudioBranch> ConnectAudioStream(GstPad* pad, GstCaps* caps, const PadRef& input);
  std::optional<AudioBranch> ActiveAudioBranch() const;
  // Drops a stream's data at its pad; returns the probe.
  gulong DropStream(GstPad* pad);
  // Takes the playing track's branch out after flushing it (under streamMutex_).
  void DisconnectAudioBranch(const AudioBranch& branch, const PadRef& input);
  bool IsSeekable();
  // Whether `pad` carries the audio track to start with (under streamMutex_).
  bool IsStartingAudioTrack(GstPad* pad);
  // Requests a queue lane; returns its sink and source pads.
  bool RequestQueueLane(PadRef* sink, PadRef* source);
  void ReleaseQueueLane(const PadRef& sink);

  EventSink onEvent_;
  GraphBuildRequest request_;  // fixed once Build starts; read by streaming threads
  ElementRef pipeline_;        // graph
  BusRef bus_;
  ElementRef source_;
  ElementRef demuxQueue_;
  std::unique_ptr<VideoSinkBridge> videoRenderer_;
  VideoOutput* videoOutput_ = nullptr;
  // Made by the first audio stream, under streamMutex_; owned here until the
  // audio chain takes it into the graph.
  ElementRef audioRenderer_;
  bool audioRendererIsNull_ = false;
  std::atomic<bool> built_{false};
  // One error per graph reaches the sink: the first says it all, and each
  // report would move the interface on once more.
  std::atomic<bool> errorReported_{false};
  std::atomic<int> bufferingPercent_{100};
  InputTagCollector tags_;  // guards itself

  std::mutex streamMutex_;         // one stream is linked at a time
  std::set<GstPad*> handledPads_;  // guarded by streamMutex_
  int startingAudioTrack_ = -1;    // guarded by streamMutex_; −1 until the first audio stream
  bool audioStartFailed_ = false;  // guarded by streamMutex_: the next audio stream plays
  struct AudioStreamPad {
    PadRef pad;
    CapsRef caps;
    gulong dropProbe = 0;  // 0 while the stream plays
  };
  std::map<std::string, AudioStreamPad> audioPads_;  // guarded by streamMutex_; by stream id

  mutable std::mutex mutex_;  // guards the fields below; never held across a GStreamer call
  std::condition_variable changed_;
  ElementRef lavSplitter_;  // the first parsebin
  ElementRef lavVideo_;
  CapsRef videoCaps_;
  AudioChain audio_;
  std::optional<AudioBranch> activeAudio_;  // the playing track's branch
  StreamInventory streams_;
  SubtitleStreamTap subtitleTap_;              // guards itself
  std::map<GstObject*, int> collectionSizes_;  // streams announced, per parsebin
  int streamPadsSeen_ = 0;
  int handledStreams_ = 0;
  int failedAudioStreams_ = 0;
  bool videoTried_ = false;
  bool videoFailed_ = false;
  bool error_ = false;
  bool errorOutOfResources_ = false;
  bool videoDecoderIsHardware_ = false;
  GraphBuildResult result_;

  // The picture's lane has ended (its sink saw the end of stream); a seek
  // or a new stream starts it again. The clock then comes from the sound.
  std::atomic<bool> videoEnded_{false};

  // A flushing seek in flight reports its target as the position until the
  // pipeline has prerolled again (ASYNC_DONE).
  std::atomic<bool> seekPending_{false};
  std::atomic<int64_t> seekTarget100ns_{0};
  std::atomic<int64_t> seekStartMs_{0};
};

}  // namespace zelvaro
