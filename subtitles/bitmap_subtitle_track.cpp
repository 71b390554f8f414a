#include "subtitles/bitmap_subtitle_track.h"

#include "subtitles/subtitle_manager.h"
#include "subtitles/subtitle_provider.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace zelvaro {
namespace {

auto StartsBefore(int64_t timeMs) {
  return [timeMs](const BitmapSubtitleCue& cue) { return cue.startMs < timeMs; };
}

}  // namespace

int64_t BitmapCueList::BytesOf(const BitmapSubtitleCue& cue) {
  int64_t bytes = 0;
  for (const BitmapSubtitlePart& part : cue.parts) bytes += part.image.sizeInBytes();
  return bytes;
}

bool BitmapCueList::Add(BitmapSubtitleCue cue) {
  auto next = std::partition_point(cues_.begin(), cues_.end(), StartsBefore(cue.startMs));
  bool changed = false;
  if (next != cues_.begin()) {
    // Whatever showed before gives way, cleared or replaced.
    BitmapSubtitleCue& previous = *std::prev(next);
    if (previous.endMs > cue.startMs) {
      previous.endMs = cue.startMs;
      changed = true;
    }
  }
  if (cue.parts.empty()) return changed;
  if (next != cues_.end() && next->startMs == cue.startMs) return changed;  // read again
  if (next != cues_.end()) cue.endMs = std::min(cue.endMs, next->startMs);
  if (cue.endMs <= cue.startMs) return changed;

  const int64_t newestMs = cue.startMs;
  bytes_ += BytesOf(cue);
  cues_.insert(next, std::move(cue));
  while (bytes_ > budgetBytes_ && cues_.size() > 1) {
    const bool dropFront = newestMs - cues_.front().startMs >= cues_.back().startMs - newestMs;
    auto victim = dropFront ? cues_.begin() : std::prev(cues_.end());
    bytes_ -= BytesOf(*victim);
    cues_.erase(victim);
  }
  return true;
}

void BitmapCueList::Clear() {
  cues_.clear();
  bytes_ = 0;
}

const BitmapSubtitleCue* BitmapCueList::At(int64_t timeMs) const {
  auto after = std::partition_point(
      cues_.begin(), cues_.end(),
      [timeMs](const BitmapSubtitleCue& cue) { return cue.startMs <= timeMs; });
  if (after == cues_.begin()) return nullptr;
  const BitmapSubtitleCue& cue = *std::prev(after);
  return timeMs < cue.endMs ? &cue : nullptr;
}

std::vector<std::pair<int64_t, int64_t>> BitmapCueList::Intervals() const {
  std::vector<std::pair<int64_t, int64_t>> intervals;
  intervals.reserve(cues_.size());
  for (const BitmapSubtitleCue& cue : cues_) intervals.emplace_back(cue.startMs, cue.endMs);
  return intervals;
}

bool DrawBitmapCue(const BitmapSubtitleCue& cue, const SubPicDesc& target, SubPicRect* bbox) {
  if (cue.canvas.isEmpty() || target.Data == nullptr || target.Width <= 0 || target.Height <= 0)
    return false;
  QImage surface(target.Data, target.Width, target.Height, target.Pitch,
                 QImage::Format_ARGB32_Premultiplied);
  const double scaleX = static_cast<double>(target.Width) / cue.canvas.width();
  const double scaleY = static_cast<double>(target.Height) / cue.canvas.height();
  const QRect bounds(0, 0, target.Width, target.Height);
  QPainter painter(&surface);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  bool drawn = false;
  for (const BitmapSubtitlePart& part : cue.parts) {
    const QRectF scaled(part.canvasRect.x() * scaleX, part.canvasRect.y() * scaleY,
                        part.canvasRect.width() * scaleX, part.canvasRect.height() * scaleY);
    const QRect touched = scaled.toAlignedRect() & bounds;
    if (touched.isEmpty() || part.image.isNull()) continue;
    painter.drawImage(scaled, part.image);
    bbox->Left = std::min(bbox->Left, touched.left());
    bbox->Top = std::min(bbox->Top, touched.top());
    bbox->Right = std::max(bbox->Right, touched.right() + 1);
    bbox->Bottom = std::max(bbox->Bottom, touched.bottom() + 1);
    drawn = true;
  }
  return drawn;
}

bool CSubtitleProvider::AdoptBitmapTrack(uint64_t token) {
  if (token == 0) return false;
  std::unique_ptr<AssContext> old = TakeTrackAndClear();
  {
    std::lock_guard lock(mutex_);
    streamToken_ = token;
    bitmapTrack_ = true;
  }
  FreeAssContext(std::move(old));
  return true;
}

void CSubtitleProvider::AddBitmapCue(uint64_t token, BitmapSubtitleCue cue) {
  std::lock_guard lock(mutex_);
  if (token == 0 || token != streamToken_ || !bitmapTrack_) return;
  if (!bitmaps_.Add(std::move(cue))) return;
  timeline_.Build(bitmaps_.Intervals());
  ContentChanged();
}

uint64_t SubtitleManager::StartBitmapTrack(const QString& name) {
  CancelLoads();
  std::lock_guard operation(operationMutex_);
  return StartEmbeddedTrack(name, [](CSubtitleProvider& provider, uint64_t token) {
    return provider.AdoptBitmapTrack(token);
  });
}

void SubtitleManager::AddBitmapCue(uint64_t token, BitmapSubtitleCue cue) {
  std::shared_ptr<CSubtitleProvider> provider;
  {
    std::lock_guard lock(stateMutex_);
    provider = provider_;
  }
  if (provider) provider->AddBitmapCue(token, std::move(cue));
}

}  // namespace zelvaro
