#include "subtitles/subtitle_manager.h"

#include "foundation/trace.h"

#include <QFileInfo>

namespace zelvaro {

namespace {

constexpr QSize kAllocatorStartSize{4096, 4096};
constexpr int kQueueCapacity = 10;

}  // namespace

SubtitleManager::SubtitleManager() = default;

SubtitleManager::~SubtitleManager() {
  Shutdown();
}

bool SubtitleManager::Initialize(int32_t videoWidth, int32_t videoHeight) {
  std::lock_guard operation(operationMutex_);
  if (IsInitialized()) ShutdownLocked();
  const QSize videoSize(videoWidth < 1 ? 1920 : videoWidth, videoHeight <= 0 ? 1080 : videoHeight);
  Trace("Subtitle video size: %dx%d", videoSize.width(), videoSize.height());
  QSize drawSize;
  {
    std::lock_guard lock(stateMutex_);
    // A window size that the renderer already gave still holds for the new
    // pipeline; it won't necessarily say it again.
    drawSize = renderSize_.isEmpty() ? videoSize : renderSize_;
  }

  auto allocator = std::make_shared<CMemSubPicAllocator>(0, kAllocatorStartSize);
  allocator->SetMaxSize(drawSize);
  allocator->SetVideoRect({0, 0, drawSize.width(), drawSize.height()});
  auto provider = std::make_shared<CSubtitleProvider>();
  SubtitleStyle style;
  LoadSubtitleStyle(&style);
  provider->SetStyle(style);
  provider->SetRenderSize(drawSize);
  auto queue = std::make_shared<CSubPicQueue>(allocator, kQueueCapacity);
  queue->SetProvider(provider);

  std::lock_guard lock(stateMutex_);
  videoSize_ = videoSize;
  allocator_ = std::move(allocator);
  provider_ = std::move(provider);
  queue_ = std::move(queue);
  tracks_.clear();
  currentTrack_ = -1;
  initialized_ = true;
  return true;
}

void SubtitleManager::Shutdown() {
  std::lock_guard operation(operationMutex_);
  ShutdownLocked();
}

void SubtitleManager::ShutdownLocked() {
  std::shared_ptr<CSubPicQueue> queue;
  std::shared_ptr<CSubtitleProvider> provider;
  std::shared_ptr<CMemSubPicAllocator> allocator;
  {
    std::lock_guard lock(stateMutex_);
    queue = std::move(queue_);
    provider = std::move(provider_);
    allocator = std::move(allocator_);
    tracks_.clear();
    currentTrack_ = -1;
    initialized_ = false;
  }
  // Released outside the state lock, in this order; a render running on
  // another thread keeps what it uses alive until it is done.
  queue.reset();
  provider.reset();
  allocator.reset();
}

bool SubtitleManager::IsInitialized() const {
  std::lock_guard lock(stateMutex_);
  return initialized_;
}

void SubtitleManager::SetEnabled(bool enabled) {
  std::lock_guard lock(stateMutex_);
  enabled_ = enabled;
}

bool SubtitleManager::IsEnabled() const {
  std::lock_guard lock(stateMutex_);
  return enabled_;
}

void SubtitleManager::SetRenderSize(int32_t width, int32_t height) {
  if (width <= 0 || height <= 0) return;
  std::lock_guard lock(stateMutex_);
  if (renderSize_ == QSize(width, height)) return;
  renderSize_ = QSize(width, height);
  Trace("SetRenderSize: %dx%d", width, height);
  // Applied under the state lock, so an Initialize on another thread sees
  // either the old size and applies it itself, or the objects updated here.
  if (allocator_) {
    allocator_->SetMaxSize(renderSize_);
    allocator_->SetVideoRect({0, 0, width, height});
  }
  if (provider_) provider_->SetRenderSize(renderSize_);
  if (queue_) queue_->ClearQueue();
}

bool SubtitleManager::LoadSubtitle(const QString& path) {
  std::lock_guard operation(operationMutex_);
  return LoadSubtitleLocked(path);
}

bool SubtitleManager::LoadSubtitleLocked(const QString& path) {
  std::shared_ptr<CSubPicQueue> queue;
  std::shared_ptr<CSubtitleProvider> provider;
  {
    std::lock_guard lock(stateMutex_);
    if (!initialized_ || path.isEmpty()) return false;
    tracks_.clear();
    currentTrack_ = -1;
    queue = queue_;
    provider = provider_;
  }
  queue->ClearQueue();
  if (!provider->Load(path)) return false;

  SubtitleTrackInfo track;
  track.Name = QFileInfo(path).fileName();
  track.Path = path;
  std::lock_guard lock(stateMutex_);
  tracks_.push_back(std::move(track));
  currentTrack_ = 0;
  return true;
}

bool SubtitleManager::ReloadSubtitle() {
  std::lock_guard operation(operationMutex_);
  QString path;
  std::shared_ptr<CSubtitleProvider> provider;
  {
    std::lock_guard lock(stateMutex_);
    if (!initialized_ || currentTrack_ < 0 || currentTrack_ >= static_cast<int32_t>(tracks_.size()))
      return false;
    path = tracks_[static_cast<size_t>(currentTrack_)].Path;
    provider = provider_;
  }
  SubtitleStyle style = provider->GetStyle();
  LoadSubtitleStyle(&style);
  provider->SetStyle(style);
  return LoadSubtitleLocked(path);
}

void SubtitleManager::SetDelay(int64_t delayMs) {
  std::lock_guard operation(operationMutex_);
  std::shared_ptr<CSubPicQueue> queue;
  std::shared_ptr<CSubtitleProvider> provider;
  {
    std::lock_guard lock(stateMutex_);
    queue = queue_;
    provider = provider_;
  }
  if (!provider) return;
  provider->SetDelay(delayMs);
  queue->ClearQueue();
}

int64_t SubtitleManager::GetDelay() const {
  std::lock_guard lock(stateMutex_);
  return provider_ ? provider_->GetDelay() : 0;
}

void SubtitleManager::Clear() {
  std::lock_guard operation(operationMutex_);
  std::shared_ptr<CSubPicQueue> queue;
  std::shared_ptr<CSubtitleProvider> provider;
  {
    std::lock_guard lock(stateMutex_);
    queue = queue_;
    provider = provider_;
    tracks_.clear();
    currentTrack_ = -1;
  }
  if (provider) provider->Clear();
  if (queue) queue->ClearQueue();
}

void SubtitleManager::InvalidateQueue() {
  std::shared_ptr<CSubPicQueue> queue;
  {
    std::lock_guard lock(stateMutex_);
    queue = queue_;
  }
  if (queue) queue->Invalidate(-1);
}

bool SubtitleManager::HasSubtitle() const {
  std::lock_guard lock(stateMutex_);
  return provider_ && provider_->HasSubtitle();
}

std::vector<SubtitleTrackInfo> SubtitleManager::GetTracks() const {
  std::lock_guard lock(stateMutex_);
  return tracks_;
}

int32_t SubtitleManager::GetCurrentTrack() const {
  std::lock_guard lock(stateMutex_);
  return currentTrack_;
}

std::shared_ptr<const CMemSubPic> SubtitleManager::GetSubPic(int64_t time100ns) {
  std::shared_ptr<CSubPicQueue> queue;
  {
    std::lock_guard lock(stateMutex_);
    if (!initialized_ || !enabled_) return nullptr;
    queue = queue_;
  }
  return queue->LookupSubPic(time100ns);
}

}  // namespace zelvaro
