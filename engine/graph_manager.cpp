#include "engine/graph_manager.h"

#include "engine/embedded_text_preload.h"
#include "engine/keyframe_table.h"
#include "engine/playback_graph.h"
#include "engine/video_output.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/text_conversion.h"
#include "foundation/trace.h"
#include "subtitles/subtitle_manager.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QObject>

#include <algorithm>
#include <chrono>
#include <thread>

namespace zelvaro {
namespace {

constexpr double k100nsPerSecond = 10'000'000.0;
constexpr int kFileBuildTimeoutMs = 10'000;
constexpr int kUrlBuildTimeoutMs = 20'000;

// The pauses of the open sequence: before a new build, between two build
// attempts, and between releasing the renderer and the decoders.
constexpr auto kBeforeBuild = std::chrono::milliseconds(30);
constexpr auto kBetweenBuilds = std::chrono::milliseconds(100);
constexpr auto kRendererAheadOfDecoders = std::chrono::milliseconds(10);

int64_t To100ns(double seconds) {
  return static_cast<int64_t>(seconds * k100nsPerSecond);
}
double ToSeconds(int64_t time100ns) {
  return static_cast<double>(time100ns) / k100nsPerSecond;
}

}  // namespace

bool IsUrl(QStringView path) {
  if (path.isEmpty()) return false;
  QString lower = path.toString().toLower();
  for (const char* scheme :
       {"http://", "https://", "mms://", "mmsh://", "mmst://", "rtsp://", "rtmp://"}) {
    if (lower.startsWith(QLatin1String(scheme))) return true;
  }
  return false;
}

QRect LetterboxRect(QSize native, int width, int height) {
  int videoWidth = native.width();
  int videoHeight = native.height();
  if (videoWidth < 1 || videoHeight < 1) return QRect(0, 0, 0, 0);
  double scaleX = static_cast<double>(width) / videoWidth;
  double scaleY = static_cast<double>(height) / videoHeight;
  if (scaleX > scaleY) {
    int destinationWidth = static_cast<int>(videoWidth * scaleY);
    return QRect((width - destinationWidth) / 2, 0, destinationWidth, height);
  }
  int destinationHeight = static_cast<int>(videoHeight * scaleX);
  return QRect(0, (height - destinationHeight) / 2, width, destinationHeight);
}

GraphManager::GraphManager(VideoOutput* videoOutput)
    : videoWindowHandle_(videoOutput), eventRelay_(std::make_unique<QObject>()) {}

GraphManager::~GraphManager() {
  Close();
  videoWindowHandle_ = nullptr;
}

void GraphManager::SetVideoOutput(VideoOutput* videoOutput) {
  videoWindowHandle_ = videoOutput;
  if (graph_) graph_->SetVideoOutput(videoOutput);
}

void GraphManager::SetGraphEventSink(GraphEventSink sink) {
  graphEventSink_ = std::move(sink);
}

void GraphManager::SetAudioStageNames(AudioStageNames names) {
  audioStageNames_ = std::move(names);
}

void GraphManager::SetAudioRendererFactory(std::function<ElementRef()> factory) {
  audioRendererFactory_ = std::move(factory);
}

void GraphManager::PostGraphEvent(uint64_t generation, long eventCode) {
  QMetaObject::invokeMethod(
      eventRelay_.get(),
      [this, generation, eventCode] {
        if (generation == graphGeneration_) HandleGraphEvent(eventCode);
      },
      Qt::QueuedConnection);
}

void GraphManager::HandleGraphEvent(long eventCode) {
  if (eventCode == kEcErrorAbort && RebuildAfterDecoderFault()) return;
  if (eventCode == kEcBuffering) FollowBuffering();
  if (graphEventSink_) graphEventSink_(eventCode);
}

void GraphManager::FollowBuffering() {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  // A live source cannot wait: what does not come in time is lost anyway.
  if (!graph_ || !isUrlInput_ || liveInput_) return;
  int percent = graph_->BufferingPercent();
  ZELVARO_TRACE_FIRST(20, "Buffering %d%%", percent);
  if (percent < 100 && !bufferingPaused_) {
    bufferingPaused_ = true;
    if (state_ == 2) graph_->SetState(GST_STATE_PAUSED);
  } else if (percent >= 100 && bufferingPaused_) {
    bufferingPaused_ = false;
    if (state_ == 2) graph_->SetState(GST_STATE_PLAYING);
  }
}

InputTags GraphManager::GetInputTags() const {
  return graph_ ? graph_->Tags(hasVideo_) : InputTags{};
}

int GraphManager::BufferingPercent() const {
  return graph_ ? graph_->BufferingPercent() : 100;
}

bool GraphManager::RebuildAfterDecoderFault() {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  if (!graph_ || currentPath_.isEmpty() || !graph_->LastErrorWasHardwareDecoder()) return false;
  const QString path = currentPath_;
  const int64_t position = graph_->Position100ns().value_or(0);
  const int state = state_;
  const ABRepeat marks = abRepeat_;
  Trace("Hardware video decoder failed at %.2f s; rebuilding in software", ToSeconds(position));
  Close();
  hwAccel_ = kHwAccelNone;
  softwareOnly_ = true;
  if (IsUrl(path)) {
    // A network address is built again off the interface thread too; the
    // input ends only if that fails.
    BeginUrlOpen(path,
                 [this, position, state, marks](bool opened) {
                   if (!opened) {
                     if (graphEventSink_) graphEventSink_(kEcErrorAbort);
                     return;
                   }
                   abRepeat_ = marks;
                   Seek(ToSeconds(position), false, 0);
                   if (state == 2) Play();
                   if (state == 1) Pause();
                 },
                 {});
    softwareOnly_ = false;
    return true;
  }
  const bool built = BuildGraph(path);
  softwareOnly_ = false;
  if (!built) {
    Close();
    return false;
  }
  currentPath_ = path;
  state_ = 0;
  abRepeat_ = marks;
  if (!isUrlInput_) LoadSideSubtitles(path);
  Seek(ToSeconds(position), false, 0);
  if (state == 2) return Play();
  if (state == 1) Pause();
  return true;
}

bool GraphManager::OpenFile(const QString& path) {
  Close();
  // Only a regular file: opening a FIFO blocks until a writer comes, and the
  // keyframe scan below runs on the interface thread.
  if (!IsUrl(path) && !QFileInfo(path).isFile()) {
    Trace("OpenFile: %s is not a regular file", qPrintable(path));
    return false;
  }
  std::this_thread::sleep_for(kBeforeBuild);
  // No GPU device is shared with a renderer here, so there is nothing to
  // settle before a build.
  hwAccel_ = static_cast<int>(Settings::GetDwordOr(setting::kLavHwAccel, kHwAccelDefault));
  Trace("OpenFile with HWAccel=%d", hwAccel_);

  bool built = BuildGraph(path);
  // A network address is not asked twice: after a time-out or a network
  // error a second wait would only double the first.
  if (!built && !IsUrl(path)) {
    Close();
    std::this_thread::sleep_for(kBetweenBuilds);
    built = BuildGraph(path);
  }
  if (!built) {
    // A hardware decoder that failed at run time is one more reason to
    // fall back to software, beyond the unconnected picture.
    bool hardwareFailed = lastBuildHardwareFailed_;
    Close();
    if (!hardwareFailed || hwAccel_ == kHwAccelNone ||
        Settings::GetDwordOr(setting::kHwAccelFallback, 1) == 0) {
      return false;
    }
    hwAccel_ = kHwAccelNone;
    softwareOnly_ = true;
    built = BuildGraph(path);
    softwareOnly_ = false;
    if (!built) {
      Close();
      return false;
    }
  }
  // No picture with a hardware mode: build once more in software. An audio
  // file takes this path too.
  if (!hasVideo_ && hwAccel_ != kHwAccelNone &&
      Settings::GetDwordOr(setting::kHwAccelFallback, 1) != 0) {
    Close();
    hwAccel_ = kHwAccelNone;
    if (!BuildGraph(path)) {
      Close();
      return false;
    }
  }
  currentPath_ = path;
  state_ = 0;
  if (!isUrlInput_) LoadSideSubtitles(path);
  return true;
}

GraphBuildRequest GraphManager::PrepareBuild(const QString& path) {
  GraphBuildRequest request;
  request.path = path;
  request.isUrl = IsUrl(path);
  request.hwAccel = hwAccel_;
  request.video = ReadVideoDecoderSettings();
  request.splitter = ReadSplitterSettings();
  request.audio = ReadAudioDecoderSettings();
  request.audioStages = audioStageNames_;
  request.audioLevels = StartLevels();
  request.audioRenderer = audioRendererFactory_;
  request.timeoutMs = request.isUrl ? kUrlBuildTimeoutMs : kFileBuildTimeoutMs;
  request.forceSoftware = softwareOnly_;
  isUrlInput_ = request.isUrl;
  return request;
}

std::unique_ptr<PlaybackGraph> GraphManager::MakeGraph() {
  uint64_t generation = ++graphGeneration_;
  return std::make_unique<PlaybackGraph>(
      [this, generation](long eventCode) { PostGraphEvent(generation, eventCode); });
}

bool GraphManager::BuildGraph(const QString& path) {
  GraphBuildRequest request = PrepareBuild(path);
  graph_ = MakeGraph();
  graph_->SetVideoOutput(videoWindowHandle_);
  // Before any decoder exists, as the index is the container's and not the
  // stream's; URLs have none worth a second connection.
  if (!request.isUrl) {
    ScanKeyframes(path);
    request.audioTracks = ReadAudioTrackFacts(path);
  }
  return AdoptBuildResult(graph_->Build(request));
}

bool GraphManager::AdoptBuildResult(const GraphBuildResult& result) {
  lastBuildHardwareFailed_ = result.hardwareDecoderFailed;
  // Above 3840×2160 the hardware mode is forced in every build, over the
  // user's choice and over the software fall-back.
  if (result.resolutionOverride) hwAccel_ = kHwAccelD3D11;
  if (!result.ok) return false;
  Trace("Graph stands; video decoding mode %s", HwAccelName(result.effectiveHwAccel));

  liveInput_ = result.live;
  bufferingPaused_ = false;
  frameRate_ = result.frameRate;
  hasVideo_ = result.videoConnected;
  videoConnected_ = result.videoConnected;
  ApplyAudioSettings();
  if (result.audioConnected) SetVolume(volume_);
  if (speed_ != 1.0) {
    // The speed of the last file carries over, without SetSpeed's range test;
    // an input that cannot take it (a live one) plays at 1.0 and says so.
    std::shared_ptr<AudioTimeStretch> stretch = graph_->TimeStretch();
    if (stretch) stretch->SetRate(speed_);
    if (result.live || !graph_->SetRate(speed_)) {
      Trace("Speed %.2f cannot carry over; back to 1.0", speed_);
      speed_ = 1.0;
      if (stretch) stretch->SetRate(1.0);
    }
  }
  if (videoWindowHandle_ != nullptr) {
    if (videoConnected_) {
      QSize client = videoWindowHandle_->ClientSize();
      SetVideoPosition(0, 0, client.width(), client.height());
      ApplyOrientation();
      ResetRendererProcAmp();
    } else {
      videoWindowHandle_->ClearFrame();
    }
  }
  return true;
}

void GraphManager::ScanKeyframes(const QString& path) {
  keyframes_.clear();
  QFileInfo info(path);
  qint64 size = info.size();
  qint64 timeMs = info.lastModified().toMSecsSinceEpoch();
  if (path != keyframeSourcePath_ || size != keyframeSourceSize_ ||
      timeMs != keyframeSourceTimeMs_) {
    keyframeSourceTable_ = ReadKeyframeIndex(path);
    keyframeSourcePath_ = path;
    keyframeSourceSize_ = size;
    keyframeSourceTimeMs_ = timeMs;
  }
  keyframes_ = keyframeSourceTable_;
}

void GraphManager::Close() {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  CancelPendingOpen();
  state_ = 0;
  currentPath_.clear();
  // From here on, events of the old graph that are still queued are stale.
  ++graphGeneration_;
  keyframes_.clear();
  abRepeat_.Clear();
  ClearSubtitles();
  procAmpReady_ = false;
  QFile::remove(AlbumArtTempPath());
  if (graph_) {
    graph_->SetVideoOutput(nullptr);
    if (videoWindowHandle_ != nullptr) videoWindowHandle_->ClearFrame();
    graph_->StopAndReleaseRenderer();
    std::this_thread::sleep_for(kRendererAheadOfDecoders);
    graph_.reset();
  }
  state_ = 0;
  isUrlInput_ = false;
  liveInput_ = false;
  bufferingPaused_ = false;
  videoConnected_ = true;
}

bool GraphManager::Play() {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  if (!graph_) return false;
  Trace("Play() - Current state: %d", state_);
  // While a network address buffers, Play is what the user asked for; the
  // pipeline runs once the buffer is full.
  if (isUrlInput_ && !liveInput_ && graph_->BufferingPercent() < 100) bufferingPaused_ = true;
  if (bufferingPaused_) {
    state_ = 2;
    // Tells the interface at once how far the buffer is.
    PostGraphEvent(graphGeneration_, kEcBuffering);
    return true;
  }
  bool ran = graph_->SetState(GST_STATE_PLAYING);
  Trace("Play() - Run() returned: %s", ran ? "ok" : "failed");
  if (!ran && graph_->LastErrorWasOutOfResources() && hwAccel_ != kHwAccelNone &&
      hwAccel_ != kHwAccelD3D11 && !currentPath_.isEmpty()) {
    QString path = currentPath_;
    Close();
    hwAccel_ = kHwAccelD3D11;
    if (!BuildGraph(path)) return false;
    currentPath_ = path;
    state_ = 0;
    // Close let go of the side subtitle with the old graph.
    if (!isUrlInput_) LoadSideSubtitles(path);
    ran = graph_->SetState(GST_STATE_PLAYING);
    Trace("Play() - Retry with D3D11 returned: %s", ran ? "ok" : "failed");
  }
  if (!ran) return false;
  state_ = 2;
  DecoderInfo info = graph_->ReadDecoderInfo();
  Trace("Active Decoder: %s",
        info.videoDecoder.isEmpty() ? "(null/software)" : WideToUtf8(info.videoDecoder).c_str());
  return true;
}

void GraphManager::Pause() {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  if (graph_ && graph_->SetState(GST_STATE_PAUSED)) state_ = 1;
}

void GraphManager::Stop() {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  // A stopped graph stays prerolled (paused) so that its first frame can show;
  // going below PAUSED would make the demuxer drop its streams.
  if (graph_ && graph_->SetState(GST_STATE_PAUSED)) {
    state_ = 0;
    Seek(0.0, true, 0);
  }
}

bool GraphManager::Seek(double seconds, bool snap, int direction) {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  if (!graph_) return false;
  int64_t target = std::max<int64_t>(0, To100ns(seconds));
  bool onKeyframe = snap && !keyframes_.empty();
  if (onKeyframe) target = SnapToKeyframe(keyframes_, target, direction);
  int remembered = state_;
  bool positioned = graph_->SetPositions(target, onKeyframe, speed_);
  if (remembered == 2 && positioned && !bufferingPaused_) graph_->SetState(GST_STATE_PLAYING);
  return positioned;
}

bool GraphManager::SeekRelative(double deltaSeconds, bool snap) {
  double target = std::max(0.0, GetPosition() + deltaSeconds);
  target = std::min(target, GetDuration());
  int direction = deltaSeconds > 0 ? 1 : (deltaSeconds < 0 ? -1 : 0);
  return Seek(target, snap, direction);
}

bool GraphManager::SeekPreviousKeyframe() {
  if (!graph_) return false;
  std::optional<int64_t> keyframe = PreviousKeyframeTarget(keyframes_, To100ns(GetPosition()));
  return Seek(keyframe ? ToSeconds(*keyframe) : 0.0, true, 0);
}

bool GraphManager::SeekNextKeyframe() {
  if (!graph_) return false;
  std::optional<int64_t> keyframe = NextKeyframeTarget(keyframes_, To100ns(GetPosition()));
  return Seek(keyframe ? ToSeconds(*keyframe) : GetDuration(), true, 0);
}

double GraphManager::GetDuration() {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  if (!graph_) return 0.0;
  std::optional<int64_t> duration = graph_->Duration100ns();
  return duration ? ToSeconds(*duration) : 0.0;
}

double GraphManager::GetPosition() {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  if (!graph_) return 0.0;
  std::optional<int64_t> position = graph_->Position100ns();
  return position ? ToSeconds(*position) : 0.0;
}

DecoderInfo GraphManager::GetDecoderInfo() {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  if (!graph_) return {};
  DecoderInfo info = graph_->ReadDecoderInfo();
  info.frameRate = frameRate_;
  return info;
}

bool GraphManager::SetRotation(int degrees) {
  int normalized = ((degrees % 360) + 360) % 360;
  normalized -= normalized % 90;
  if (normalized == rotation_) return true;
  rotation_ = normalized;
  if (graph_ && videoWindowHandle_ != nullptr &&
      videoWindowHandle_->SetInt("rotation", normalized)) {
    QSize client = videoWindowHandle_->ClientSize();
    if (client.height() >= 1) {
      SetVideoPosition(0, 0, client.width(), client.height());
      RedrawVideo();
    }
    return true;
  }
  return rotation_ == 0;
}

bool GraphManager::SetFlipHorizontal(bool on) {
  flipHorizontal_ = on;
  if (!graph_ || videoWindowHandle_ == nullptr) return false;
  videoWindowHandle_->SetBool("flip", on != flipVertical_);
  return true;
}

bool GraphManager::SetFlipVertical(bool on) {
  flipVertical_ = on;
  if (!graph_ || videoWindowHandle_ == nullptr) return false;
  // The renderer mirrors only horizontally: a vertical flip is a half turn
  // and a mirror.
  if (on) {
    videoWindowHandle_->SetInt("rotation", (rotation_ + 180) % 360);
    videoWindowHandle_->SetBool("flip", !flipHorizontal_);
  } else {
    videoWindowHandle_->SetInt("rotation", rotation_);
    videoWindowHandle_->SetBool("flip", flipHorizontal_);
  }
  return true;
}

void GraphManager::ApplyOrientation() {
  // Each new file shows the stored rotation and flips, so the stored state
  // and the picture agree.
  videoWindowHandle_->SetInt("rotation", flipVertical_ ? (rotation_ + 180) % 360 : rotation_);
  videoWindowHandle_->SetBool("flip", flipHorizontal_ != flipVertical_);
}

bool GraphManager::SetVideoPosition(int, int, int width, int height) {
  if (!graph_ || videoWindowHandle_ == nullptr) return false;
  // A quarter turn shows the picture on its side: letterbox that shape.
  QSize native = graph_->NativeVideoSize();
  if (rotation_ % 180 != 0) native.transpose();
  videoWindowHandle_->SetDestinationRect(LetterboxRect(native, width, height));
  return true;
}

void GraphManager::RefreshVideoPosition() {
  if (videoWindowHandle_ == nullptr) return;
  QSize client = videoWindowHandle_->ClientSize();
  if (client.height() < 1) return;
  SetVideoPosition(0, 0, client.width(), client.height());
  RedrawVideo();
}

bool GraphManager::GetVideoSize(int* width, int* height) const {
  const QSize size = graph_ ? graph_->NativeVideoSize() : QSize();
  if (size.width() < 1 || size.height() < 1) return false;
  *width = size.width();
  *height = size.height();
  return true;
}

void GraphManager::RedrawVideo() {
  if (videoWindowHandle_ != nullptr) videoWindowHandle_->SetBool("cmd_redraw", true);
}

}  // namespace zelvaro
