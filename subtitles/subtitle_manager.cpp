#include "subtitles/subtitle_manager.h"

#include "foundation/trace.h"

#include <QFileInfo>
#include <QObject>

#include <exception>

#include <sys/resource.h>
#include <unistd.h>

namespace zelvaro {

namespace {

constexpr QSize kAllocatorStartSize{4096, 4096};
constexpr int kQueueCapacity = 10;
constexpr int kWorkerNiceness = 10;

}  // namespace

SubtitleManager::SubtitleManager() : relay_(std::make_unique<QObject>()) {}

SubtitleManager::~SubtitleManager() {
  {
    std::lock_guard lock(loadMutex_);
    stopping_ = true;
    pendingLoad_.reset();
  }
  CancelLoads();
  loadRequested_.notify_all();
  if (worker_.joinable()) worker_.join();
  Shutdown();
}

uint64_t SubtitleManager::CancelLoads() {
  return ++loadGeneration_;
}

void SubtitleManager::LoadSubtitleAsync(const QString& path, std::function<void(bool)> done) {
  LoadJob job;
  job.Generation = CancelLoads();
  job.Path = path;
  job.Done = std::move(done);
  {
    std::lock_guard lock(stateMutex_);
    if (provider_) job.Style = provider_->GetStyle();
  }
  std::lock_guard lock(loadMutex_);
  if (stopping_) return;
  pendingLoad_ = std::move(job);
  if (!worker_.joinable()) worker_ = std::thread([this] { RunWorker(); });
  loadRequested_.notify_one();
}

bool SubtitleManager::IsLoading() const {
  std::lock_guard lock(loadMutex_);
  const uint64_t current = loadGeneration_.load();
  return (pendingLoad_ && pendingLoad_->Generation == current) || runningGeneration_ == current;
}

void SubtitleManager::RunWorker() {
  // Reading a large file is worth less than a frame on time: on a busy
  // machine the interface and streaming threads go first.
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kWorkerNiceness);
  while (true) {
    LoadJob job;
    std::vector<std::unique_ptr<AssContext>> retired;
    {
      std::unique_lock lock(loadMutex_);
      loadRequested_.wait(
          lock, [&] { return stopping_ || pendingLoad_.has_value() || !retiredTracks_.empty(); });
      retired.swap(retiredTracks_);
    }
    for (std::unique_ptr<AssContext>& track : retired)
      CSubtitleProvider::FreeAssContext(std::move(track));
    {
      std::unique_lock lock(loadMutex_);
      if (stopping_) return;
      if (!pendingLoad_) continue;
      job = std::move(*pendingLoad_);
      pendingLoad_.reset();
      runningGeneration_ = job.Generation;
    }
    const auto stale = [&] { return loadGeneration_.load() != job.Generation; };
    std::shared_ptr<PreparedSubtitle> prepared;
    try {
      if (!stale()) prepared = CSubtitleProvider::Prepare(job.Path, job.Style, stale);
    } catch (const std::exception& error) {
      // Out of memory on a huge file, say: the load fails as unreadable.
      Trace("Subtitle not loaded: %s", error.what());
    }
    bool loaded = false;
    bool adopted = false;
    {
      std::lock_guard operation(operationMutex_);
      // Checked under the operation lock: a Clear or a newer load that comes
      // after this point finds the result in place and replaces it.
      if (!stale()) {
        loaded = AdoptLocked(job.Path, std::move(prepared));
        adopted = true;
      }
    }
    prepared.reset();  // a cancelled track is freed here, not on the caller's thread
    {
      std::lock_guard lock(loadMutex_);
      runningGeneration_ = 0;
    }
    if (!adopted || !job.Done) continue;
    QMetaObject::invokeMethod(
        relay_.get(),
        [this, generation = job.Generation, done = std::move(job.Done), loaded] {
          // A load that became stale on the way says nothing.
          if (loadGeneration_.load() == generation) done(loaded);
        },
        Qt::QueuedConnection);
  }
}

bool SubtitleManager::Initialize(int32_t videoWidth, int32_t videoHeight) {
  CancelLoads();
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
  CancelLoads();
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
  CancelLoads();
  std::lock_guard operation(operationMutex_);
  return LoadSubtitleLocked(path);
}

bool SubtitleManager::BeginLoad(const QString& path, std::shared_ptr<CSubPicQueue>* queue,
                                std::shared_ptr<CSubtitleProvider>* provider) {
  std::lock_guard lock(stateMutex_);
  if (!initialized_ || path.isEmpty()) return false;
  tracks_.clear();
  currentTrack_ = -1;
  *queue = queue_;
  *provider = provider_;
  return true;
}

bool SubtitleManager::LoadSubtitleLocked(const QString& path) {
  std::shared_ptr<CSubPicQueue> queue;
  std::shared_ptr<CSubtitleProvider> provider;
  if (!BeginLoad(path, &queue, &provider)) return false;
  queue->ClearQueue();
  provider->Clear();
  return AdoptLocked(path, CSubtitleProvider::Prepare(path, provider->GetStyle(), {}));
}

bool SubtitleManager::AdoptLocked(const QString& path, std::shared_ptr<PreparedSubtitle> prepared) {
  std::shared_ptr<CSubPicQueue> queue;
  std::shared_ptr<CSubtitleProvider> provider;
  if (!BeginLoad(path, &queue, &provider)) return false;
  const bool loaded = provider->Adopt(std::move(prepared));
  queue->ClearQueue();
  if (!loaded) return false;

  SubtitleTrackInfo track;
  track.Name = QFileInfo(path).fileName();
  track.Path = path;
  std::lock_guard lock(stateMutex_);
  tracks_.push_back(std::move(track));
  currentTrack_ = 0;
  return true;
}

bool SubtitleManager::ReloadSubtitle() {
  CancelLoads();
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

bool SubtitleManager::ReloadSubtitleAsync(std::function<void(bool)> done) {
  QString path;
  {
    std::lock_guard lock(stateMutex_);
    if (!initialized_ || currentTrack_ < 0 || currentTrack_ >= static_cast<int32_t>(tracks_.size()))
      return false;
    path = tracks_[static_cast<size_t>(currentTrack_)].Path;
    // The load takes the provider's style, so the settings' go there first.
    SubtitleStyle style = provider_->GetStyle();
    LoadSubtitleStyle(&style);
    provider_->SetStyle(style);
  }
  LoadSubtitleAsync(path, std::move(done));
  return true;
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
  CancelLoads();
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
  // Freeing the track of a large file takes tens of milliseconds; Clear
  // comes from the interface thread with every close.
  if (provider) Retire(provider->TakeTrackAndClear());
  if (queue) queue->ClearQueue();
}

void SubtitleManager::Retire(std::unique_ptr<AssContext> track) {
  if (!track) return;
  std::lock_guard lock(loadMutex_);
  if (stopping_) {
    CSubtitleProvider::FreeAssContext(std::move(track));
    return;
  }
  retiredTracks_.push_back(std::move(track));
  if (!worker_.joinable()) worker_ = std::thread([this] { RunWorker(); });
  loadRequested_.notify_one();
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
