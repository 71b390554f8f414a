#include "subtitles/subtitle_provider.h"

#include "foundation/trace.h"
#include "subtitles/ass_blend.h"
#include "subtitles/cue_painter.h"
#include "subtitles/sami_converter.h"
#include "subtitles/text_decoding.h"
#include "subtitles/webvtt_reader.h"

#include <algorithm>
#include <utility>

namespace zelvaro {

namespace {

// Times in files are whatever a file says; arithmetic on them saturates
// instead of overflowing.
int64_t SaturatingAdd(int64_t a, int64_t b) {
  int64_t sum = 0;
  if (!__builtin_add_overflow(a, b, &sum)) return sum;
  return b > 0 ? INT64_MAX : INT64_MIN;
}

int64_t MsTo100ns(int64_t ms) {
  int64_t product = 0;
  if (!__builtin_mul_overflow(ms, int64_t{10000}, &product)) return product;
  return ms > 0 ? INT64_MAX : INT64_MIN;
}

QSize FrameSizeFor(QSize renderSize) {
  return {renderSize.width() < 1 ? 1920 : renderSize.width(),
          renderSize.height() <= 0 ? 1080 : renderSize.height()};
}

}  // namespace

struct PreparedSubtitle {
  SubtitleType Type = SubtitleType::kUnknown;
  std::unique_ptr<AssContext> Ass;
  std::vector<SrtCue> Cues;
  std::vector<SubtitleEvent> Events;
  EventTimeline Timeline;
  bool Loaded() const { return Ass != nullptr || !Cues.empty(); }
};

CSubtitleProvider::CSubtitleProvider() = default;

CSubtitleProvider::~CSubtitleProvider() {
  Clear();
}

std::shared_ptr<PreparedSubtitle> CSubtitleProvider::Prepare(
    const QString& path, const SubtitleStyle& style, const std::function<bool()>& cancelled) {
  auto stop = [&] { return cancelled && cancelled(); };
  auto prepared = std::make_shared<PreparedSubtitle>();
  const SubtitleType type = DetectSubtitleType(path);
  Trace("Subtitle type: %d", static_cast<int>(type));
  std::optional<QByteArray> bytes = ReadSubtitleFile(path);
  if (!bytes || stop()) return nullptr;
  Trace("Subtitle content size: %lld bytes", static_cast<long long>(bytes->size()));
  const DecodedSubtitleText text = DecodeSubtitleText(
      std::move(*bytes),
      type == SubtitleType::kSami ? SubtitleTextKind::kSami : SubtitleTextKind::kGeneric);
  bytes.reset();
  Trace("Subtitle encoding: %s", text.Encoding.c_str());
  if (stop()) return nullptr;

  AssTrackHandle track;
  switch (type) {
    case SubtitleType::kSrt:
    case SubtitleType::kWebVtt:
    case SubtitleType::kSami: {
      std::string script = type == SubtitleType::kSrt      ? ConvertSrtToAss(style, text.Utf8)
                           : type == SubtitleType::kWebVtt ? ConvertWebVttToAss(style, text.Utf8)
                                                           : ConvertSamiToAss(style, text.Utf8);
      Trace("ASS content size: %zu bytes", script.size());
      if (stop()) return nullptr;
      track = ReadAssScript(script, AssScriptOrigin::kConverted);
      break;
    }
    default:
      track = ReadAssScript(text.Utf8, AssScriptOrigin::kFile);
      break;
  }
  if (stop()) return nullptr;
  if (track) {
    prepared->Type = SubtitleType::kAss;
    prepared->Ass = std::make_unique<AssContext>();
    prepared->Ass->Track = std::move(track);
  }

  if (!prepared->Ass) {
    // What libass refused may still be plain cues.
    if (type == SubtitleType::kWebVtt)
      ParseWebVttCues(text.Utf8, &prepared->Cues);
    else if (type == SubtitleType::kSrt)
      ParseSrtCues(text.Utf8, &prepared->Cues);
    if (prepared->Cues.empty()) ParseSrtCues(text.Utf8, &prepared->Cues);
    if (!prepared->Cues.empty()) prepared->Type = SubtitleType::kSrt;
    // The same bound on a line as libass gets; the cue painter lays out
    // the whole text.
    for (SrtCue& cue : prepared->Cues)
      if (cue.Text.size() > static_cast<qsizetype>(kMaxAssEventTextBytes))
        cue.Text.truncate(static_cast<qsizetype>(kMaxAssEventTextBytes));
  }
  if (!prepared->Loaded()) return prepared;

  std::vector<std::pair<int64_t, int64_t>> intervals;
  if (prepared->Ass) {
    const ASS_Track* assTrack = prepared->Ass->Track.get();
    intervals.reserve(static_cast<size_t>(assTrack->n_events));
    for (int i = 0; i < assTrack->n_events; ++i) {
      const ASS_Event& event = assTrack->events[i];
      intervals.emplace_back(event.Start, SaturatingAdd(event.Start, event.Duration));
    }
  } else {
    intervals.reserve(prepared->Cues.size());
    for (const SrtCue& cue : prepared->Cues) intervals.emplace_back(cue.StartMs, cue.EndMs);
  }
  prepared->Events.reserve(intervals.size());
  for (const auto& [start, stop] : intervals)
    prepared->Events.push_back({MsTo100ns(start), MsTo100ns(stop)});
  std::stable_sort(
      prepared->Events.begin(), prepared->Events.end(),
      [](const SubtitleEvent& a, const SubtitleEvent& b) { return a.Start < b.Start; });
  prepared->Timeline.Build(intervals);
  Trace("Total events loaded: %zu", prepared->Events.size());
  return prepared;
}

bool CSubtitleProvider::Load(const QString& path) {
  Clear();
  return Adopt(Prepare(path, GetStyle(), {}));
}

bool CSubtitleProvider::Adopt(std::shared_ptr<PreparedSubtitle> prepared) {
  if (!prepared || !prepared->Loaded()) {
    Clear();
    return false;
  }
  std::lock_guard lock(mutex_);
  if (prepared->Ass) prepared->Ass->FrameSize = FrameSizeFor(renderSize_);
  type_ = prepared->Type;
  streamToken_ = 0;
  bitmapTrack_ = false;
  bitmaps_.Clear();
  std::unique_ptr<AssContext> old = std::move(ass_);
  ass_ = std::move(prepared->Ass);
  cues_ = std::move(prepared->Cues);
  events_ = std::move(prepared->Events);
  timeline_ = std::move(prepared->Timeline);
  ContentChanged();
  FreeAssContext(std::move(old));
  return true;
}

void CSubtitleProvider::FreeAssContext(std::unique_ptr<AssContext> context) {
  if (!context) return;
  // The shared renderer last drew from this track; it must not be drawing
  // from it while it goes.
  AssEngine* engine = AssEngine::Instance();
  if (engine == nullptr) return;  // no track was ever read
  std::lock_guard assLock(engine->Mutex());
  context.reset();
}

void CSubtitleProvider::Clear() {
  FreeAssContext(TakeTrackAndClear());
}

std::unique_ptr<AssContext> CSubtitleProvider::TakeTrackAndClear() {
  std::lock_guard lock(mutex_);
  std::unique_ptr<AssContext> track = std::move(ass_);
  cues_.clear();
  events_.clear();
  timeline_.Clear();
  type_ = SubtitleType::kUnknown;
  streamToken_ = 0;
  bitmapTrack_ = false;
  bitmaps_.Clear();
  ContentChanged();
  return track;
}

SubtitleType CSubtitleProvider::GetType() const {
  std::lock_guard lock(mutex_);
  return type_;
}

bool CSubtitleProvider::HasSubtitle() const {
  std::lock_guard lock(mutex_);
  return ass_ != nullptr || !cues_.empty() || bitmapTrack_;
}

void CSubtitleProvider::SetStyle(const SubtitleStyle& style) {
  std::lock_guard lock(mutex_);
  style_ = style;
}

SubtitleStyle CSubtitleProvider::GetStyle() const {
  std::lock_guard lock(mutex_);
  return style_;
}

void CSubtitleProvider::SetDelay(int64_t delayMs) {
  // A delay of more than a few decades is a bug somewhere else; bounded, the
  // time arithmetic can't overflow.
  constexpr int64_t kMaxDelayMs = 1'000'000'000'000;
  std::lock_guard lock(mutex_);
  delayMs_ = std::clamp(delayMs, -kMaxDelayMs, kMaxDelayMs);
  ContentChanged();
}

int64_t CSubtitleProvider::GetDelay() const {
  std::lock_guard lock(mutex_);
  return delayMs_;
}

void CSubtitleProvider::SetRenderSize(QSize size) {
  std::lock_guard lock(mutex_);
  renderSize_ = size;
  const QSize frameSize = FrameSizeFor(size);
  if (!ass_ || ass_->FrameSize == frameSize) return;
  ass_->FrameSize = frameSize;
  ContentChanged();
}

QSize CSubtitleProvider::GetRenderSize() const {
  std::lock_guard lock(mutex_);
  return renderSize_;
}

size_t CSubtitleProvider::GetEventCount() const {
  std::lock_guard lock(mutex_);
  return events_.size();
}

size_t CSubtitleProvider::GetStartPosition(int64_t time100ns) const {
  std::lock_guard lock(mutex_);
  for (size_t i = 0; i < events_.size(); ++i)
    if (events_[i].Stop > time100ns) return i + 1;
  return 0;
}

size_t CSubtitleProvider::GetNext(size_t position) const {
  std::lock_guard lock(mutex_);
  return position != 0 && position < events_.size() ? position + 1 : 0;
}

int64_t CSubtitleProvider::GetStart(size_t position) const {
  std::lock_guard lock(mutex_);
  return position >= 1 && position <= events_.size() ? events_[position - 1].Start : 0;
}

int64_t CSubtitleProvider::GetStop(size_t position) const {
  std::lock_guard lock(mutex_);
  return position >= 1 && position <= events_.size() ? events_[position - 1].Stop : 0;
}

int64_t CSubtitleProvider::SubtitleTimeMs(int64_t time100ns) const {
  return std::max<int64_t>(0, SaturatingAdd(delayMs_, time100ns / 10000));
}

SubPicWindow CSubtitleProvider::WindowAt(int64_t time100ns) const {
  const auto segment = timeline_.SegmentAt(SubtitleTimeMs(time100ns));
  if (!segment) return {time100ns, time100ns};
  // A segment from subtitle time 0 also holds every earlier video time whose
  // subtitle time was clamped to 0.
  const int64_t start =
      segment->first <= 0 ? 0 : MsTo100ns(SaturatingAdd(segment->first, -delayMs_));
  const int64_t stop = MsTo100ns(SaturatingAdd(segment->second, -delayMs_));
  return {std::max<int64_t>(0, start), stop};
}

ISubPicProvider::Probe CSubtitleProvider::ProbeAt(int64_t time100ns) {
  std::lock_guard lock(mutex_);
  const int64_t timeMs = SubtitleTimeMs(time100ns);
  if (!timeline_.SegmentAt(timeMs)) return {false, contentSerial_};
  if (ass_) {
    // The cheap way to learn whether the last drawn picture still holds:
    // libass compares with the frame it produced before.
    AssEngine* engine = AssEngine::Instance();
    std::lock_guard assLock(engine->Mutex());
    int change = 0;
    engine->RenderFrame(ass_->Track.get(), ass_->FrameSize, timeMs, &change);
    if (change != 0) ContentChanged();
  }
  return {true, contentSerial_};
}

bool CSubtitleProvider::Render(const SubPicDesc& target, int64_t time100ns, SubPicRect* bbox,
                               SubPicWindow* window, uint64_t* contentSerial) {
  std::lock_guard lock(mutex_);
  *bbox = SubPicRect::Inverted();
  *window = WindowAt(time100ns);
  *contentSerial = contentSerial_;
  const int64_t timeMs = SubtitleTimeMs(time100ns);
  if (bitmapTrack_) {
    const BitmapSubtitleCue* cue = bitmaps_.At(timeMs);
    return cue != nullptr && DrawBitmapCue(*cue, target, bbox) && !bbox->IsEmpty();
  }
  if (!ass_ && cues_.empty()) return false;

  if (ass_) {
    AssEngine* engine = AssEngine::Instance();
    std::lock_guard assLock(engine->Mutex());
    int change = 0;
    const ASS_Image* images =
        engine->RenderFrame(ass_->Track.get(), ass_->FrameSize, timeMs, &change);
    if (change != 0) ContentChanged();
    *contentSerial = contentSerial_;
    ZELVARO_TRACE_FIRST(10, "RenderFrame: time=%lld img=%p", static_cast<long long>(timeMs),
                        static_cast<const void*>(images));
    if (images == nullptr) return false;
    BlendAssImages(images, target, bbox);
  } else {
    // The first cue in file order that is active; overlapping ones wait.
    const auto cue = std::find_if(cues_.begin(), cues_.end(), [&](const SrtCue& candidate) {
      return candidate.StartMs <= timeMs && timeMs < candidate.EndMs;
    });
    if (cue == cues_.end()) return false;
    DrawCueText(cue->Text, target, bbox);
  }
  return !bbox->IsEmpty();
}

}  // namespace zelvaro
