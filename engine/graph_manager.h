#pragma once
// GraphManager: the one object that owns playback. It holds the graph (one
// GStreamer pipeline built by hand, playback_graph.h) for the single current
// input; it opens and closes it, runs, pauses, stops and seeks it, and hands
// out position, duration, the keyframe table and what really decodes the
// input (GetDecoderInfo). An empty CurrentPath() means nothing is open.
//
// Threads: every member is called on the interface thread. The recursive
// lock makes Close, Play, Pause, Stop, Seek, GetDuration, GetPosition and
// GetDecoderInfo atomic against re-entry; a caller that toggles play and
// pause holds Lock() around both branches. The audio, speed, track and A-B
// operations do not take it. Decoding and output run on
// GStreamer's threads: frames go from there to VideoOutput::PresentFrame,
// and the graph events (kEcComplete at the end of the input, kEcErrorAbort)
// come back to the interface thread as queued calls of the sink set with
// SetGraphEventSink, never directly; an event of a graph that has since been
// closed is dropped. A fault of a hardware video decoder never reaches the
// sink: the input is rebuilt in software where it stood. Any other error
// does, once per graph, and means the input has ended. kEcBuffering tells
// that a network buffer's level changed (BufferingPercent).
//
// A network address opened with OpenUrlAsync is built on a detached thread
// of its own; only its result comes back, as a queued call. Close (and so
// every open and the destructor) cancels it without waiting for it.
//
// Ownership: GraphManager owns the graph and everything in it. The
// VideoOutput (the video window and its renderer) is borrowed: the owner
// sets it and clears it with SetVideoOutput(nullptr) before destroying it.
// Everything returned is a copy, except Keyframes() and CurrentPath(), valid
// until the next OpenFile or Close.
//
// Times: 100-ns units (int64) inside; seconds (double) at the operations,
// converted by 10,000,000 with truncation toward zero.
//
// Audio settings: every audio setter stores its value and writes it to the
// settings before it touches the graph, so a value set without a graph is
// there for the next one (SetDRCLevel alone saves only when a graph can take
// it). Speed is not stored in the settings but survives Close.

#include "engine/ab_repeat.h"
#include "engine/audio_chain.h"
#include "engine/decoder_info.h"
#include "engine/decoder_policy.h"
#include "engine/frame_capture.h"
#include "engine/graph_events.h"
#include "engine/input_tags.h"
#include "engine/proc_amp.h"

#include <QRect>
#include <QSize>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class QObject;

namespace zelvaro {

class ExternalToolTask;
class PlaybackGraph;
struct EmbeddedSubtitleStream;
class EmbeddedTextPreload;
struct GraphBuildRequest;
struct GraphBuildResult;
class SubtitleManager;
class VideoOutput;

class GraphManager {
 public:
  // Called on the interface thread with a kEc* code.
  using GraphEventSink = std::function<void(long eventCode)>;

  explicit GraphManager(VideoOutput* videoOutput = nullptr);
  ~GraphManager();
  GraphManager(const GraphManager&) = delete;
  GraphManager& operator=(const GraphManager&) = delete;

  void SetVideoOutput(VideoOutput* videoOutput);
  void SetGraphEventSink(GraphEventSink sink);
  // The factories of the time-stretch and AudioSwitcher stages for the next
  // builds; an empty name leaves the stage out.
  void SetAudioStageNames(AudioStageNames names);
  // Makes the audio renderer of the next builds instead of the desktop's
  // sink (a test's capturing sink); empty goes back to the desktop's.
  void SetAudioRendererFactory(std::function<ElementRef()> factory);

  // True when a playable graph stands; it is left stopped on its first frame.
  // Waits for the input: a network address can take seconds here, see
  // OpenUrlAsync.
  bool OpenFile(const QString& path);
  // Opens a network address without waiting for it (graph_url_open.cpp):
  // the graph is built on a thread of its own while the interface thread
  // goes on. `progress` is called about once a second with the seconds
  // waited, and `done` once with the result (stopped, as after OpenFile),
  // both on the interface thread. Close, or any other open, cancels it:
  // then neither is called again. A time-out or a network error is not
  // tried again; only a hardware decoder fault gets a second, software build.
  using OpenDone = std::function<void(bool opened)>;
  using OpenProgress = std::function<void(int waitedSeconds)>;
  void OpenUrlAsync(const QString& url, OpenDone done, OpenProgress progress = {});
  // True while an OpenUrlAsync waits.
  bool IsOpening() const { return static_cast<bool>(pendingOpen_); }
  void Close();
  // True when the graph runs; false without a graph.
  bool Play();
  void Pause();
  // Stops at position 0; the caller then calls RedrawVideo.
  void Stop();
  // snap: land on a keyframe of the table; direction −1, 0, 1 chooses which.
  bool Seek(double seconds, bool snap, int direction);
  bool SeekRelative(double deltaSeconds, bool snap);
  bool SeekPreviousKeyframe();
  bool SeekNextKeyframe();
  // Seconds; 0.0 without a graph or when the pipeline cannot say.
  double GetDuration();
  double GetPosition();
  DecoderInfo GetDecoderInfo();

  // Video control: named settings of the renderer and the letterbox.
  bool SetRotation(int degrees);
  bool SetFlipHorizontal(bool on);
  bool SetFlipVertical(bool on);
  // The client area's size in; the letterboxed picture rectangle out to the
  // VideoOutput. left and top are not used.
  bool SetVideoPosition(int left, int top, int width, int height);
  void RefreshVideoPosition();
  void RedrawVideo();
  // The picture's native size (pixel aspect applied, before any rotation);
  // false while no frame has told it.
  bool GetVideoSize(int* width, int* height) const;

  // Colour controls (video_control.cpp), user values: brightness, contrast
  // and saturation -100..100, hue -180..180 degrees, 0 leaving the picture
  // untouched. Each setter clamps, stores (the values survive Close), reads
  // the renderer's ranges when they are not read yet, and applies all four;
  // the result is ApplyProcAmp's, false without a video graph. A new graph's
  // renderer starts at its defaults: nothing reapplies them until the next
  // setter or ApplyProcAmp.
  int Brightness() const { return brightness_; }
  int Contrast() const { return contrast_; }
  int Saturation() const { return saturation_; }
  int Hue() const { return hue_; }
  bool SetBrightness(int value);
  bool SetContrast(int value);
  bool SetSaturation(int value);
  bool SetHue(int value);
  // True when the renderer gave all four ranges; procAmpReady until Close.
  bool ReadProcAmpRanges();
  // The four values mapped on the ranges, sent at once; needs the ranges.
  bool ApplyProcAmp();

  // Frame capture (frame_capture.cpp, which also says which way
  // ScreenshotMethod picks). Interface thread; the images are the
  // renderer's read-backs, null when there is nothing to show.
  CaptureResult CaptureFrame();
  QImage CaptureFrameImage();
  QImage CaptureDisplayedImage();  // as shown: turned, mirrored, with subtitles
  QImage CaptureCurrentImage();    // the frame itself at its display size
  QImage CapturePrintWindow();     // the video area as the screen shows it

  // Audio control (audio_control.cpp). Volume 0.0 to 1.0 on a decibel
  // curve (VolumeLevel); true when the graph took it.
  bool SetVolume(float volume);
  // As SetVolume without writing the setting, for a run of quick changes
  // (the wheel) that SaveVolume writes once when it settles.
  bool SetVolumeUnsaved(float volume);
  void SaveVolume();
  void SetMuted(bool muted);
  // Level 0 to 100; false (and nothing saved) without a graph's DRC stage.
  bool SetDRCLevel(bool enabled, int level);
  bool QueryDRC(bool* enabled, int* level);
  void ToggleDRC();
  // maxFactor 1.0 to 10.0. Without an AudioSwitcher the DRC stage stands in
  // (level = factor × 25).
  bool SetNormalize(bool enabled, bool recover, float maxFactor);
  // factor 1.0 to 4.0; true also when no AudioSwitcher exists.
  bool SetBoost(float factor);
  // 0.1 to 4.0, bounds included; outside, false and nothing changes. False
  // without a graph.
  bool SetSpeed(double rate);
  // The most recent samples of the time-stretch stage (its tap), for the
  // spectrum: at most `capacity` floats, interleaved. False without the stage.
  bool GetAudioSamples(float* buffer, int capacity, int* frames, int* channels, int* sampleRate);
  float Volume() const { return volume_; }
  bool Muted() const { return muted_; }
  bool NormalizeEnabled() const { return normalizeEnabled_; }
  bool NormalizeRecover() const { return normalizeRecover_; }
  float MaxNormFactor() const { return maxNormFactor_; }
  float BoostFactor() const { return boostFactor_; }

  // Tracks (stream_control.cpp), numbered from 0 among the streams of one
  // kind. Counts are 0 and names empty without a graph.
  int GetAudioTrackCount();
  // −1 when no audio stream plays.
  int GetCurrentAudioTrack();
  QString GetAudioTrackName(int track);
  // Switches while the graph runs; false for a track that cannot play.
  bool SelectAudioTrack(int track);
  int GetSubtitleTrackCount();
  QString GetSubtitleTrackName(int track);

  // Subtitles (graph_subtitles.cpp). OpenFile of a local file starts loading
  // the first side file FindSubtitleFiles names, on the manager's worker (it
  // shows once read; Subtitles()->IsLoading() until then); Close empties the
  // manager, cancelling such a load, but
  // keeps it, and its delay. The manager is made on demand and lives until
  // this object goes; null before. The renderer asks it for pictures.
  void EnsureSubtitleManager();
  SubtitleManager* Subtitles() const { return subtitleManager_.get(); }
  // Milliseconds; positive shows the subtitles earlier. Without a manager
  // the delay is 0 and the setters do nothing. A change repaints at once.
  void ResetSubtitleDelay();
  int64_t GetSubtitleDelay() const;
  void AdjustSubtitleDelay(int64_t deltaMs);

  // Embedded subtitles (graph_embedded_subtitles.cpp), `index` among the
  // subtitle streams as the track menu numbers them. Both routes put the
  // stream in place of the subtitle shown.
  // The graph route: the stream's own samples, as the splitter reads them,
  // become libass events drawn by the same overlay as side files; those of
  // a picture stream are decoded on the streaming thread and drawn by the
  // same overlay, scaled from the stream's canvas. False without a graph or
  // for a stream that is not there.
  bool GrabEmbeddedSubtitle(int index);
  // A stream of pictures (PGS, DVD, DVB): only the graph route shows it.
  bool IsBitmapEmbeddedSubtitle(int index);
  // The external route: ffmpeg extracts the stream into the temporary file
  // "Zelvaro_embedded_sub" (.ass or .srt) on a thread of its own, and it
  // then loads like a side file; `done` runs on the interface thread with
  // the outcome, unless Close or another extraction came first. False, with
  // nothing started, when it cannot begin (no file, no such stream, a
  // bitmap stream, no ffmpeg).
  bool ExtractEmbeddedSubtitle(int index, std::function<void(bool loaded)> done = {});
  // Drops an extraction under way: its file never loads, its `done` never
  // runs (the user chose something else meanwhile).
  void CancelEmbeddedExtraction();
  // The embedded track to start with by the subtitle settings
  // (ChooseSubtitleTrack); −1 for none.
  int DefaultEmbeddedSubtitle();

  // A-B repeat (stream_control.cpp; rules in ab_repeat.h). The marks are
  // taken at the graph's position; nothing happens without a graph.
  void SetMarkA();
  void SetMarkB();
  // The position timer's check, every 100 ms while running: jumps to mark A
  // (exact, not snapped) when the loop is due; true when it jumped.
  bool CheckABRepeat();
  // The clip dialog's direct setting, in 100-ns units.
  void SetMarks(int64_t markA, int64_t markB);
  void ClearMarks() { abRepeat_.Clear(); }
  int64_t MarkA() const { return abRepeat_.markA; }
  int64_t MarkB() const { return abRepeat_.markB; }

  // Clip cutting (clip_cut.cpp): a job that copies [start, end) of the open
  // file into `outputPath`, made but not started, for the caller to own and
  // start; null when nothing is open, no ffmpeg is found or end is not after
  // start. It runs on a thread of its own: the window never waits for it.
  std::unique_ptr<ExternalToolTask> CutToFile(double startSeconds, double endSeconds,
                                              const QString& outputPath);

  // The network buffer of a URL input, 0 to 100 (100 without one). Below
  // 100 a non-live address pauses the pipeline until the buffer is full
  // again, while State() keeps what the user asked for: a Pause or Play
  // meanwhile is kept and holds after the buffering.
  int BufferingPercent() const;
  bool IsBuffering() const { return bufferingPaused_; }

  // 0 stopped, 1 paused, 2 running: the last state asked for and granted.
  int State() const { return state_; }
  const QString& CurrentPath() const { return currentPath_; }
  bool HasVideo() const { return hasVideo_; }
  // Title, artist and album as the input has told them so far; empty fields
  // until its tags pass the sinks, and for an input without them.
  InputTags GetInputTags() const;
  bool IsUrlInput() const { return isUrlInput_; }
  bool VideoConnected() const { return videoConnected_; }
  // The hardware mode of this open (LAV_HWAccel numbering).
  int HwAccel() const { return hwAccel_; }
  double FrameRate() const { return frameRate_; }
  double Speed() const { return speed_; }
  int Rotation() const { return rotation_; }
  bool FlipHorizontal() const { return flipHorizontal_; }
  bool FlipVertical() const { return flipVertical_; }
  // Sorted keyframe times of the open input, 100 ns; empty when unknown.
  const std::vector<int64_t>& Keyframes() const { return keyframes_; }
  std::recursive_mutex& Lock() { return lock_; }

 private:
  struct PendingOpen;
  // GrabEmbeddedSubtitle for a stream of pictures.
  bool GrabBitmapSubtitle(int index, const std::string& streamId,
                          const EmbeddedSubtitleStream& stream);
  bool BuildGraph(const QString& path);
  // The request for a build of `path` with this object's settings; read on
  // the interface thread.
  GraphBuildRequest PrepareBuild(const QString& path);
  // A new graph whose events carry a new generation.
  std::unique_ptr<PlaybackGraph> MakeGraph();
  // Takes in graph_'s build result: fields, audio settings, speed, picture.
  bool AdoptBuildResult(const GraphBuildResult& result);
  // OpenUrlAsync after its Close, with hwAccel_ and softwareOnly_ as they stand.
  void BeginUrlOpen(const QString& url, OpenDone done, OpenProgress progress);
  void StartUrlBuild(const QString& url, std::shared_ptr<PendingOpen> pending);
  void FinishUrlBuild(const std::shared_ptr<PendingOpen>& pending);
  void CancelPendingOpen();
  void ScanKeyframes(const QString& path);
  void ApplyOrientation();
  // The picture controls of a new graph: its renderer's defaults.
  void ResetRendererProcAmp();
  // The renderer of a video graph stands: the analog of the video processor.
  bool HasVideoProcessor() const;
  void ApplyAudioSettings();
  // Volume, mute, normalisation and boost as the next graph's audio stages
  // are made with them.
  AudioStartLevels StartLevels() const;
  // Runs on a GStreamer thread; hops to the interface thread.
  void PostGraphEvent(uint64_t generation, long eventCode);
  // On the interface thread: mends what can be mended, passes the rest on.
  void HandleGraphEvent(long eventCode);
  // A hardware video decoder failed while playing: the same input again in
  // software, at the same position and state. False when that is not the
  // fault or the rebuild fails (the input then ends).
  bool RebuildAfterDecoderFault();
  // Pauses the pipeline below a full network buffer, runs it again at full.
  void FollowBuffering();
  void LoadSideSubtitles(const QString& mediaPath);
  void ClearSubtitles();

  std::unique_ptr<PlaybackGraph> graph_;
  std::vector<int64_t> keyframes_;
  std::recursive_mutex lock_;
  VideoOutput* videoWindowHandle_ = nullptr;
  int state_ = 0;
  float volume_ = 0.5f;
  bool muted_ = false;
  int rotation_ = 0;
  bool flipHorizontal_ = false;
  bool flipVertical_ = false;
  int brightness_ = 0;
  int contrast_ = 0;
  int saturation_ = 0;
  int hue_ = 0;
  bool procAmpReady_ = false;
  ProcAmpRange brightnessRange_;
  ProcAmpRange contrastRange_;
  ProcAmpRange hueRange_;
  ProcAmpRange saturationRange_;
  int hwAccel_ = kHwAccelDefault;
  bool normalizeEnabled_ = true;
  bool normalizeRecover_ = true;
  float maxNormFactor_ = 4.0f;
  float boostFactor_ = 1.0f;
  double speed_ = 1.0;  // survives Close; applied to the next graph
  ABRepeat abRepeat_;
  double frameRate_ = 0.0;
  bool hasVideo_ = false;
  bool isUrlInput_ = false;
  bool videoConnected_ = true;
  bool liveInput_ = false;
  bool bufferingPaused_ = false;  // the pipeline waits for the network, not the user
  QString currentPath_;

  AudioStageNames audioStageNames_;
  std::function<ElementRef()> audioRendererFactory_;
  bool lastBuildHardwareFailed_ = false;
  // The builds after a hardware fault decode in software whatever the size.
  bool softwareOnly_ = false;
  // The table of the last file read, so a rebuild of the same unchanged file
  // (software fall-back, retry) does not read its index again.
  QString keyframeSourcePath_;
  qint64 keyframeSourceSize_ = -1;
  qint64 keyframeSourceTimeMs_ = -1;
  std::vector<int64_t> keyframeSourceTable_;

  std::unique_ptr<SubtitleManager> subtitleManager_;
  std::shared_ptr<ExternalToolTask> extractTask_;  // the embedded subtitle extraction
  // Reads the chosen text stream ahead; stopped before the manager goes.
  std::unique_ptr<EmbeddedTextPreload> textPreload_;
  GraphEventSink graphEventSink_;
  uint64_t graphGeneration_ = 0;         // interface thread only
  std::unique_ptr<QObject> eventRelay_;  // lives on the interface thread; queued calls land here
  std::shared_ptr<PendingOpen> pendingOpen_;  // the network open in flight
};

// Whether a path is a network address: it starts, case ignored, with
// http://, https://, mms://, mmsh://, mmst://, rtsp:// or rtmp://.
bool IsUrl(QStringView path);

// The program's letterbox: the native picture scaled into width × height,
// centred, aspect kept. Empty (0, 0, 0, 0) without a usable native size.
QRect LetterboxRect(QSize native, int width, int height);

// A volume as the audio output takes it, in hundredths of a decibel:
// truncate(log10(volume) × 2000), −10000 (silence) when muted or at 0.
// 1.0 is 0, 0.5 is −602, 0.01 is −4000.
long VolumeLevel(float volume, bool muted);

}  // namespace zelvaro
